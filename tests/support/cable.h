// A cable between two interfaces of a test's own network, and an ear at its far end.
#pragma once

#include "support/fleet.h"

#include <algorithm>
#include <arpa/inet.h>
#include <linux/if_packet.h>
#include <net/ethernet.h>
#include <net/if.h>
#include <sys/socket.h>
#include <unistd.h>

// A cable with both ends here; what leaves by NAME arrives at NAMEx. The far end goes up first: the
// near one then carries at once.
inline void lay_cable(const QString &name, const QString &address)
{
    shell("ip link add " + name + " type veth peer name " + name + "x; ip link set " + name
          + "x up; ip link set " + name + " up; ip address add " + address + " dev "
          + name
          // A neighbour that need not be asked for its place.
          + "; ip neigh add 10.8.0.99 lladdr 02:00:00:00:00:99 dev " + name);
}

inline void remove_cable(const QString &name)
{
    shell("ip link del " + name + " 2>/dev/null || true");
}

// Hears what arrives at one end of a cable.
class CableEnd
{
public:
    explicit CableEnd(const char *name)
        : handle(socket(AF_PACKET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, htons(ETH_P_IP)))
    {
        sockaddr_ll end{};
        end.sll_family = AF_PACKET;
        end.sll_protocol = htons(ETH_P_IP);
        end.sll_ifindex = static_cast<int>(if_nametoindex(name));
        if (bind(handle, reinterpret_cast<const sockaddr *>(&end), sizeof end) != 0)
            qFatal("can't listen at the cable");
    }
    ~CableEnd() { close(handle); }
    Q_DISABLE_COPY_MOVE(CableEnd)

    // Whether such a datagram has come so far.
    bool has_heard(const QByteArray &payload)
    {
        QByteArray bytes(65536, 0);
        ssize_t size = 0;
        while ((size = recv(handle, bytes.data(), static_cast<size_t>(bytes.size()), 0)) >= 0)
            packets.append(bytes.left(static_cast<int>(size)));
        return std::any_of(packets.begin(), packets.end(), [&payload](const QByteArray &packet) {
            return packet.endsWith(payload);
        });
    }

private:
    int handle;
    QList<QByteArray> packets = {};
};
