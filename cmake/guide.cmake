# The guide as web pages, where the programs of this build look for it; packages take it from there.
set(GUIDE_FOLDER ${PROJECT_BINARY_DIR}/share/doc/velmark-network-manager)
set(guide_maker ${PROJECT_SOURCE_DIR}/scripts/make_guide.py)
file(GLOB_RECURSE guide_sources CONFIGURE_DEPENDS
    ${PROJECT_SOURCE_DIR}/docs/*.md ${PROJECT_SOURCE_DIR}/docs/*.png)
add_custom_command(OUTPUT ${GUIDE_FOLDER}/guide/index.html
    COMMAND ${CMAKE_COMMAND} -E rm -rf ${GUIDE_FOLDER}
    COMMAND ${guide_maker} ${PROJECT_SOURCE_DIR}/docs ${GUIDE_FOLDER}
    DEPENDS ${guide_maker} ${guide_sources} COMMENT "Making the guide" VERBATIM)
add_custom_target(guide ALL DEPENDS ${GUIDE_FOLDER}/guide/index.html)
