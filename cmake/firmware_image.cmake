# The image that travels in the program as ":/firmware.bin": a real one that FIRMWARE_IMAGE names, or
# else a stand-in made at build time. It becomes part of library `window`, which is static, so the
# program and window tests call Q_INIT_RESOURCE(firmware).
set(FIRMWARE_IMAGE "" CACHE FILEPATH "Firmware image to embed; empty for a stand-in without device code")

set(firmware_folder ${PROJECT_BINARY_DIR}/firmware)
set(stand_in_image ${firmware_folder}/stand-in.bin)
file(MAKE_DIRECTORY ${firmware_folder})

add_executable(make_stand_in_image
    ${PROJECT_SOURCE_DIR}/src/resources/firmware/make_stand_in_image.cpp
    ${PROJECT_SOURCE_DIR}/src/link/crc32.cpp)
target_include_directories(make_stand_in_image PRIVATE ${PROJECT_SOURCE_DIR}/src)
target_link_libraries(make_stand_in_image PRIVATE velmark_flags ZLIB::ZLIB)
set_target_properties(make_stand_in_image PROPERTIES AUTOMOC OFF AUTORCC OFF)
add_custom_command(OUTPUT ${stand_in_image}
    COMMAND make_stand_in_image ${stand_in_image}
    COMMENT "Making the stand-in firmware image" VERBATIM)
add_custom_target(stand_in_image DEPENDS ${stand_in_image})

if(FIRMWARE_IMAGE)
    if(NOT EXISTS ${FIRMWARE_IMAGE})
        message(FATAL_ERROR "FIRMWARE_IMAGE: there is no file ${FIRMWARE_IMAGE}")
    endif()
    set(embedded_image ${FIRMWARE_IMAGE})
    message(STATUS "Firmware image: ${FIRMWARE_IMAGE}")
else()
    set(embedded_image ${stand_in_image})
    message(STATUS "Firmware image: a stand-in without device code (FIRMWARE_IMAGE embeds a real one)")
endif()

file(CONFIGURE OUTPUT ${firmware_folder}/firmware.qrc CONTENT
"<RCC><qresource prefix=\"/\"><file alias=\"firmware.bin\">@embedded_image@</file></qresource></RCC>
" @ONLY)
add_custom_command(OUTPUT ${firmware_folder}/qrc_firmware.cpp
    COMMAND Qt5::rcc --name firmware --output ${firmware_folder}/qrc_firmware.cpp
            ${firmware_folder}/firmware.qrc
    DEPENDS ${firmware_folder}/firmware.qrc ${embedded_image}
    COMMENT "Embedding the firmware image" VERBATIM)
add_library(firmware_image OBJECT ${firmware_folder}/qrc_firmware.cpp)
set_target_properties(firmware_image PROPERTIES
    AUTOMOC OFF AUTORCC OFF POSITION_INDEPENDENT_CODE ON)
target_sources(window PRIVATE $<TARGET_OBJECTS:firmware_image>)
