// Firmware images for tests: sections of our own making, and files to offer.
#pragma once

#include "firmware/firmware.h"
#include "link/crc32.h"

#include <QByteArray>
#include <QFile>
#include <QtEndian>
#include <QtGlobal>

#include <cstdint>

constexpr uint32_t MODULE_MAGIC = 0x354A2936; // what the embedded image is for
constexpr uint32_t OTHER_MAGIC = 0x354A2937;

// One section for the module type `magic`.
inline QByteArray image_section(uint32_t magic, const QByteArray &payload)
{
    QByteArray section(FIRMWARE_HEADER_SIZE, '\0');
    const auto put
        = [&section](int offset, uint32_t word) { qToLittleEndian(word, section.data() + offset); };
    put(0, magic);
    section.replace(16, 9, "v1.5.5.8d");
    put(44, static_cast<uint32_t>(payload.size()));
    put(4, crc32(0, reinterpret_cast<const uint8_t *>(section.constData()), FIRMWARE_HEADER_SIZE));
    return section + payload;
}

inline QByteArray file_content(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("can't read %s", qPrintable(path));
    return file.readAll();
}

inline QByteArray stand_in_image()
{
    return file_content(STAND_IN_IMAGE);
}

inline void write_test_file(const QString &path, const QByteArray &content)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
        qFatal("can't write %s", qPrintable(path));
}
