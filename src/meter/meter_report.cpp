// What a metering frame says: peaks and overdrive flags out of its JSON object.
#include "meter/meter_report.h"

#include <QJsonArray>

#include <algorithm>

namespace {
int bounded_size(const QJsonArray &entries)
{
    return std::min<int>(entries.size(), MAX_METER_CHANNELS);
}
} // namespace

MeterReport read_meter_report(const QJsonObject &message)
{
    const QJsonObject metering = message.value(QLatin1String("metering")).toObject();
    const QJsonArray peaks = metering.value(QLatin1String("channel_peaks")).toArray();
    const QJsonArray overdrive = metering.value(QLatin1String("channel_overdrive")).toArray();

    MeterReport report;
    report.peaks.resize(static_cast<size_t>(bounded_size(peaks)));
    for (size_t i = 0; i < report.peaks.size(); ++i)
        report.peaks[i] = static_cast<float>(peaks.at(static_cast<int>(i)).toInt(0));
    report.overdrive.resize(static_cast<size_t>(bounded_size(overdrive)));
    for (size_t i = 0; i < report.overdrive.size(); ++i)
        report.overdrive[i] = overdrive.at(static_cast<int>(i)).toInt(0) != 0;
    return report;
}
