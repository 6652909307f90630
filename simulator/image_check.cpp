// What a device checks of a firmware image before it flashes it.
#include "simulator/image_check.h"

#include "link/crc32.h"

#include <QtEndian>

#include <algorithm>

namespace simulator {

namespace {

constexpr int HEADER_SIZE = 128;
constexpr int CHECKSUM_OFFSET = 4;
constexpr int VERSION_OFFSET = 16;
constexpr int VERSION_SIZE = 16;
constexpr int PAYLOAD_SIZE_OFFSET = 44;

uint32_t word_at(const QByteArray &image, int offset)
{
    return qFromLittleEndian<quint32>(image.constData() + offset);
}

// The checksum counts its own four bytes as zero.
uint32_t header_checksum(const QByteArray &image)
{
    QByteArray header = image.left(HEADER_SIZE);
    std::fill_n(header.begin() + CHECKSUM_OFFSET, 4, '\0');
    return crc32(0, reinterpret_cast<const uint8_t *>(header.constData()), HEADER_SIZE);
}

} // namespace

QString image_error(const QByteArray &image, uint32_t fw_magic)
{
    if (image.size() < HEADER_SIZE)
        return "image too short";
    if (word_at(image, CHECKSUM_OFFSET) != header_checksum(image))
        return "image header checksum error";
    if (word_at(image, 0) != fw_magic)
        return "image is for another module";
    const auto payload = static_cast<uint32_t>(image.size() - HEADER_SIZE);
    if (word_at(image, PAYLOAD_SIZE_OFFSET) > payload)
        return "image truncated";
    return {};
}

QString image_version(const QByteArray &image)
{
    if (image.size() < HEADER_SIZE)
        return {};
    const QByteArray field = image.mid(VERSION_OFFSET, VERSION_SIZE);
    return QString::fromUtf8(field.constData()); // up to its first zero byte
}

} // namespace simulator
