# What the compilers are to say of our own code. Qt's headers are system headers.
add_library(velmark_flags INTERFACE)
target_compile_options(velmark_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wsign-conversion -Wold-style-cast
    -Wnon-virtual-dtor -Woverloaded-virtual -Wformat=2 -Winvalid-pch
    # A row of a table says only what is special about it: left-out fields have initialisers.
    -Wno-missing-field-initializers)
# With sanitizers g++ takes their checks for ways that the program could go, and in sources compiled
# together it looks so far ahead that it takes a pointer's test for a proof that it can be null.
if(NOT VELMARK_SANITIZE AND NOT VELMARK_UNITY)
    target_compile_options(velmark_flags INTERFACE -Wnull-dereference)
endif()
# What is hidden in a source is seen as hidden in a header by who reads it with others.
if(VELMARK_UNITY AND CMAKE_CXX_COMPILER_ID STREQUAL GNU)
    target_compile_options(velmark_flags INTERFACE -Wno-subobject-linkage)
endif()
if(VELMARK_WERROR)
    target_compile_options(velmark_flags INTERFACE -Werror)
endif()
target_compile_definitions(velmark_flags INTERFACE
    QT_NO_CAST_FROM_BYTEARRAY QT_NO_URL_CAST_FROM_STRING QT_NO_FOREACH
    QT_DEPRECATED_WARNINGS)
