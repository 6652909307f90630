// Which device was last heard from an address.
#include "link/sender_index.h"

Device *SenderIndex::find(const QHostAddress &address) const
{
    const auto found = devices.find(address.toIPv4Address());
    return found == devices.end() ? nullptr : found->second;
}

void SenderIndex::note(const QHostAddress &address, Device *device)
{
    devices[address.toIPv4Address()] = device;
}

void SenderIndex::forget(const QHostAddress &address, const Device *device)
{
    const auto found = devices.find(address.toIPv4Address());
    if (found != devices.end() && found->second == device)
        devices.erase(found);
}
