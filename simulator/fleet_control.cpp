// A running fleet: requests that come over standard input.
#include "link/datagram.h"
#include "simulator/device_faults.h"
#include "simulator/fleet.h"

#include <QHostAddress>
#include <QJsonArray>

namespace simulator {

namespace {

QJsonObject failed(const QString &error)
{
    return {{"error", error}};
}

QJsonObject upload_progress(const TftpSession &tftp)
{
    return {{"running", tftp.running}, {"file", tftp.file_name}, {"blocks", tftp.blocks}};
}

QJsonObject device_stats(const SimulatedDevice &device)
{
    const DeviceCounters &counters = device.counters;
    const LogCounters &log = device.log.counters;
    return {
        {"index", device.index},
        {"device_id", device.device_id()},
        {"name", device.name()},
        {"address", QHostAddress(device.address).toString()},
        {"reachable", device.is_reachable()},
        {"firmware_version", device.state.value("firmware_version")},
        {"requests", counters.requests},
        {"commands_received", counters.commands_received},
        {"commands", counters.commands},
        {"replies_sent", counters.replies_sent},
        {"reports_sent", counters.reports_sent},
        {"frames_sent", counters.frames_sent},
        {"blinks", counters.blinks},
        {"reboots", counters.reboots},
        {"logging", device.is_logging},
        {"log_messages_sent", log.messages_sent},
        {"log_bytes_sent", log.bytes_sent},
        {"log_bytes_lost", log.bytes_lost},
        {"uploads", counters.uploads},
        {"upload", upload_progress(device.tftp)},
    };
}

} // namespace

struct Fleet::RequestRow
{
    const char *member = ""; // whose presence makes the request one of this kind
    QJsonObject (Fleet::*carry_out)(const QJsonObject &request) = nullptr;
};

struct Fleet::FaultRow
{
    const char *name = "";
    QString (Fleet::*apply)(SimulatedDevice &device, MemberReader &request) = nullptr;
};

const Fleet::RequestRow Fleet::REQUESTS[] = {
    {.member = "fault", .carry_out = &Fleet::switch_fault},
    {.member = "stats", .carry_out = &Fleet::tell_stats},
    {.member = "state", .carry_out = &Fleet::tell_state},
    {.member = "options", .carry_out = &Fleet::change_options},
    {.member = "quit", .carry_out = &Fleet::quit},
};

// Faults that need more than the device itself.
const Fleet::FaultRow Fleet::FAULTS[] = {
    {.name = "change_address", .apply = &Fleet::change_address},
    {.name = "reboot", .apply = &Fleet::reboot_now},
    {.name = "report", .apply = &Fleet::report_now},
    {.name = "send_raw", .apply = &Fleet::send_raw},
};

QJsonObject Fleet::answer(const QJsonObject &request)
{
    QJsonObject result = carry_out(request);
    if (!result.contains("error"))
        result.insert("ok", true);
    if (request.contains("id"))
        result.insert("id", request.value("id"));
    return result;
}

QJsonObject Fleet::carry_out(const QJsonObject &request)
{
    for (const RequestRow &row : REQUESTS)
        if (request.contains(QLatin1String(row.member)))
            return (this->*row.carry_out)(request);
    return failed("a request has one of the members \"fault\", \"stats\", \"state\", \"options\", "
                  "\"quit\"");
}

QJsonObject Fleet::switch_fault(const QJsonObject &request)
{
    const std::optional<DeviceList> selected = select_devices(request.value("device"));
    if (!selected)
        return failed("\"device\" must be an index, an id, a name, \"all\" or a list of such");
    if (request.contains("after"))
        return switch_later(request);
    for (SimulatedDevice *device : *selected) {
        const QString error = apply_fault(*device, request);
        if (!error.isEmpty())
            return failed(error);
    }
    return {{"devices", static_cast<int>(selected->size())}};
}

QJsonObject Fleet::switch_later(const QJsonObject &request)
{
    MemberReader members(request);
    const double seconds = members.number("after", 0, 0, 1'000'000);
    for (const QString &name : request.keys())
        members.allow({name});
    if (!members.finish().isEmpty())
        return failed(members.finish());
    QJsonObject due = request;
    due.remove("after");
    schedule.at(now + static_cast<int64_t>(seconds * 1e6), [this, due] {
        const QJsonObject result = switch_fault(due);
        if (result.contains("error"))
            emit happened({{"event", "fault"}, {"error", result.value("error")}});
    });
    return {};
}

QString Fleet::apply_fault(SimulatedDevice &device, const QJsonObject &request)
{
    MemberReader members(request);
    members.allow({"device", "id"});
    const QString name = members.text("fault");
    for (const FaultRow &row : FAULTS)
        if (name == QLatin1String(row.name))
            return (this->*row.apply)(device, members);
    const QString error = apply_device_fault(device, name, members);
    follow_logging(device);
    return error;
}

QString Fleet::change_address(SimulatedDevice &device, MemberReader &request)
{
    QHostAddress address;
    const QString text = request.text("address");
    if (!address.setAddress(text) || address.protocol() != QAbstractSocket::IPv4Protocol)
        request.complain("\"address\" must be an IPv4 address");
    QString error = request.finish();
    if (!error.isEmpty())
        return error;
    const uint32_t number = address.toIPv4Address();
    if (devices_at(number).empty())
        error = own_addresses.add_one(number);
    if (error.isEmpty())
        index_address(device, number);
    return error;
}

QString Fleet::reboot_now(SimulatedDevice &device, MemberReader &request)
{
    const QString error = request.finish();
    if (error.isEmpty())
        reboot(device);
    return error;
}

// A report that nobody asked for goes where metering goes.
QString Fleet::report_now(SimulatedDevice &device, MemberReader &request)
{
    const QString error = request.finish();
    if (error.isEmpty() && device.listener.address != 0)
        send_report(device, device.listener.address);
    return error;
}

QString Fleet::send_raw(SimulatedDevice &device, MemberReader &request)
{
    const QByteArray bytes = request.base64("base64");
    const QString to = request.text("to", QHostAddress(device.listener.address).toString());
    const int port = request.whole("port", MANAGER_PORT, 1, 65535);
    const int times = request.whole("times", 1, 1, 100'000);
    QHostAddress address;
    if (!address.setAddress(to) || address.protocol() != QAbstractSocket::IPv4Protocol)
        request.complain("\"to\" must be an IPv4 address");
    else if (address.toIPv4Address() == 0)
        request.complain("\"to\" is missing, and no manager has asked yet");
    const QString error = request.finish();
    for (int i = 0; error.isEmpty() && i < times; ++i)
        send(device, address.toIPv4Address(), static_cast<uint16_t>(port), bytes);
    return error;
}

QJsonObject Fleet::tell_stats(const QJsonObject &request)
{
    const QJsonValue which = request.contains("device") ? request.value("device") : "all";
    const std::optional<DeviceList> selected = select_devices(which);
    if (!selected)
        return failed("there is no such device");
    QJsonArray list;
    for (SimulatedDevice *device : *selected) {
        list.append(device_stats(*device));
        if (request.value("reset").toBool()) {
            device->counters = {};
            device->log.counters = {};
        }
    }
    return {{"stats", list}};
}

QJsonObject Fleet::tell_state(const QJsonObject &request)
{
    const std::optional<DeviceList> selected = select_devices(request.value("device"));
    if (!selected)
        return failed("there is no such device");
    QJsonArray list;
    for (const SimulatedDevice *device : *selected)
        list.append(device->state);
    return {{"states", list}};
}

QJsonObject Fleet::change_options(const QJsonObject &request)
{
    MemberReader members(request.value("options").toObject());
    SimulatorOptions changed = options;
    changed.metering_rate = members.number("metering_rate", options.metering_rate, 0, 1000);
    changed.log_rate = members.number("log_rate", options.log_rate, 0, 1'000'000);
    changed.reports_change = members.number("reports_change", options.reports_change, 0, 100);
    changed.spread = members.whole("spread", options.spread, 0, 60'000);
    changed.reboot_time = members.whole("reboot_time", options.reboot_time, 0, 600'000);
    changed.flash_time = members.whole("flash_time", options.flash_time, 0, 600'000);
    if (!members.finish().isEmpty())
        return failed(members.finish());
    options = changed;
    return {};
}

QJsonObject Fleet::quit(const QJsonObject & /*request*/)
{
    emit quit_asked();
    return {};
}

std::optional<Fleet::DeviceList> Fleet::select_devices(const QJsonValue &which)
{
    DeviceList selected;
    if (which.toString() == "all") {
        for (const auto &device : devices)
            selected.push_back(device.get());
        return selected;
    }
    const QJsonArray list = which.isArray() ? which.toArray() : QJsonArray{which};
    for (const QJsonValue &one : list) {
        SimulatedDevice *device = find_device(one);
        if (device == nullptr)
            return {};
        selected.push_back(device);
    }
    return selected;
}

// An index from 0, an id or a name.
SimulatedDevice *Fleet::find_device(const QJsonValue &which)
{
    if (which.isDouble()) {
        const int index = which.toInt(-1);
        const bool exists = index >= 0 && index < device_count();
        return exists ? devices[static_cast<size_t>(index)].get() : nullptr;
    }
    const QString text = which.toString();
    if (text.isEmpty())
        return nullptr;
    for (const auto &device : devices)
        if (device->device_id() == text || device->name() == text)
            return device.get();
    bool is_number = false;
    const int index = text.toInt(&is_number);
    return is_number ? find_device(index) : nullptr;
}

} // namespace simulator
