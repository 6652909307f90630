// Metering frames as devices write them, read without making objects of them.
#include "meter/meter_frame.h"

#include "link/datagram.h"
#include "link/plain_json.h"

#include <string_view>
#include <utility>

namespace {

constexpr size_t USUAL_CHANNELS = 16;
constexpr size_t LEVEL_DIGITS = 9;

// False where the text is not the usual one.
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
            = text.take_object([this](std::string_view key) { return take_member(key); });
        if (!is_usual || !text.is_at_end() || !has_command || !has_device_id)
            return {};
        return std::move(frame);
    }

private:
    template<typename Entry>
    bool take_list(std::vector<Entry> &entries, Entry (*entry_of)(int64_t))
    {
        if (!text.take('['))
            return false;
        if (text.take(']'))
            return true;
        entries.reserve(USUAL_CHANNELS);
        do {
            int64_t number = 0;
            if (entries.size() == MAX_METER_CHANNELS || !text.take_number(number, LEVEL_DIGITS))
                return false;
            entries.push_back(entry_of(number));
        } while (text.take(','));
        return text.take(']');
    }

    // Of a key that is said twice the last one would count.
    static bool is_first(bool &has_been_said) { return !std::exchange(has_been_said, true); }

    bool take_member(std::string_view key)
    {
        if (key == "api_version") {
            int64_t version = 0;
            return is_first(has_version) && text.take_number(version, LEVEL_DIGITS);
        }
        if (key == "command") {
            std::string_view command;
            return is_first(has_command) && text.take_text(command) && command == "broadcast_info";
        }
        if (key == "device_id") {
            std::string_view id;
            const bool is_taken = is_first(has_device_id) && text.take_text(id);
            frame.device_id = QLatin1String(id.data(), static_cast<int>(id.size()));
            return is_taken;
        }
        return key == "metering" && is_first(has_metering)
            && text.take_object([this](std::string_view list) { return take_levels(list); });
    }

    bool take_levels(std::string_view key)
    {
        if (key == "channel_peaks")
            return is_first(has_peaks)
                && take_list(
                       frame.report.peaks,
                       +[](int64_t number) { return static_cast<float>(number); });
        return key == "channel_overdrive" && is_first(has_overdrive)
            && take_list(
                   frame.report.overdrive, +[](int64_t number) { return number != 0; });
    }

    PlainJson text;
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
