// A running fleet: start and time.
#include "simulator/fleet.h"

#include "link/datagram.h"
#include "simulator/loudspeaker_state.h"
#include "simulator/param_rules.h"

#include <algorithm>
#include <net/if.h>
#include <utility>

namespace simulator {

namespace {

constexpr uint16_t TFTP_PORT = 69;

} // namespace

Fleet::Fleet(SimulatorOptions options_, std::vector<DevicePlan> plans_)
    : options(std::move(options_))
    , plans(std::move(plans_))
{
    connect(&alarm, &AlarmClock::rings, this, &Fleet::on_alarm);
}

Fleet::~Fleet() = default;

QString Fleet::start()
{
    now = steady_time();
    QString error = add_addresses();
    if (error.isEmpty())
        error = open_sockets();
    if (error.isEmpty())
        error = start_faults();
    finish_round();
    return error;
}

QString Fleet::add_addresses()
{
    const QString error = assign_addresses(plans, options.first_address);
    if (!error.isEmpty())
        return error;
    std::vector<uint32_t> addresses;
    for (const DevicePlan &plan : plans) {
        const int index = device_count();
        const uint64_t seed = options.seed * 1'000'003 + static_cast<uint64_t>(index);
        devices.push_back(std::make_unique<SimulatedDevice>(index, plan, seed));
        index_address(*devices.back(), plan.address);
        devices.back()->report(); // kept: the first answers leave as fast as all others
        addresses.push_back(plan.address);
    }
    for (const auto &device : devices) {
        const QString refusal = report_refusal(device->state);
        if (!refusal.isEmpty())
            return QString("device %1: %2").arg(device->index + 1).arg(refusal);
    }
    if (options.interface.isEmpty())
        return {};
    interface_index = static_cast<int>(if_nametoindex(options.interface.toLocal8Bit().constData()));
    if (interface_index == 0)
        return QString("there is no network interface \"%1\"").arg(options.interface);
    if (options.addresses_exist)
        return {};
    return own_addresses.add(options.interface, addresses, options.prefix_length);
}

// Without uploads a fleet is still of use, and an ordinary user may not open their port.
QString Fleet::open_sockets()
{
    const QString error = device_socket.open(DEVICE_PORT);
    if (!error.isEmpty())
        return error + " (does the manager run on this machine outside a network of its own?)";
    listen_on(device_socket, device_notifier, &Fleet::on_device_packets);
    tftp_fault = tftp_socket.open(TFTP_PORT);
    if (tftp_fault.isEmpty())
        listen_on(tftp_socket, tftp_notifier, &Fleet::on_tftp_packets);
    return {};
}

void Fleet::listen_on(PacketSocket &socket, std::unique_ptr<QSocketNotifier> &notifier,
                      void (Fleet::*handler)()) const
{
    notifier = std::make_unique<QSocketNotifier>(socket.native_descriptor(), QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, handler);
}

QString Fleet::start_faults()
{
    for (const auto &device : devices) {
        for (const QJsonValue &fault : device->plan.faults) {
            QJsonObject request = fault.toObject();
            request.insert("device", device->index);
            const QString error = answer(request).value("error").toString();
            if (!error.isEmpty())
                return QString("device %1: fault: %2").arg(device->index + 1).arg(error);
        }
    }
    return {};
}

void Fleet::index_address(SimulatedDevice &device, uint32_t address)
{
    DeviceList &before = by_address[device.address];
    before.erase(std::remove(before.begin(), before.end(), &device), before.end());
    if (before.empty())
        by_address.erase(device.address);
    device.address = address;
    by_address[address].push_back(&device);
    set_state_address(device.state, address);
    device.state_changed();
}

const Fleet::DeviceList &Fleet::devices_at(uint32_t address) const
{
    static const DeviceList nobody;
    const auto found = by_address.find(address);
    return found == by_address.end() ? nobody : found->second;
}

void Fleet::after(int ms, std::function<void()> work)
{
    schedule.at(now + int64_t{ms} * 1000, std::move(work));
}

void Fleet::on_alarm()
{
    now = steady_time();
    schedule.run_due(now);
    finish_round();
}

void Fleet::finish_round()
{
    if (device_socket.is_open())
        device_socket.flush();
    if (tftp_socket.is_open())
        tftp_socket.flush();
    alarm.set(schedule.next_due());
}

void Fleet::report_event(const char *event, const SimulatedDevice &device, QJsonObject details)
{
    details.insert("event", event);
    details.insert("index", device.index);
    details.insert("device_id", device.device_id());
    details.insert("name", device.name());
    emit happened(details);
}

} // namespace simulator
