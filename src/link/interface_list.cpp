// The machine's interfaces, read again only when they may have changed.
#include "link/interface_list.h"

#include <array>
#include <cerrno>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

// Names, flags and IPv4 addresses: all that a network's name stands for. -1 where it is refused.
int open_change_socket()
{
    const int handle = socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC | SOCK_NONBLOCK, NETLINK_ROUTE);
    if (handle < 0)
        return -1;
    sockaddr_nl wanted{};
    wanted.nl_family = AF_NETLINK;
    wanted.nl_groups = RTMGRP_LINK | RTMGRP_IPV4_IFADDR;
    if (bind(handle, reinterpret_cast<const sockaddr *>(&wanted), sizeof wanted) == 0)
        return handle;
    close(handle);
    return -1;
}

} // namespace

InterfaceList::InterfaceList()
    : change_socket(open_change_socket())
{
}

InterfaceList::~InterfaceList()
{
    if (change_socket >= 0)
        close(change_socket);
}

const std::vector<NetworkInterface> &InterfaceList::present()
{
    return may_have_changed() || read_count == 0 ? renew() : interfaces;
}

const std::vector<NetworkInterface> &InterfaceList::renew()
{
    may_have_changed(); // what was told so far is in the list that is read now
    interfaces = present_interfaces();
    ++read_count;
    return interfaces;
}

// Takes all that the kernel has told; what it was is of no interest. An overflow of its messages
// (ENOBUFS) is a change as well.
bool InterfaceList::may_have_changed() const
{
    std::array<char, 8192> message{};
    bool has_changed = change_socket < 0;
    while (change_socket >= 0) {
        if (recv(change_socket, message.data(), message.size(), 0) >= 0 || errno == ENOBUFS)
            has_changed = true;
        else if (errno != EINTR)
            break;
    }
    return has_changed;
}
