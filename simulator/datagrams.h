// The datagrams that a device sends, byte for byte.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <vector>

namespace simulator {

enum class Checksum
{
    NONE,
    RIGHT,
    WRONG
};

constexpr int TRAILER_SIZE = 12; // "\n//#" and eight hexadecimal digits

// Appends the trailer over all bytes so far.
void append_trailer(QByteArray &datagram, Checksum checksum);

// A JSON object in compact form, a line end and the trailer.
QByteArray json_datagram(const QJsonObject &object, Checksum checksum);

// A "broadcast_info" frame: the id as JSON has it between quotes, peaks 0 to 70 and overdrive 0 or
// 1, one per channel.
QByteArray metering_datagram(const QByteArray &device_id, const std::vector<int> &peaks,
                             const std::vector<int> &overdrive, Checksum checksum);

// One message of the log stream.
struct LogMessage
{
    uint32_t position = 0; // of the first byte in the stream since the last boot
    bool overflow = false;
    QByteArray bytes = {};
    int length_error = 0; // added to the length field, which a healthy device never does
    int padding = 0;      // zero bytes behind the text, not counted in the length field
};

// A "raw_log" datagram. The length field is cut to 16 bits.
QByteArray log_datagram(const QString &device_id, const LogMessage &message, Checksum checksum);

} // namespace simulator
