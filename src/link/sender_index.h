// Which device was last heard from an address.
#pragma once

#include <QHostAddress>

#include <unordered_map>

struct Device;

// A report comes from the address that its device had before: so it is found without comparing
// ids. There is one entry per address, and none but for the address that a device has now.
class SenderIndex
{
public:
    // Null for an address that nobody has reported from.
    Device *find(const QHostAddress &address) const;
    // The device has just reported from there.
    void note(const QHostAddress &address, Device *device);
    // The device leaves this address, or altogether. Another one's entry stays.
    void forget(const QHostAddress &address, const Device *device);
    size_t size() const { return devices.size(); }

private:
    std::unordered_map<quint32, Device *> devices = {}; // by IPv4 address
};
