# The three libraries enforce which way the code may look: rules see no window, widgets see no Gui.
#   rules    free functions and plain structures      Qt Core, Network
#   widgets  one class per pair                       rules + Qt Widgets
#   window   the member files of Gui                  widgets
# Each folder under src/ adds its own files with target_sources.
foreach(library rules widgets window)
    add_library(${library} STATIC)
    target_include_directories(${library} PUBLIC ${PROJECT_SOURCE_DIR}/src)
    target_link_libraries(${library} PUBLIC velmark_flags)
endforeach()
target_link_libraries(rules PUBLIC Qt5::Core Qt5::Network)
target_link_libraries(widgets PUBLIC rules Qt5::Gui Qt5::Widgets)
target_link_libraries(window PUBLIC widgets)
target_precompile_headers(rules PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled_core.h)
target_precompile_headers(widgets PRIVATE ${PROJECT_SOURCE_DIR}/cmake/precompiled_widgets.h)
target_precompile_headers(window REUSE_FROM widgets)

# A test has no header for moc: the file that it gets all the same is empty, and reading the
# precompiled header for it would cost as much as the test's own source.
function(spare_empty_moc_files folder)
    get_property(targets DIRECTORY ${folder} PROPERTY BUILDSYSTEM_TARGETS)
    get_property(binary_folder DIRECTORY ${folder} PROPERTY BINARY_DIR)
    foreach(target ${targets})
        set_source_files_properties(${binary_folder}/${target}_autogen/mocs_compilation.cpp
            TARGET_DIRECTORY ${target} PROPERTIES SKIP_PRECOMPILE_HEADERS ON)
    endforeach()
endfunction()
cmake_language(DEFER CALL spare_empty_moc_files ${PROJECT_SOURCE_DIR}/tests)
