// One simulated device: its state, its faults and what it has counted.
#pragma once

#include "simulator/channel_levels.h"
#include "simulator/datagrams.h"
#include "simulator/device_plan.h"
#include "simulator/log_stream.h"
#include "simulator/pace.h"
#include "simulator/random_source.h"
#include "simulator/tftp_session.h"

#include <QJsonArray>
#include <QJsonObject>

#include <cstdint>

namespace simulator {

struct DeviceFaults
{
    bool silent = false; // hears and says nothing
    bool drop_replies = false;
    bool drop_reports = false;
    bool drop_frames = false;
    Checksum checksum = Checksum::RIGHT; // of everything, when the manager asks for checksums
    int delay = 0;                       // ms before each reply and report
    double loss_in = 0;                  // percent of all datagrams towards the device
    double loss_out = 0;                 // percent of all datagrams from it
};

struct DeviceCounters
{
    qint64 requests = 0; // for its state
    qint64 commands_received = 0;
    QJsonArray commands = {}; // the first thousand, as they came
    qint64 replies_sent = 0;
    qint64 reports_sent = 0;
    qint64 frames_sent = 0;
    qint64 blinks = 0;
    qint64 reboots = 0;
    QJsonArray uploads = {};
};

// Who wants metering frames, and until when.
struct Listener
{
    uint32_t address = 0; // host order; 0: nobody
    qint64 until = 0;     // µs of the fleet's clock
};

struct SimulatedDevice
{
    SimulatedDevice(int index, DevicePlan plan, uint64_t seed);

    QString device_id() const;
    const QByteArray &id_bytes() const { return cached_id; } // as JSON has it between quotes
    QString name() const;
    uint32_t fw_magic() const;
    bool is_reachable() const { return !faults.silent && !is_rebooting; }
    // Whether a datagram arrives, some being lost on purpose.
    bool hears() { return is_reachable() && !random.happens(faults.loss_in); }
    // To be called after each change of `state`: the next report shows it.
    void state_changed();
    // What the device's datagrams end with.
    Checksum checksum() const;
    // The report datagram; made anew only after a change.
    QByteArray report();

    int index = 0;
    DevicePlan plan = {};
    RandomSource random;
    QJsonObject state = {};
    uint32_t address = 0; // IPv4, host order
    ChannelLevels levels;
    DeviceFaults faults = {};
    DeviceCounters counters = {};
    Listener listener = {};
    bool wants_checksum = true; // the last request asked for it
    LogStream log = {};
    uint32_t log_listener = 0; // who switched logging on
    double log_rate = -1;      // lines per second; negative: the fleet's
    QByteArray log_text = {};  // to be logged next
    Pace log_pace = {};
    bool is_logging = false;
    TftpSession tftp = {};
    bool is_rebooting = false;
    qint64 booted_at = 0;         // µs of the fleet's clock
    QString flashed_version = {}; // runs from the next boot on
    int64_t reboot_due = 0;       // µs of the fleet's clock; 0: nothing has been flashed

private:
    QByteArray cached_id = {};
    QByteArray cached_report = {}; // with the right checksum; empty: out of date
};

} // namespace simulator
