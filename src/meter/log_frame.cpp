// Log messages as devices write them, read without making objects of them.
#include "meter/log_frame.h"

#include "link/datagram.h"
#include "link/plain_json.h"

#include <string_view>
#include <utility>

namespace {

// A double holds each number of so many digits exactly.
constexpr size_t POSITION_DIGITS = 15;

// Of a key that is said twice the last one would count.
class LogHeadScanner
{
public:
    explicit LogHeadScanner(std::string_view json)
        : text(json)
    {
    }

    std::optional<LogFrame> scan()
    {
        const bool is_usual
            = text.take_object([this](std::string_view key) { return take_member(key); });
        if (!is_usual || !text.is_at_end() || !has_command || !has_device_id)
            return {};
        return frame;
    }

private:
    bool take_member(std::string_view key)
    {
        if (key == "command") {
            std::string_view command;
            return !std::exchange(has_command, true) && text.take_text(command)
                && command == "raw_log";
        }
        if (key == "device_id")
            return !std::exchange(has_device_id, true) && take_device_id();
        if (key == "pos")
            return !std::exchange(has_position, true) && take_position();
        if (key == "overflow")
            return !std::exchange(has_overflow, true) && text.take_bool(frame.head.overflow);
        int64_t version = 0;
        return key == "api_version" && !std::exchange(has_version, true)
            && text.take_number(version, POSITION_DIGITS);
    }

    bool take_device_id()
    {
        std::string_view id;
        const bool is_taken = text.take_text(id);
        frame.device_id = QLatin1String(id.data(), static_cast<int>(id.size()));
        return is_taken;
    }

    // Modulo 2^32, as positions are.
    bool take_position()
    {
        int64_t position = 0;
        const bool is_taken = text.take_number(position, POSITION_DIGITS);
        frame.head.position = static_cast<uint32_t>(position);
        return is_taken;
    }

    PlainJson text;
    LogFrame frame = {};
    bool has_version = false;
    bool has_command = false;
    bool has_device_id = false;
    bool has_position = false;
    bool has_overflow = false;
};

} // namespace

std::optional<LogFrame> read_usual_log_frame(const QByteArray &datagram)
{
    const std::string_view bytes(datagram.constData(), static_cast<size_t>(covered_size(datagram)));
    const std::string_view json = bytes.substr(0, bytes.find('\0'));
    std::optional<LogFrame> frame = LogHeadScanner(json).scan();
    if (!frame || !has_fair_checksum(datagram))
        return {};
    if (json.size() < bytes.size())
        frame->attachment = QByteArray::fromRawData(
            bytes.data() + json.size() + 1, static_cast<int>(bytes.size() - json.size() - 1));
    return frame;
}
