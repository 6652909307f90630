// Metering frames: lists out of JSON, levels that fall, and the pixels that they fill.
#include "fuzz/rules/fuzz_bytes.h"
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
    for (int i = bytes.below(24); i > 0; --i)
        list.append(bytes.u8() % 8 == 0 ? any_json(bytes) : QJsonValue(bytes.below(72)));
    // Long lists from short inputs.
    if (bytes.u8() == 7)
        for (int i = bytes.below(2048); i > 0; --i)
            list.append(i);
    return list;
}

QJsonObject any_message(FuzzBytes &bytes)
{
    if (bytes.u8() % 4 == 0)
        return QJsonDocument::fromJson(bytes.bytes(bytes.u16() % 500)).object();
    const QJsonObject lists{{"channel_peaks", any_list(bytes)},
                            {"channel_overdrive", any_list(bytes)}};
    return {{"metering", lists}};
}

void check_report(const QJsonObject &message, const MeterReport &report)
{
    const QJsonObject metering = message.value("metering").toObject();
    const int peaks = metering.value("channel_peaks").toArray().size();
    const int flags = metering.value("channel_overdrive").toArray().size();
    expect(static_cast<int>(report.peaks.size()) == std::min(peaks, MAX_METER_CHANNELS),
           "as many channels as peaks, within bounds");
    expect(static_cast<int>(report.overdrive.size()) == std::min(flags, MAX_METER_CHANNELS),
           "as many flags as told, within bounds");
    for (const float peak : report.peaks)
        expect(std::trunc(peak) == peak, "peaks are whole numbers");
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

void fuzz_meter(const uint8_t *data, size_t size)
{
    static MeterObject meter;
    FuzzBytes bytes(data, size);
    meter.levels.clear();
    meter.display_levels.clear();
    meter.overdrive.clear();
    for (int step = 0; step < 3 && !bytes.is_empty(); ++step) {
        const QJsonObject message = any_message(bytes);
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
        for (int ticks = bytes.below(24); ticks > 0; --ticks)
            meter.tick();
        for (size_t i = 0; i < levels.size(); ++i)
            expect(meter.display_levels[i] <= std::max(shown[i], levels[i]),
                   "a bar rises to its level at most");
        check_bars(meter, bytes);
    }
}
