// A device's log: believable firmware lines, cut into messages with stream positions.
#pragma once

#include "simulator/datagrams.h"
#include "simulator/random_source.h"

#include <cstdint>
#include <vector>

namespace simulator {

// What goes wrong on the way; counts run down to 0 by themselves.
struct LogFaults
{
    int lose = 0;               // this many messages never leave
    double loss_percent = 0;    // each message is lost by this chance
    int overflow = 0;           // this many messages say that the device's buffer ran over
    bool split_escapes = false; // each colour code is cut over two messages
    int nul = 0;                // this many messages have a zero byte in the middle
    int length_error = 0;       // what lying messages add to their length field
    int lie = 0;                // this many messages lie
    int padding = 0;            // zero bytes behind every message's text
};

struct LogCounters
{
    qint64 messages_sent = 0;
    qint64 bytes_sent = 0; // of messages that left
    qint64 bytes_lost = 0; // of messages that were lost on purpose; padding is not counted
};

class LogStream
{
public:
    // The messages that carry `text`, lost ones left out. Cuts at 1,024 bytes. count() must hear of
    // each of them.
    std::vector<LogMessage> take(const QByteArray &text, RandomSource &random);
    // Counts a message as sent, or as lost on its way.
    void count(const LogMessage &message, bool has_left);
    // The stream starts again at 0.
    void restart();

    uint32_t position = 0; // of the next byte; wraps
    LogFaults faults = {};
    LogCounters counters = {};

private:
    bool loses_message(RandomSource &random);
    void spoil(LogMessage &message);
};

// One line with its line end, mostly with colour codes. `uptime` is in ms.
QByteArray believable_log_line(qint64 uptime, RandomSource &random);

// What a device writes when it starts.
QByteArray boot_log(const QString &firmware_version);

// `text` in pieces of at most `limit` bytes; with `split_escapes` also cut inside every escape
// sequence.
std::vector<QByteArray> log_pieces(const QByteArray &text, int limit, bool split_escapes);

} // namespace simulator
