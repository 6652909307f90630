# What `cmake --install` installs, and the Debian package that `cpack` makes of it.
include(GNUInstallDirs)

set(PICTURES_URL "https://velmark.example/network-manager/pictures" CACHE STRING
    "Where docs/pictures is published: software centres show screenshots from the web only")
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

set(package_folder ${PROJECT_BINARY_DIR}/package-files)
set(program velmark-network-manager)
set(changelog ${PROJECT_SOURCE_DIR}/packaging/debian/changelog)

# The changelog's newest entry is the release: sets RELEASE_DATE to its day, as in 2026-11-21.
function(read_release)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${changelog})
    file(READ ${changelog} text)
    if(NOT text MATCHES "^${program} \\(${PROJECT_VERSION}\\)")
        message(FATAL_ERROR "packaging/debian/changelog does not begin with ${PROJECT_VERSION}")
    endif()
    if(NOT text MATCHES "\n -- [^\n]*, ([0-9][0-9]) ([A-Z][a-z][a-z]) ([0-9][0-9][0-9][0-9]) ")
        message(FATAL_ERROR "packaging/debian/changelog has no date")
    endif()
    set(day ${CMAKE_MATCH_1})
    set(year ${CMAKE_MATCH_3})
    set(months - Jan Feb Mar Apr May Jun Jul Aug Sep Oct Nov Dec)
    list(FIND months ${CMAKE_MATCH_2} month)
    if(month LESS 10)
        set(month 0${month})
    endif()
    set(RELEASE_DATE ${year}-${month}-${day} PARENT_SCOPE)
endfunction()

# The file names are those of scripts/make_screenshots.sh.
set(SCREENSHOTS "")
function(add_screenshot name caption)
    set(attribute "")
    if(NOT SCREENSHOTS)
        set(attribute " type=\"default\"")
    endif()
    string(APPEND SCREENSHOTS "    <screenshot${attribute}>\n"
        "      <caption>${caption}</caption>\n"
        "      <image>${PICTURES_URL}/${name}.png</image>\n"
        "    </screenshot>\n")
    set(SCREENSHOTS "${SCREENSHOTS}" PARENT_SCOPE)
endfunction()
add_screenshot(window "All loudspeakers with their state and levels")
add_screenshot(mixed-values "Three loudspeakers in one edit")
add_screenshot(eq "The equaliser of a loudspeaker")

read_release()
set(metainfo example.velmark.network_manager.metainfo.xml)
configure_file(packaging/desktop/${metainfo}.in ${package_folder}/${metainfo} @ONLY)

# Debian wants its changelog and manual pages compressed.
set(compressed)
foreach(source ${changelog} ${PROJECT_SOURCE_DIR}/packaging/man/${program}.1
        ${PROJECT_SOURCE_DIR}/packaging/man/loudspeaker-simulator.1)
    get_filename_component(name ${source} NAME)
    add_custom_command(OUTPUT ${package_folder}/${name}.gz
        COMMAND gzip -9nc ${source} > ${package_folder}/${name}.gz
        DEPENDS ${source} COMMENT "Compressing ${name}" VERBATIM)
    list(APPEND compressed ${package_folder}/${name}.gz)
endforeach()
add_custom_target(package_files ALL DEPENDS ${compressed})

set(documents ${CMAKE_INSTALL_DATADIR}/doc/${program})
install(TARGETS ${program} loudspeaker-simulator)
install(FILES packaging/desktop/${program}.desktop DESTINATION ${CMAKE_INSTALL_DATADIR}/applications)
install(FILES ${package_folder}/${metainfo} DESTINATION ${CMAKE_INSTALL_DATADIR}/metainfo)
foreach(size 16 22 24 32 48 64 128 256 512)
    install(FILES packaging/icons/${size}.png RENAME ${program}.png
        DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/${size}x${size}/apps)
endforeach()
install(FILES art/icons/${program}.svg
    DESTINATION ${CMAKE_INSTALL_DATADIR}/icons/hicolor/scalable/apps)
install(FILES ${package_folder}/${program}.1.gz ${package_folder}/loudspeaker-simulator.1.gz
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man1)
install(FILES ${package_folder}/changelog.gz packaging/debian/copyright DESTINATION ${documents})
install(DIRECTORY docs/ DESTINATION ${documents})
install(DIRECTORY ${GUIDE_FOLDER}/ DESTINATION ${documents})
# Copied by whoever wants it (docs/developer/wireshark.md): Wireshark's own folder bears its version.
install(DIRECTORY wireshark/velmark DESTINATION ${documents}/wireshark)
install(FILES packaging/firewall/60-velmark-port-69.conf DESTINATION ${documents}/examples)
# firewalld reads its services here whatever the prefix is; ufw knows its one folder only.
install(FILES packaging/firewall/firewalld-service.xml RENAME ${program}.xml
    DESTINATION lib/firewalld/services)
install(FILES packaging/firewall/ufw-profile RENAME ${program} DESTINATION /etc/ufw/applications.d)

set(CPACK_GENERATOR DEB)
set(CPACK_SET_DESTDIR ON) # for what goes to /etc
set(CPACK_INSTALL_PREFIX /usr)
set(CPACK_STRIP_FILES ON)
set(CPACK_OUTPUT_FILE_PREFIX ${PROJECT_SOURCE_DIR}/build/package)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_PACKAGE_NAME ${program})
set(CPACK_PACKAGE_VENDOR "VELMARK audio works GmbH")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "manager of networked loudspeakers, with a simulator")
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_MAINTAINER "VELMARK audio works GmbH <support@velmark.example>")
set(CPACK_DEBIAN_PACKAGE_HOMEPAGE "https://velmark.example/")
set(CPACK_DEBIAN_PACKAGE_SECTION sound)
set(CPACK_DEBIAN_PACKAGE_PRIORITY optional)
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"VELMARK Network Manager finds the loudspeakers and AES67 audio modules of the
local network, lists them with their state and levels, and changes one or two
hundred of them at a time: levels, delays, names, sessions, equalisers. It
updates their firmware, keeps backups and shows their logs.
.
loudspeaker-simulator plays a fleet of them, for training, for rehearsing
faults and for tests.")
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
# libcap2-bin gives the right to port 69, iproute2 the simulator its addresses; the symbols of the
# window are in no other font.
set(CPACK_DEBIAN_PACKAGE_DEPENDS "fonts-symbola, iproute2, libcap2-bin")
set(CPACK_DEBIAN_PACKAGE_SUGGESTS "qtwayland5, ufw | firewalld")
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    ${PROJECT_SOURCE_DIR}/packaging/debian/postinst
    ${PROJECT_SOURCE_DIR}/packaging/debian/conffiles)
include(CPack)
