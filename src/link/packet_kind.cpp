// What an inbound object is.
#include "link/packet_kind.h"

bool is_report(const QJsonObject &object)
{
    const QJsonValue seq = object.value(QLatin1String("seq"));
    return object.value(QLatin1String("product")).toString() == FAMILY
        && !object.value(QLatin1String("device_id")).toString().isEmpty() && seq.isDouble()
        && seq.toDouble() == 0.0;
}

PacketKind packet_kind(const QJsonObject &object)
{
    const QString command = object.value(QLatin1String("command")).toString();
    if (command == QLatin1String("raw_log"))
        return PacketKind::LOG_STREAM;
    if (command == QLatin1String("broadcast_info"))
        return PacketKind::METERING;

    return is_report(object) ? PacketKind::REPORT : PacketKind::REPLY;
}

uint32_t fw_magic_of(const QJsonObject &report)
{
    constexpr uint32_t absent = 0x354A2935;
    constexpr double two_to_63 = 9223372036854775808.0;
    const QJsonValue value = report.value(QLatin1String("fw_magic"));
    if (value.isUndefined())
        return absent;
    const double number = value.toDouble();
    // A cast of a double that doesn't fit is undefined; not-a-number fails the test as well.
    if (!(number > -two_to_63 && number < two_to_63))
        return 0;
    return static_cast<uint32_t>(static_cast<int64_t>(number));
}

QString dsp_error_of(const QJsonObject &report)
{
    return report.value(QLatin1String("dsp")).toObject().value(QLatin1String("error")).toString();
}

bool is_logging(const QJsonObject &report)
{
    return report.value(QLatin1String("logging")).toObject().value(QLatin1String("en")).toBool();
}
