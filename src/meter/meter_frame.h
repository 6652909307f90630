// Metering frames as devices write them, read without making objects of them.
#pragma once

#include "meter/meter_report.h"

#include <QByteArray>
#include <QLatin1String>

#include <optional>

struct MeterFrame
{
    QLatin1String device_id = {}; // stands in the datagram
    MeterReport report = {};
};

// Five sixths of all that a fleet says are these frames, and making objects of one takes longer
// than receiving it. So what is written as every device writes it is read here: an object of
// "command" ("broadcast_info"), "device_id", "metering" and "api_version" in any order, whole
// numbers, plain letters, a checksum that is fair or none. Of everything else, however sound,
// nothing: that is for read_frame, packet_kind and read_meter_report, which come to the same for
// what is read here.
std::optional<MeterFrame> read_usual_meter_frame(const QByteArray &datagram);
