// The devices that the program knows: by id, and by the address from which each was last heard.
#pragma once

#include "link/sender_index.h"

#include <QHostAddress>
#include <QString>

#include <map>

struct Device;

// Knows the records and owns none: the window makes the last step, as rows, log windows and
// uploads go before a record.
class DeviceRegistry
{
public:
    using Devices = std::map<QString, Device *>;

    const Devices &all() const { return devices; } // in the order of the ids
    Devices &all() { return devices; }

    Device *find(const QString &device_id) const; // null when unknown
    // Who was last heard from the address; null for nobody.
    Device *last_heard_from(const QHostAddress &from) const { return senders.find(from); }
    // The device of this id, which mostly is `guess`: that compares one id, not one in ten.
    Device *find_near(Device *guess, const QString &device_id) const;
    Device *find_near(Device *guess, QLatin1String device_id) const;

    // As find, with a look first at who was last heard from the address. A new device gets its
    // record here; null for one device too many.
    Device *find_or_create(const QHostAddress &from, const QString &device_id);
    // The device speaks from there now. Only a live one is looked up by its address.
    void note_address(Device &device, const QHostAddress &from, bool live);

    // No address leads to the device any more, as before its record goes.
    void forget_address(const Device &device);
    size_t known_senders() const { return senders.size(); } // addresses that lead to a device

private:
    Devices devices = {};
    SenderIndex senders = {};
};
