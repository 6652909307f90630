// Whether a device is reachable, and whether it still answers commands.
#pragma once

#include "model/device.h"

// A report has come in at `now` (ms since the epoch). A cached or made-up one (`live` false) only
// brings the firmware's number to a device that is offline.
void note_report(Device &device, bool live, qint64 now, uint32_t fw_magic);

// A command goes out: the next two live reports without a reply mean "Broken net".
void note_command_sent(Device &device);

// A reply has come in. True when that ended "Broken net".
bool note_reply(Device &device);

// Whether an online device has been silent for 2000 ms at `now`. A clock that was set back would
// keep a silent device online for as long, so `last_seen` is drawn back to `now` first.
bool has_gone_silent(Device &device, qint64 now);
