// A running fleet: requests, commands, reports and replies.
#include "link/datagram.h"
#include "simulator/device_commands.h"
#include "simulator/fleet.h"
#include "simulator/fleet_mix.h"
#include "simulator/loudspeaker_state.h"
#include "simulator/param_rules.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace simulator {

namespace {

constexpr int64_t METERING_PATIENCE = 10'000'000; // µs without a request until frames stop
constexpr int64_t SLOT = 5000;                    // µs; answers of one slot leave in one batch

// Spread answers are gathered in slots: one system call sends many.
int64_t slot_after(int64_t time)
{
    return (time / SLOT + 1) * SLOT;
}

ReportRequest read_request(const QJsonObject &object)
{
    return {.wants_checksum = object.value("add_crc").toBool(),
            .wants_metering = object.value("metering").toBool()};
}

// The clock state shows in the manager's list from its first start on; mute joins in now and then
// where there is a processor.
void change_visible_value(SimulatedDevice &device)
{
    const int lock = device.state.value("rtp").toObject().value("lock").toInt() == 3 ? 2 : 3;
    merge_members(device.state, {{"rtp", QJsonObject{{"lock", lock}}}});
    const QJsonObject dsp = device.state.value("dsp").toObject();
    if (dsp.contains("mute") && device.random.happens(50)) {
        const bool mute = !dsp.value("mute").toBool();
        merge_members(device.state, {{"dsp", QJsonObject{{"mute", mute}}}});
    }
    device.state_changed();
}

} // namespace

void Fleet::hear(const ReceivedPacket &packet)
{
    const DeviceList receivers = devices_at(packet.to);
    const bool is_own = !devices_at(packet.from).empty();
    if (is_own)
        return;
    const QJsonDocument document
        = QJsonDocument::fromJson(QByteArray::fromRawData(packet.bytes, packet.size));
    if (packet.is_broadcast) {
        handle_broadcast(document.object(), packet);
        return;
    }
    for (SimulatedDevice *device : receivers)
        if (device->hears())
            handle_unicast(*device, document, packet);
}

// Only the request for reports is meant for all.
void Fleet::handle_broadcast(const QJsonObject &object, const ReceivedPacket &packet)
{
    const bool is_heard = interface_index == 0 || packet.interface_index == interface_index;
    if (!is_heard || object.value("command").toString() != "device_info")
        return;
    const ReportRequest request = read_request(object);
    for (const auto &device : devices)
        if (device->hears())
            hear_request(*device, request, packet.from);
}

void Fleet::handle_unicast(SimulatedDevice &device, const QJsonDocument &document,
                           const ReceivedPacket &packet)
{
    const QJsonObject object = document.object();
    if (packet.size > LARGEST_COMMAND && !is_from_device(object))
        refuse(device, answer_oversize(device, packet.size), packet.from);
    else if (!document.isObject())
        send_reply(device, answer_garbage(device), packet.from);
    else if (object.value("command").toString() == "device_info")
        hear_request(device, read_request(object), packet.from);
    else if (!is_from_device(object))
        hear_command(device, object, packet.from);
}

// A person at the fleet would look for the reason at the manager otherwise.
void Fleet::refuse(SimulatedDevice &device, const QJsonObject &reply, uint32_t to)
{
    report_event("refused", device,
                 {{"command", reply.value("command")}, {"error", reply.value("error")}});
    send_reply(device, reply, to);
}

void Fleet::hear_request(SimulatedDevice &device, ReportRequest request, uint32_t from)
{
    ++device.counters.requests;
    device.wants_checksum = request.wants_checksum;
    if (request.wants_metering) {
        device.listener = {.address = from, .until = now + METERING_PATIENCE};
        metering_until = device.listener.until;
        start_ticking();
    }
    const int delay = device.faults.delay;
    if (options.spread == 0 && delay == 0) {
        send_report(device, from);
        return;
    }
    const int64_t wait = int64_t{device.random.below(options.spread + 1) + delay} * 1000;
    SimulatedDevice *answering = &device;
    schedule.at(slot_after(now + wait), [this, answering, from] { send_report(*answering, from); });
}

void Fleet::hear_command(SimulatedDevice &device, const QJsonObject &command, uint32_t from)
{
    const qint64 blinks = device.counters.blinks;
    const QJsonObject reply = answer_command(device, command);
    if (device.counters.blinks != blinks)
        report_event("blink", device);
    if (command.value("logging").isObject())
        device.log_listener = from;
    follow_logging(device);
    if (reply.value("status").toString() == "ok")
        send_reply(device, reply, from);
    else
        refuse(device, reply, from);
}

void Fleet::send_report(SimulatedDevice &device, uint32_t to)
{
    if (!device.is_reachable() || device.faults.drop_reports)
        return;
    if (device.random.happens(options.reports_change))
        change_visible_value(device);
    ++device.counters.reports_sent;
    send(device, to, MANAGER_PORT, device.report());
}

void Fleet::send_reply(SimulatedDevice &device, const QJsonObject &reply, uint32_t to)
{
    if (device.faults.drop_replies)
        return;
    const QByteArray bytes = json_datagram(reply, device.checksum());
    ++device.counters.replies_sent;
    if (device.faults.delay == 0) {
        send(device, to, MANAGER_PORT, bytes);
        return;
    }
    SimulatedDevice *answering = &device;
    after(device.faults.delay,
          [this, answering, to, bytes] { send(*answering, to, MANAGER_PORT, bytes); });
}

bool Fleet::send(SimulatedDevice &device, uint32_t to, uint16_t port, const QByteArray &bytes)
{
    if (!device.is_reachable() || device.random.happens(device.faults.loss_out))
        return false;
    if (bytes.size() > PacketSocket::LARGEST_PAYLOAD) {
        report_event("too_large", device, {{"bytes", bytes.size()}});
        return false;
    }
    outgoing.push_back({.from = device.address, .to = to, .to_port = port, .bytes = bytes});
    return true;
}

void Fleet::reboot(SimulatedDevice &device)
{
    device.is_rebooting = true;
    device.reboot_due = 0;
    const qint64 reboots = ++device.counters.reboots;
    device.tftp.reset();
    device.log.restart();
    merge_members(device.state, {{"logging", QJsonObject{{"en", false}}}});
    device.state_changed();
    follow_logging(device);
    report_event("reboot", device);
    SimulatedDevice *rebooting = &device;
    after(options.reboot_time, [this, rebooting, reboots] {
        if (rebooting->counters.reboots == reboots) // and not rebooted again meanwhile
            boot(*rebooting);
    });
}

void Fleet::boot(SimulatedDevice &device)
{
    device.is_rebooting = false;
    device.booted_at = now;
    if (!device.flashed_version.isEmpty())
        device.state.insert("firmware_version", device.flashed_version);
    device.flashed_version.clear();
    device.state.insert("firmware_update_error", "");
    const QJsonArray sessions = device.plan.sessions.value_or(usual_sessions());
    merge_members(device.state, {{"streams", QJsonObject{{"list", sessions}}}});
    device.state_changed();
    device.log_text = boot_log(device.state.value("firmware_version").toString());
    report_event("boot", device);
}

} // namespace simulator
