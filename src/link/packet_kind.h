// What an inbound object is, and the keys of it that are no properties.
#pragma once

#include <QJsonObject>
#include <QString>

#include <cstdint>

enum class PacketKind
{
    LOG_STREAM, // "raw_log"
    METERING,   // "broadcast_info"
    REPORT,     // a device's whole state
    REPLY,      // all else: only says that the device still answers
};

// The `product` of every report, whatever the model: what its devices have in common.
constexpr QLatin1String FAMILY("KESTA", 5);

// Whether the object is a device's whole state, whatever its `command` says: the family marker, an
// id, and a `seq` that is a number and 0.
bool is_report(const QJsonObject &object);

// Only the two commands named above count. All else is a report or a reply.
PacketKind packet_kind(const QJsonObject &object);

// The compatibility number of the firmware, cut to 32 bits. A number beyond 64 bits reads as 0.
// KEPT: an absent key reads as the container's number 0x354A2935, and one of another type as 0,
// "unknown device".
uint32_t fw_magic_of(const QJsonObject &report);

// The text of the report's `dsp` member `error`; empty when there is none.
QString dsp_error_of(const QJsonObject &report);

// Whether the device says that its log stream is on.
bool is_logging(const QJsonObject &report);
