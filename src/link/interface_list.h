// The machine's interfaces, read again only when they may have changed.
#pragma once

#include "link/interface_rules.h"

#include <vector>

// Reading all interfaces takes a dozen calls of the system. The kernel tells of each change on a
// socket of its own; where it gives none, the list is read each time.
class InterfaceList
{
public:
    InterfaceList();
    ~InterfaceList();
    InterfaceList(const InterfaceList &) = delete;
    InterfaceList &operator=(const InterfaceList &) = delete;

    // The interfaces of this moment, in the system's order.
    const std::vector<NetworkInterface> &present();
    // The same, read anew whatever the kernel told.
    const std::vector<NetworkInterface> &renew();
    // How often they have been read.
    int readings() const { return read_count; }

private:
    bool may_have_changed() const;

    int change_socket;
    int read_count = 0;
    std::vector<NetworkInterface> interfaces = {};
};
