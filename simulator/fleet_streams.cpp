// A running fleet: metering frames and log streams.
#include "link/datagram.h"
#include "simulator/fleet.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr int TICK = 5; // ms

} // namespace

void Fleet::start_ticking()
{
    if (is_ticking)
        return;
    is_ticking = true;
    last_tick = now;
    after(TICK, [this] { tick(); });
}

// Ends by itself when nobody listens, so that an unused fleet costs nothing.
void Fleet::tick()
{
    const double seconds = static_cast<double>(now - last_tick) / 1e6;
    last_tick = now;
    send_frames(seconds);
    send_logs(seconds);
    is_ticking = now < metering_until || !logging_devices.empty();
    if (is_ticking)
        after(TICK, [this] { tick(); });
}

// The devices take turns, so that the frames of a large fleet come evenly.
void Fleet::send_frames(double seconds)
{
    const double rate = options.metering_rate * device_count();
    for (int due = metering_pace.due(rate, seconds); due > 0; --due) {
        SimulatedDevice &device = *devices[next_to_meter];
        next_to_meter = (next_to_meter + 1) % devices.size();
        if (device.is_reachable() && !device.faults.drop_frames && now < device.listener.until)
            send_frame(device);
    }
}

void Fleet::send_frame(SimulatedDevice &device)
{
    device.levels.step(device.random);
    const QByteArray bytes = metering_datagram(device.id_bytes(), device.levels.peaks,
                                               device.levels.overdrive, device.checksum());
    ++device.counters.frames_sent;
    if (!options.metering_broadcast) {
        send(device, device.listener.address, MANAGER_PORT, bytes);
        return;
    }
    const uint32_t everybody = broadcast_address(device.address, options.prefix_length);
    send(device, everybody, BROADCAST_PORT, bytes);
}

void Fleet::send_logs(double seconds)
{
    for (SimulatedDevice *device : logging_devices) {
        const double rate = device->log_rate < 0 ? options.log_rate : device->log_rate;
        send_log(*device, device->log_text);
        device->log_text.clear();
        const qint64 uptime = (now - device->booted_at) / 1000;
        for (int due = device->log_pace.due(rate, seconds); due > 0; --due)
            send_log(*device, believable_log_line(uptime, device->random));
    }
}

void Fleet::send_log(SimulatedDevice &device, const QByteArray &text)
{
    for (const LogMessage &message : device.log.take(text, device.random)) {
        const QByteArray bytes = log_datagram(device.device_id(), message, device.checksum());
        device.log.count(message, send(device, device.log_listener, MANAGER_PORT, bytes));
    }
}

void Fleet::follow_logging(SimulatedDevice &device)
{
    const auto found = std::find(logging_devices.begin(), logging_devices.end(), &device);
    const bool is_listed = found != logging_devices.end();
    if (device.is_logging == is_listed)
        return;
    if (is_listed) {
        logging_devices.erase(found);
        return;
    }
    logging_devices.push_back(&device);
    start_ticking();
}

} // namespace simulator
