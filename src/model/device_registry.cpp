// The devices that the program knows: by id, and by the address from which each was last heard.
#include "model/device_registry.h"

#include "model/device.h"
#include "model/registry_limit.h"

#include <QDebug>

Device *DeviceRegistry::find(const QString &device_id) const
{
    const auto found = devices.find(device_id);
    return found == devices.end() ? nullptr : found->second;
}

Device *DeviceRegistry::find_near(Device *guess, const QString &device_id) const
{
    return guess && guess->device_id == device_id ? guess : find(device_id);
}

Device *DeviceRegistry::find_near(Device *guess, QLatin1String device_id) const
{
    return guess && guess->device_id == device_id ? guess : find(QString(device_id));
}

Device *DeviceRegistry::find_or_create(const QHostAddress &from, const QString &device_id)
{
    Device *device = find_near(senders.find(from), device_id);
    if (device || devices.size() >= size_t{MOST_DEVICES})
        return device;
    qDebug() << "Found new device" << device_id << "at" << from.toString();
    device = new Device;
    device->device_id = device_id;
    device->address = from;
    devices[device_id] = device;
    return device;
}

void DeviceRegistry::note_address(Device &device, const QHostAddress &from, bool live)
{
    if (device.address != from) {
        qDebug() << "device" << device.device_id << "apparently changing fromaddress"
                 << device.address.toString() << "to" << from.toString() << "(or multiple paths)";
        senders.forget(device.address, &device);
        device.address = from;
    }
    if (live)
        senders.note(from, &device);
}

void DeviceRegistry::forget_address(const Device &device)
{
    senders.forget(device.address, &device);
}
