// A device's log stream: its bytes freed of terminal codes, and notes on what was lost.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>

#include <cstdint>
#include <optional>

// Where a stream stands. It outlives the window that shows it.
struct LogStream
{
    uint32_t log_pos = 0;         // position at which the next message is expected
    int32_t log_escape_state = 0; // 0 plain, 1 after ESC, 2 inside a control sequence
    uint8_t log_escape_count = 0; // bytes so far inside a control sequence
};

// What a "raw_log" message says besides its text.
struct LogHead
{
    bool overflow = false; // the device's own buffer was full
    uint32_t position = 0; // in the stream, of the first byte
};

// Tells whether an attachment holds a 16-bit little-endian length and at least that many bytes.
bool is_log_attachment(const QByteArray &attachment);

// A position as the wire gives it: a number cut to a whole one, modulo 2^32. Anything else is 0.
uint32_t read_log_position(const QJsonValue &value);

// `bytes` without ANSI control sequences (ECMA-48, 5.4). A sequence may begin in one call and end
// in the next; it swallows at most 64 bytes when its end is lost.
QByteArray remove_escapes(LogStream &stream, const QByteArray &bytes);

LogHead read_log_head(const QJsonObject &message);

// Takes one "raw_log" message: the text to append, with notes in front on what was lost. Nothing,
// and `stream` stays as it is, when the attachment's length is wrong.
std::optional<QString> take_log_message(LogStream &stream, const LogHead &head,
                                        const QByteArray &attachment);
