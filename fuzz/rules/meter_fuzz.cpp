// Metering frames: lists out of JSON, by the long way and by the short one, levels that fall, and
// the pixels that they fill.
#include "fuzz/rules/fuzz_bytes.h"
#include "link/datagram.h"
#include "link/packet_kind.h"
#include "meter/meter_frame.h"
#include "meter/meter_object.h"
#include "meter/meter_report.h"
#include "meter/meter_scale.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <cmath>

namespace {

QJsonArray any_list(FuzzBytes &bytes)
{
    QJsonArray list;
    for (int i = bytes.below(12); i > 0; --i)
        list.append(bytes.u8() % 8 == 0 ? any_json(bytes) : QJsonValue(bytes.below(72)));
    return list;
}

// Long ones from short inputs: around the bound, and far beyond it.
const QJsonArray &long_list(int choice)
{
    static const std::vector<QJsonArray> lists = [] {
        std::vector<QJsonArray> made;
        for (const int length : {MAX_METER_CHANNELS - 1, MAX_METER_CHANNELS, MAX_METER_CHANNELS + 1,
                                 2 * MAX_METER_CHANNELS}) {
            QJsonArray list;
            for (int i = 0; i < length; ++i)
                list.append(i);
            made.push_back(list);
        }
        return made;
    }();
    return lists[static_cast<size_t>(choice) % lists.size()];
}

QJsonObject any_message(FuzzBytes &bytes, bool may_be_long)
{
    if (bytes.u8() % 4 == 0)
        return QJsonDocument::fromJson(bytes.bytes(bytes.u16() % 500)).object();
    const bool is_long = bytes.u16() == 0xFFFF && may_be_long;
    const QJsonObject lists{
        {QLatin1String("channel_peaks"), is_long ? long_list(bytes.u8()) : any_list(bytes)},
        {QLatin1String("channel_overdrive"), is_long ? long_list(bytes.u8()) : any_list(bytes)}};
    return {{QLatin1String("metering"), lists}};
}

void check_report(const QJsonObject &message, const MeterReport &report)
{
    const QJsonObject metering = message.value(QLatin1String("metering")).toObject();
    const int peaks = metering.value(QLatin1String("channel_peaks")).toArray().size();
    const int flags = metering.value(QLatin1String("channel_overdrive")).toArray().size();
    expect(static_cast<int>(report.peaks.size()) == std::min(peaks, MAX_METER_CHANNELS),
           "as many channels as peaks, within bounds");
    expect(static_cast<int>(report.overdrive.size()) == std::min(flags, MAX_METER_CHANNELS),
           "as many flags as told, within bounds");
    for (const float peak : report.peaks)
        expect(std::trunc(peak) == peak, "peaks are whole numbers");
}

// As devices write it, but for some bytes.
QByteArray any_frame(FuzzBytes &bytes)
{
    QByteArray text = R"({"api_version":6,"command":"broadcast_info","device_id":"4af2-07",)"
                      R"("metering":{"channel_peaks":[52,0,-3,70],"channel_overdrive":[0,1,0]}})";
    for (int changes = bytes.below(4); changes > 0; --changes)
        text[bytes.below(text.size())] = static_cast<char>(bytes.u8());
    return text;
}

void check_short_way(const QByteArray &datagram)
{
    const std::optional<MeterFrame> levels = read_usual_meter_frame(datagram);
    if (!levels)
        return;
    const Frame frame = read_frame(datagram);
    expect(frame.verdict == FrameVerdict::OK && packet_kind(frame.object) == PacketKind::METERING,
           "the short way takes nothing but metering frames");
    expect(frame.object.value(QLatin1String("device_id")).toString() == levels->device_id,
           "both ways read one sender");
    const MeterReport report = read_meter_report(frame.object);
    expect(report.peaks == levels->report.peaks && report.overdrive == levels->report.overdrive,
           "both ways read the same levels");
}

void check_bars(const MeterObject &meter, FuzzBytes &bytes)
{
    const QRect frame(0, 0, bytes.below(300), bytes.below(120));
    const int channels = static_cast<int>(meter.display_levels.size());
    const QRect inside(QPoint(0, 0), frame.size());
    for (int i = 0; i < channels; ++i) {
        const QRect bar
            = meter_bar_rect(frame, channels, i, meter.display_levels[static_cast<size_t>(i)]);
        expect(bar.isEmpty() || inside.contains(bar), "a bar never leaves its frame");
    }
}

} // namespace

// Lists at the bound take most of the time: one in eight of those who ask for them gets them.
void fuzz_meter(const uint8_t *data, size_t size)
{
    static MeterObject meter;
    FuzzBytes bytes(data, size);
    meter.levels.clear();
    meter.display_levels.clear();
    meter.overdrive.clear();
    for (int step = 0; step < 2 && !bytes.is_empty(); ++step) {
        const QJsonObject message = any_message(bytes, size % 8 == 0);
        const MeterReport report = read_meter_report(message);
        check_report(message, report);
        meter.set_levels(report.peaks, report.overdrive);
        const std::vector<float> levels = meter.levels;
        const std::vector<float> shown = meter.display_levels;
        meter.set_levels(report.peaks, report.overdrive);
        expect(meter.levels == levels && meter.display_levels == shown,
               "the same frame twice changes nothing");
        expect(levels.size() == report.peaks.size() && shown.size() == levels.size(),
               "each channel has a level and a bar");
        for (int ticks = bytes.below(8); ticks > 0; --ticks)
            meter.tick();
        for (size_t i = 0; i < levels.size(); ++i)
            expect(meter.display_levels[i] <= std::max(shown[i], levels[i]),
                   "a bar rises to its level at most");
        check_bars(meter, bytes);
    }
    if (bytes.u8() % 16 == 3) // reading one the long way takes as long as all the rest
        check_short_way(any_frame(bytes));
}
