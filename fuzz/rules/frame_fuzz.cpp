// Datagrams of any bytes: framing, checksum, and what kind of message an object is.
#include "fuzz/rules/fuzz_bytes.h"
#include "link/crc32.h"
#include "link/datagram.h"
#include "link/packet_kind.h"

#include <QJsonArray>

#include <algorithm>
#include <cstdio>
#include <memory>

namespace {

uint32_t checksum_of(const QByteArray &bytes)
{
    return crc32(0, reinterpret_cast<const uint8_t *>(bytes.constData()),
                 static_cast<size_t>(bytes.size()));
}

QByteArray trailer(uint32_t checksum)
{
    char text[13] = {};
    std::snprintf(text, sizeof text, "\n//#%08x", checksum);
    return QByteArray(text, 12);
}

bool has_trailer(const QByteArray &datagram)
{
    return datagram.size() >= 12 && datagram.mid(datagram.size() - 12, 4) == "\n//#";
}

void expect_equal(const Frame &left, const Frame &right, const char *what)
{
    expect(left.verdict == right.verdict && left.object == right.object
               && left.attachment == right.attachment,
           what);
}

void check_parts(const QByteArray &datagram, const Frame &frame)
{
    if (frame.verdict != FrameVerdict::OK) {
        expect(frame.object.isEmpty() && frame.attachment.isEmpty(), "what is dropped is empty");
        return;
    }
    const int end = datagram.size() - (has_trailer(datagram) ? 12 : 0);
    const int separator = datagram.left(end).indexOf('\0');
    const QByteArray behind
        = separator < 0 ? QByteArray() : datagram.mid(separator + 1, end - separator - 1);
    expect(frame.attachment == behind, "the attachment is what stands behind the first zero");
}

// Numbers as other programs read them: integers beyond 2^53 are written as the nearest double
// (RFC 8259, section 6).
QJsonValue with_doubles(const QJsonValue &value)
{
    if (value.isDouble())
        return value.toDouble();
    if (value.isArray()) {
        QJsonArray elements;
        for (const QJsonValue &element : value.toArray())
            elements.append(with_doubles(element));
        return elements;
    }
    if (!value.isObject())
        return value;
    QJsonObject members = value.toObject();
    for (auto member = members.begin(); member != members.end(); ++member)
        *member = with_doubles(*member);
    return members;
}

void check_written(const Frame &frame)
{
    if (frame.verdict != FrameVerdict::OK)
        return;
    QJsonObject sent = frame.object;
    const Frame again = read_frame(write_frame(sent));
    sent.insert("api_version", API_VERSION);
    expect(again.verdict == FrameVerdict::OK, "what is written can be read");
    expect(again.object == sent || with_doubles(again.object) == with_doubles(sent),
           "what is written is read back the same");
}

void check_sealed(const QByteArray &datagram, const Frame &frame)
{
    if (has_trailer(datagram))
        return;
    const uint32_t checksum = checksum_of(datagram);
    const QByteArray sealed = datagram + trailer(checksum);
    expect_equal(read_frame(sealed), frame, "a right trailer changes nothing");
    expect(read_frame(datagram + trailer(checksum + 1)).verdict == FrameVerdict::BAD_CHECKSUM,
           "a wrong trailer is told");
    if (datagram.isEmpty())
        return;
    QByteArray damaged = sealed;
    const int place = static_cast<int>(checksum % static_cast<uint32_t>(datagram.size()));
    damaged[place] = static_cast<char>(damaged.at(place) ^ 1 << (checksum >> 29U));
    expect(read_frame(damaged).verdict == FrameVerdict::BAD_CHECKSUM, "one turned bit is told");
}

void check_kind(const QJsonObject &object)
{
    const PacketKind kind = packet_kind(object);
    const QString command = object.value("command").toString();
    expect((kind == PacketKind::LOG_STREAM) == (command == "raw_log"), "log messages by name");
    expect((kind == PacketKind::METERING) == (command == "broadcast_info"), "frames by name");
    if (kind == PacketKind::REPORT || kind == PacketKind::REPLY)
        expect(is_report(object) == (kind == PacketKind::REPORT), "the rest by what it holds");
    fw_magic_of(object);
    dsp_error_of(object);
    is_logging(object);
}

} // namespace

void fuzz_frame(const uint8_t *data, size_t size)
{
    // A block of exactly this size: reading one byte too many is seen.
    const std::unique_ptr<char[]> block(new char[size]);
    std::copy_n(data, size, block.get());
    const QByteArray datagram = QByteArray::fromRawData(block.get(), static_cast<int>(size));
    const Frame frame = read_frame(datagram);
    check_parts(datagram, frame);
    check_written(frame);
    check_sealed(datagram, frame);
    check_kind(frame.object);
    const size_t half = size / 2;
    expect(crc32(crc32(0, data, half), data + half, size - half) == checksum_of(datagram),
           "a checksum in two parts is that of the whole");
}
