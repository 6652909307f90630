// The bytes on the wire: one JSON object each, checksum trailer and attachment when received.
#pragma once

#include <QByteArray>
#include <QJsonObject>

#include <cstdint>

constexpr quint16 DEVICE_PORT = 7054;         // where devices hear
constexpr quint16 MANAGER_PORT = DEVICE_PORT; // where the manager hears, and what it sends from
constexpr quint16 BROADCAST_PORT = 7055;      // a second port on which devices may reach it
constexpr int API_VERSION = 6;

enum class FrameVerdict
{
    OK,
    BAD_CHECKSUM, // dropped, worth a debug line
    NO_OBJECT,    // dropped without a word
};

struct Frame
{
    FrameVerdict verdict = FrameVerdict::NO_OBJECT;
    uint32_t carried_checksum = 0; // what the trailer said, 0 without one
    QJsonObject object = {};
    QByteArray attachment = {}; // bytes behind the first 00, without the trailer
};

// How many bytes stand before the trailer; all without one.
int covered_size(const QByteArray &datagram);
// Whether the trailer carries their checksum; true without one.
bool has_fair_checksum(const QByteArray &datagram);

// Takes a datagram of any length apart. A trailer is checked when there is one, but need not be
// there; it is looked for before the 00 that ends the JSON text, so that it covers an attachment.
Frame read_frame(const QByteArray &datagram);

// The bytes of a command: compact JSON with `api_version` set to ours, and one line end.
QByteArray write_frame(QJsonObject object);
