// Log messages as devices write them, read without making objects of them.
#pragma once

#include "meter/log_stream.h"

#include <QByteArray>
#include <QLatin1String>

#include <optional>

// Text and bytes stand in the datagram.
struct LogFrame
{
    QLatin1String device_id = {};
    LogHead head = {};
    QByteArray attachment = {};
};

// A device that logs says more in a second than it reports in an hour, and making an object of a
// message's head takes as long as taking on its text. So what is written as every device writes it
// is read here: an object of "command" ("raw_log"), "device_id", "pos", "overflow" and
// "api_version" in any order, whole numbers, plain letters, a checksum that is fair or none. Of
// everything else, however sound, nothing: that is for read_frame, packet_kind and read_log_head,
// which come to the same for what is read here.
std::optional<LogFrame> read_usual_log_frame(const QByteArray &datagram);
