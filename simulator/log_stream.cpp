// A device's log: believable firmware lines, cut into messages with stream positions.
#include "simulator/log_stream.h"

#include "support/text_format.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr int LARGEST_MESSAGE = 1024;
constexpr char ESCAPE = '\x1b';

struct LineRow
{
    const char *colour = ""; // of the level, as a terminal code
    const char *level = "";
    const char *module = "";
    const char *text = ""; // with one %d
    int lowest = 0;
    int highest = 0;
};

// clang-format off
constexpr LineRow LINES[] = {
    {.colour = "32", .level = "INFO", .module = "ptp", .text = "offset %d ns, servo locked", .lowest = -90, .highest = 90},
    {.colour = "32", .level = "INFO", .module = "ptp", .text = "path delay %d ns", .lowest = 700, .highest = 2400},
    {.colour = "32", .level = "INFO", .module = "sap", .text = "announcement refreshed, %d sessions known", .lowest = 1, .highest = 9},
    {.colour = "36", .level = "DBG ", .module = "rtp", .text = "buffer fill %d us", .lowest = 600, .highest = 1400},
    {.colour = "36", .level = "DBG ", .module = "net", .text = "device_info answered, %d bytes", .lowest = 2100, .highest = 2700},
    {.colour = "36", .level = "DBG ", .module = "amp", .text = "heat sink %d degrees", .lowest = 31, .highest = 58},
    {.colour = "32", .level = "INFO", .module = "dsp", .text = "load %d %%", .lowest = 38, .highest = 61},
    {.colour = "33", .level = "WARN", .module = "rtp", .text = "%d packets late", .lowest = 1, .highest = 6},
    {.colour = "33", .level = "WARN", .module = "net", .text = "multicast query missing for %d s", .lowest = 60, .highest = 300},
    {.colour = "31", .level = "ERR ", .module = "amp", .text = "limiter held for %d ms", .lowest = 20, .highest = 400},
};
// clang-format on

constexpr int RARE_LINES = 3; // the last ones of the table: warnings and errors

const LineRow &draw_line(RandomSource &random)
{
    const int count = static_cast<int>(std::size(LINES));
    const int usual = count - RARE_LINES;
    const int index = random.happens(8) ? usual + random.below(RARE_LINES) : random.below(usual);
    return LINES[index];
}

// Where to cut next at the latest: behind "ESC [" and one digit of the first sequence.
int next_cut(const QByteArray &text, int start, int limit, bool split_escapes)
{
    const int furthest = std::min(start + limit, text.size());
    if (!split_escapes)
        return furthest;
    const int escape = text.indexOf(ESCAPE, start);
    if (escape < 0)
        return furthest;
    return std::min(escape + 3, furthest);
}

} // namespace

std::vector<QByteArray> log_pieces(const QByteArray &text, int limit, bool split_escapes)
{
    std::vector<QByteArray> pieces;
    int start = 0;
    while (start < text.size()) {
        const int end = next_cut(text, start, limit, split_escapes);
        pieces.push_back(text.mid(start, end - start));
        start = end;
    }
    return pieces;
}

bool LogStream::loses_message(RandomSource &random)
{
    if (faults.lose > 0) {
        --faults.lose;
        return true;
    }
    return random.happens(faults.loss_percent);
}

void LogStream::spoil(LogMessage &message)
{
    message.padding = faults.padding;
    if (faults.overflow > 0) {
        --faults.overflow;
        message.overflow = true;
    }
    if (faults.nul > 0) {
        --faults.nul;
        message.bytes[message.bytes.size() / 2] = '\0';
    }
    if (faults.lie > 0) {
        --faults.lie;
        message.length_error = faults.length_error;
    }
}

std::vector<LogMessage> LogStream::take(const QByteArray &text, RandomSource &random)
{
    std::vector<LogMessage> messages;
    for (const QByteArray &piece : log_pieces(text, LARGEST_MESSAGE, faults.split_escapes)) {
        LogMessage message{.position = position, .bytes = piece};
        position += static_cast<uint32_t>(piece.size());
        if (loses_message(random)) {
            counters.bytes_lost += piece.size();
            continue;
        }
        spoil(message);
        messages.push_back(message);
    }
    return messages;
}

void LogStream::count(const LogMessage &message, bool has_left)
{
    if (!has_left) {
        counters.bytes_lost += message.bytes.size();
        return;
    }
    counters.bytes_sent += message.bytes.size();
    ++counters.messages_sent;
}

void LogStream::restart()
{
    position = 0;
}

QByteArray believable_log_line(qint64 uptime, RandomSource &random)
{
    const LineRow &row = draw_line(random);
    QByteArray text = row.text;
    text.replace("%d", QByteArray::number(random.between(row.lowest, row.highest)));
    text.replace("%%", "%");
    return QByteArray::fromStdString(
        format_text("[%6lld.%03lld] \x1b[%sm%s\x1b[0m \x1b[1m%s\x1b[0m: %s\n",
                    static_cast<long long>(uptime / 1000), static_cast<long long>(uptime % 1000),
                    row.colour, row.level, row.module, text.constData()));
}

QByteArray boot_log(const QString &firmware_version)
{
    return "[     0.000] \x1b[32mINFO\x1b[0m \x1b[1mboot\x1b[0m: firmware "
        + firmware_version.toUtf8()
        + "\n[     0.012] \x1b[32mINFO\x1b[0m \x1b[1mnet\x1b[0m: link up, 1000 Mbit/s\n"
          "[     0.340] \x1b[32mINFO\x1b[0m \x1b[1mdsp\x1b[0m: preset loaded\n";
}

} // namespace simulator
