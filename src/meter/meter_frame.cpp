// Metering frames as devices write them, read without making objects of them.
#include "meter/meter_frame.h"

#include "link/datagram.h"

#include <string_view>
#include <utility>

namespace {

constexpr size_t USUAL_CHANNELS = 16;

bool is_digit(char letter)
{
    return letter >= '0' && letter <= '9';
}

// Goes through the text once. Each step is false where the text is not the usual one, and then the
// rest says nothing.
class MeterFrameScanner
{
public:
    explicit MeterFrameScanner(std::string_view json)
        : text(json)
    {
    }

    std::optional<MeterFrame> scan()
    {
        const bool is_usual
            = take_object([this](std::string_view key) { return take_member(key); });
        skip_space();
        if (!is_usual || at != text.size() || !has_command || !has_device_id)
            return {};
        return std::move(frame);
    }

private:
    void skip_space()
    {
        while (at < text.size()
               && (text[at] == ' ' || text[at] == '\n' || text[at] == '\r' || text[at] == '\t'))
            ++at;
    }

    bool take(char letter)
    {
        skip_space();
        if (at == text.size() || text[at] != letter)
            return false;
        ++at;
        return true;
    }

    // Nothing that would read otherwise than it is written: no escapes, no letters beyond ASCII.
    bool take_text(std::string_view &result)
    {
        if (!take('"'))
            return false;
        const size_t begin = at;
        while (at < text.size() && text[at] >= ' ' && text[at] <= '~' && text[at] != '"'
               && text[at] != '\\')
            ++at;
        result = text.substr(begin, at - begin);
        return take_at_once('"');
    }

    bool take_at_once(char letter) { return at < text.size() && text[at++] == letter; }

    // Of nine digits at most, and without a zero in front.
    bool take_number(int &result)
    {
        skip_space();
        const bool is_negative = at < text.size() && text[at] == '-';
        if (is_negative)
            ++at;
        const size_t begin = at;
        int number = 0;
        while (at < text.size() && at - begin < 9 && is_digit(text[at]))
            number = number * 10 + (text[at++] - '0');
        result = is_negative ? -number : number;
        const bool leads_with_zero = at > begin && text[begin] == '0';
        return at > begin && (!leads_with_zero || (at == begin + 1 && !is_negative));
    }

    template<typename TakeMember>
    bool take_object(TakeMember take_value_of)
    {
        if (!take('{'))
            return false;
        do {
            std::string_view key;
            if (!take_text(key) || !take(':') || !take_value_of(key))
                return false;
        } while (take(','));
        return take('}');
    }

    template<typename Entry>
    bool take_list(std::vector<Entry> &entries, Entry (*entry_of)(int))
    {
        if (!take('['))
            return false;
        if (take(']'))
            return true;
        entries.reserve(USUAL_CHANNELS);
        do {
            int number = 0;
            if (entries.size() == MAX_METER_CHANNELS || !take_number(number))
                return false;
            entries.push_back(entry_of(number));
        } while (take(','));
        return take(']');
    }

    // Of a key that is said twice the last one would count.
    static bool is_first(bool &has_been_said) { return !std::exchange(has_been_said, true); }

    bool take_member(std::string_view key)
    {
        if (key == "api_version") {
            int version = 0;
            return is_first(has_version) && take_number(version);
        }
        if (key == "command") {
            std::string_view command;
            return is_first(has_command) && take_text(command) && command == "broadcast_info";
        }
        if (key == "device_id") {
            std::string_view id;
            const bool is_taken = is_first(has_device_id) && take_text(id);
            frame.device_id = QLatin1String(id.data(), static_cast<int>(id.size()));
            return is_taken;
        }
        return key == "metering" && is_first(has_metering)
            && take_object([this](std::string_view list) { return take_levels(list); });
    }

    bool take_levels(std::string_view key)
    {
        if (key == "channel_peaks")
            return is_first(has_peaks)
                && take_list(
                       frame.report.peaks, +[](int number) { return static_cast<float>(number); });
        return key == "channel_overdrive" && is_first(has_overdrive)
            && take_list(
                   frame.report.overdrive, +[](int number) { return number != 0; });
    }

    const std::string_view text;
    size_t at = 0;
    MeterFrame frame = {};
    bool has_version = false;
    bool has_command = false;
    bool has_device_id = false;
    bool has_metering = false;
    bool has_peaks = false;
    bool has_overdrive = false;
};

} // namespace

std::optional<MeterFrame> read_usual_meter_frame(const QByteArray &datagram)
{
    const std::string_view json(datagram.constData(), static_cast<size_t>(covered_size(datagram)));
    std::optional<MeterFrame> frame = MeterFrameScanner(json).scan();
    if (frame && !has_fair_checksum(datagram))
        return {};
    return frame;
}
