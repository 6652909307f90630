// Whether a device is reachable, and whether it still answers commands.
#include "model/presence.h"

namespace {

constexpr qint64 SILENCE_LIMIT = 1999; // ms, about four unanswered requests

void count_unanswered_report(Device &device)
{
    if (!device.awaiting_reply)
        return;
    ++device.reports_without_reply;
    if (device.reports_without_reply > 1) {
        device.broken_net = true;
        device.awaiting_reply = false;
    }
}

} // namespace

void note_report(Device &device, bool live, qint64 now, uint32_t fw_magic)
{
    // KEPT: only here; an error of ours outlives all reports of a device that stays online.
    if (!device.online && live)
        device.upload_error.clear();
    device.fw_magic = fw_magic;
    if (!device.online && !live)
        return;
    device.online = live;
    if (!live)
        return;
    device.last_seen = now;
    count_unanswered_report(device);
}

void note_command_sent(Device &device)
{
    device.awaiting_reply = true;
    device.reports_without_reply = 0;
}

bool note_reply(Device &device)
{
    device.awaiting_reply = false;
    const bool was_broken = device.broken_net;
    device.broken_net = false;
    return was_broken;
}

bool has_gone_silent(Device &device, qint64 now)
{
    if (!device.online)
        return false;
    if (device.last_seen > now)
        device.last_seen = now;
    return now - device.last_seen > SILENCE_LIMIT;
}
