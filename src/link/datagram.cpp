// The bytes on the wire.
#include "link/datagram.h"

#include "link/crc32.h"
#include "link/repeated_keys.h"

#include <QJsonDocument>

namespace {

constexpr int TRAILER_SIZE = 12; // "\n//#" and eight hexadecimal digits
constexpr int MARKER_SIZE = 4;

bool has_trailer(const QByteArray &datagram)
{
    return datagram.size() >= TRAILER_SIZE
        && QByteArray::fromRawData(datagram.constData() + datagram.size() - TRAILER_SIZE,
                                   MARKER_SIZE)
        == "\n//#";
}

int hex_digit(char letter)
{
    if (letter >= '0' && letter <= '9')
        return letter - '0';
    if (letter >= 'a' && letter <= 'f')
        return letter - 'a' + 10;
    if (letter >= 'A' && letter <= 'F')
        return letter - 'A' + 10;
    return -1;
}

// The digits of the trailer.
// KEPT: the first byte that is no digit ends the number, so that eight other letters read as 0.
uint32_t carried_checksum(const QByteArray &datagram)
{
    uint32_t number = 0;
    for (int i = datagram.size() - TRAILER_SIZE + MARKER_SIZE; i < datagram.size(); ++i) {
        const int digit = hex_digit(datagram.at(i));
        if (digit < 0)
            break;
        number = number * 16 + static_cast<uint32_t>(digit);
    }
    return number;
}

} // namespace

int covered_size(const QByteArray &datagram)
{
    return has_trailer(datagram) ? datagram.size() - TRAILER_SIZE : datagram.size();
}

bool has_fair_checksum(const QByteArray &datagram)
{
    if (!has_trailer(datagram))
        return true;
    const auto *bytes = reinterpret_cast<const uint8_t *>(datagram.constData());
    const auto size = static_cast<size_t>(covered_size(datagram));
    return crc32(0, bytes, size) == carried_checksum(datagram);
}

Frame read_frame(const QByteArray &datagram)
{
    Frame frame;
    const int size = covered_size(datagram);
    if (has_trailer(datagram))
        frame.carried_checksum = carried_checksum(datagram);
    if (!has_fair_checksum(datagram)) {
        frame.verdict = FrameVerdict::BAD_CHECKSUM;
        return frame;
    }

    const int separator = QByteArray::fromRawData(datagram.constData(), size).indexOf('\0');
    const int json_size = separator < 0 ? size : separator;
    const QByteArray json = QByteArray::fromRawData(datagram.constData(), json_size);
    const QJsonDocument document = QJsonDocument::fromJson(without_repeated_keys(json));
    if (!document.isObject())
        return frame;

    frame.verdict = FrameVerdict::OK;
    frame.object = document.object();
    if (separator >= 0)
        frame.attachment = datagram.mid(separator + 1, size - separator - 1);
    return frame;
}

QByteArray write_frame(QJsonObject object)
{
    object.insert("api_version", API_VERSION);
    return QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
}
