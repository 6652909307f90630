# The libraries enforce which way the code may look: rules see no socket and no window, services see no
# widget, widgets see no Gui.
#   rules     free functions and plain structures              Qt Core, Network; zlib's checksum
#   services  one class per pair, with sockets, files, timers  rules
#   widgets   one class per pair                               services + Qt Widgets
#   window    the member files of Gui                          widgets
# Each folder under src/ adds its own files with target_sources.
find_package(ZLIB REQUIRED)
set(VELMARK_LIBRARIES STATIC CACHE STRING
    "SHARED lets scripts/mutate.sh put a changed library under tests that are linked already")
foreach(library rules services widgets window)
    add_library(${library} ${VELMARK_LIBRARIES})
    # No macro of its own: the libraries share precompiled headers.
    set_target_properties(${library} PROPERTIES DEFINE_SYMBOL "")
    target_include_directories(${library} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${library} PUBLIC velmark_flags PRIVATE velmark_hardening)
    # Not what is compiled with them: that a test runs is known.
    if(VELMARK_COVERAGE)
        target_compile_options(${library} PRIVATE -fprofile-instr-generate -fcoverage-mapping)
        target_link_options(${library} PRIVATE -fprofile-instr-generate)
    endif()
endforeach()
compile_together(rules services widgets window)
target_link_libraries(rules PUBLIC Qt5::Core Qt5::Network PRIVATE ZLIB::ZLIB)
target_link_libraries(services PUBLIC rules)
target_link_libraries(widgets PUBLIC services Qt5::Gui Qt5::Widgets)
target_link_libraries(window PUBLIC widgets)
target_precompile_headers(rules PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled_core.h)
target_precompile_headers(services REUSE_FROM rules)
target_precompile_headers(widgets PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled_widgets.h)
target_precompile_headers(window REUSE_FROM widgets)
