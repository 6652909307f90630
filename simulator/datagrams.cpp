// The datagrams that a device sends, byte for byte.
#include "simulator/datagrams.h"

#include "link/crc32.h"

#include <QJsonDocument>

#include <array>
#include <charconv>

namespace simulator {

namespace {

void append_numbers(QByteArray &text, const std::vector<int> &numbers)
{
    std::array<char, 12> digits{}; // an int with its sign
    for (const int number : numbers) {
        const auto [end, error]
            = std::to_chars(digits.data(), digits.data() + digits.size(), number);
        text.append(digits.data(), static_cast<int>(end - digits.data())).append(',');
    }
    if (!numbers.empty())
        text.chop(1);
}

} // namespace

void append_trailer(QByteArray &datagram, Checksum checksum)
{
    if (checksum == Checksum::NONE)
        return;
    const auto *bytes = reinterpret_cast<const uint8_t *>(datagram.constData());
    uint32_t sum = crc32(0, bytes, static_cast<size_t>(datagram.size()));
    if (checksum == Checksum::WRONG)
        sum ^= 1U;
    datagram.append("\n//#");
    for (int shift = 28; shift >= 0; shift -= 4)
        datagram.append("0123456789abcdef"[sum >> static_cast<unsigned>(shift) & 0xFU]);
}

QByteArray json_datagram(const QJsonObject &object, Checksum checksum)
{
    QByteArray datagram = QJsonDocument(object).toJson(QJsonDocument::Compact);
    datagram.append('\n');
    append_trailer(datagram, checksum);
    return datagram;
}

// Written by hand: thousands of these leave every second.
QByteArray metering_datagram(const QByteArray &device_id, const std::vector<int> &peaks,
                             const std::vector<int> &overdrive, Checksum checksum)
{
    QByteArray datagram;
    datagram.reserve(192 + 6 * static_cast<int>(peaks.size()));
    datagram.append(R"({"api_version":6,"command":"broadcast_info","device_id":")");
    datagram.append(device_id);
    datagram.append(R"(","metering":{"channel_overdrive":[)");
    append_numbers(datagram, overdrive);
    datagram.append(R"(],"channel_peaks":[)");
    append_numbers(datagram, peaks);
    datagram.append("]}}\n");
    append_trailer(datagram, checksum);
    return datagram;
}

QByteArray log_datagram(const QString &device_id, const LogMessage &message, Checksum checksum)
{
    const QJsonObject object{{"command", "raw_log"},
                             {"device_id", device_id},
                             {"overflow", message.overflow},
                             {"pos", static_cast<qint64>(message.position)}};
    QByteArray datagram = QJsonDocument(object).toJson(QJsonDocument::Compact);
    const auto length = static_cast<uint16_t>(message.bytes.size() + message.length_error);
    datagram.append('\0');
    datagram.append(static_cast<char>(length & 0xFFU));
    datagram.append(static_cast<char>(length >> 8U));
    datagram.append(message.bytes);
    datagram.append(message.padding, '\0');
    append_trailer(datagram, checksum);
    return datagram;
}

} // namespace simulator
