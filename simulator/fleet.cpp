// A running fleet: start and time.
#include "simulator/fleet.h"

#include "simulator/loudspeaker_state.h"
#include "simulator/param_rules.h"

#include <algorithm>
#include <net/if.h>
#include <utility>

namespace simulator {

Fleet::Fleet(SimulatorOptions options_, std::vector<DevicePlan> plans_)
    : options(std::move(options_))
    , plans(std::move(plans_))
{
}

Fleet::~Fleet() = default;

QString Fleet::make_devices(std::vector<uint32_t> &addresses)
{
    const QString error = assign_addresses(plans, options.first_address);
    if (!error.isEmpty())
        return error;
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
    return {};
}

QString Fleet::take_addresses()
{
    std::vector<uint32_t> addresses;
    const QString error = make_devices(addresses);
    if (!error.isEmpty() || options.interface.isEmpty())
        return error;
    interface_index = static_cast<int>(if_nametoindex(options.interface.toLocal8Bit().constData()));
    if (interface_index == 0)
        return QString("there is no network interface \"%1\"").arg(options.interface);
    if (options.addresses_exist)
        return {};
    return own_addresses.add(options.interface, addresses, options.prefix_length);
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

void Fleet::report_event(const char *event, const SimulatedDevice &device, QJsonObject details)
{
    details.insert("event", event);
    details.insert("index", device.index);
    details.insert("device_id", device.device_id());
    details.insert("name", device.name());
    emit happened(details);
}

} // namespace simulator
