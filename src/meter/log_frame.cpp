// Log messages as devices write them, read without making objects of them.
#include "meter/log_frame.h"

#include "link/datagram.h"
#include "meter/usual_head.h"

#include <string_view>

namespace {

// A double holds each number of so many digits exactly.
constexpr size_t POSITION_DIGITS = 15;

class LogHeadScanner
{
public:
    explicit LogHeadScanner(std::string_view json)
        : text(json)
    {
    }

    std::optional<LogFrame> scan()
    {
        const auto take_other = [this](std::string_view key) { return take_member(key); };
        if (!head.take(text, "raw_log", take_other))
            return {};
        frame.device_id = head.device_id;
        return frame;
    }

private:
    bool take_member(std::string_view key)
    {
        if (key == "pos")
            return UsualHead::is_first(has_position) && take_position();
        return key == "overflow" && UsualHead::is_first(has_overflow)
            && text.take_bool(frame.head.overflow);
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
    UsualHead head = {};
    LogFrame frame = {};
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
