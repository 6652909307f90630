# Compiler flags that all our own code is built with. Qt's headers are system headers.
add_library(velmark_flags INTERFACE)
target_compile_options(velmark_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Wnull-dereference)
if(VELMARK_WERROR)
    target_compile_options(velmark_flags INTERFACE -Werror)
endif()
# A row of a table says only what is special about it: left-out fields have initialisers.
target_compile_options(velmark_flags INTERFACE -Wno-missing-field-initializers)
target_compile_definitions(velmark_flags INTERFACE
    QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH
    QT_DEPRECATED_WARNINGS)
target_compile_options(velmark_flags INTERFACE -Winvalid-pch)

if(VELMARK_SANITIZE)
    target_compile_options(velmark_flags INTERFACE
        -fsanitize=address,undefined,float-cast-overflow -fno-sanitize-recover=all -fno-omit-frame-pointer
        # Enough for a stack with line numbers; more takes a fifth of the build.
        -O1 -g1)
    target_compile_options(velmark_flags INTERFACE -Wno-null-dereference)
    target_link_options(velmark_flags INTERFACE -fsanitize=address,undefined)
endif()
