// Metering frames as devices write them, read without making objects of them.
#include "meter/meter_frame.h"

#include "link/datagram.h"
#include "meter/usual_head.h"

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
        const auto take_other = [this](std::string_view key) { return take_metering(key); };
        if (!head.take(text, "broadcast_info", take_other))
            return {};
        frame.device_id = head.device_id;
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

    bool take_metering(std::string_view key)
    {
        return key == "metering" && UsualHead::is_first(has_metering)
            && text.take_object([this](std::string_view list) { return take_levels(list); });
    }

    bool take_levels(std::string_view key)
    {
        if (key == "channel_peaks")
            return UsualHead::is_first(has_peaks)
                && take_list(
                       frame.report.peaks,
                       +[](int64_t number) { return static_cast<float>(number); });
        return key == "channel_overdrive" && UsualHead::is_first(has_overdrive)
            && take_list(
                   frame.report.overdrive, +[](int64_t number) { return number != 0; });
    }

    PlainJson text;
    UsualHead head = {};
    MeterFrame frame = {};
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
