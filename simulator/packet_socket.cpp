// One UDP socket for a whole fleet: it tells which address each datagram was for, and sends from
// any address.
#include "simulator/packet_socket.h"

#include "support/socket_address.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace simulator {

namespace {

constexpr size_t LARGEST_DATAGRAM = 65536;
constexpr int BUFFER_SIZE = 8 * 1024 * 1024;

// Room for the one control message that carries a packet's addresses.
struct Control
{
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> bytes{};
};

struct Slot
{
    sockaddr_in peer{};
    iovec part{};
    Control control{};
};

void set_option(int descriptor, int level, int option, int value)
{
    setsockopt(descriptor, level, option, &value, sizeof value);
}

// Beyond the system's limit only root gets what it asks for; the plain request is the fallback.
void ask_for_buffers(int descriptor)
{
    set_option(descriptor, SOL_SOCKET, SO_RCVBUF, BUFFER_SIZE);
    set_option(descriptor, SOL_SOCKET, SO_SNDBUF, BUFFER_SIZE);
    set_option(descriptor, SOL_SOCKET, SO_RCVBUFFORCE, BUFFER_SIZE);
    set_option(descriptor, SOL_SOCKET, SO_SNDBUFFORCE, BUFFER_SIZE);
}

QString system_error()
{
    return QString::fromLocal8Bit(std::strerror(errno));
}

in_pktinfo packet_info(msghdr &header)
{
    in_pktinfo info{};
    for (cmsghdr *control = CMSG_FIRSTHDR(&header); control != nullptr;
         control = CMSG_NXTHDR(&header, control))
        if (control->cmsg_level == IPPROTO_IP && control->cmsg_type == IP_PKTINFO)
            std::memcpy(&info, CMSG_DATA(control), sizeof info);
    return info;
}

void write_packet_info(msghdr &header, uint32_t from)
{
    in_pktinfo info{};
    info.ipi_spec_dst.s_addr = htonl(from);
    cmsghdr *control = CMSG_FIRSTHDR(&header);
    if (control == nullptr)
        return; // there always is room for one
    control->cmsg_level = IPPROTO_IP;
    control->cmsg_type = IP_PKTINFO;
    control->cmsg_len = CMSG_LEN(sizeof info);
    std::memcpy(CMSG_DATA(control), &info, sizeof info);
}

void prepare(msghdr &header, Slot &slot, void *bytes, size_t size)
{
    slot.part = {.iov_base = bytes, .iov_len = size};
    header = {};
    header.msg_name = &slot.peer;
    header.msg_namelen = sizeof slot.peer;
    header.msg_iov = &slot.part;
    header.msg_iovlen = 1;
    header.msg_control = slot.control.bytes.data();
    header.msg_controllen = slot.control.bytes.size();
}

} // namespace

struct PacketSocket::Buffers
{
    std::vector<char> bytes = std::vector<char>(BATCH * LARGEST_DATAGRAM);
    std::array<Slot, BATCH> slots_in{};
    std::array<mmsghdr, BATCH> headers_in{};
    size_t used_in = BATCH; // slots that a receive() has changed
    std::array<Slot, BATCH> slots_out{};
    std::array<mmsghdr, BATCH> headers_out{};

    void prepare_to_receive()
    {
        for (size_t i = 0; i < used_in; ++i)
            prepare(headers_in[i].msg_hdr, slots_in[i], bytes.data() + i * LARGEST_DATAGRAM,
                    LARGEST_DATAGRAM);
    }

    void prepare_to_send(size_t index, OutgoingPacket &packet)
    {
        Slot &slot = slots_out[index];
        slot.peer = socket_address(packet.to, packet.to_port);
        msghdr &header = headers_out[index].msg_hdr;
        prepare(header, slot, const_cast<char *>(packet.bytes.constData()),
                static_cast<size_t>(packet.bytes.size()));
        write_packet_info(header, packet.from);
    }
};

PacketSocket::PacketSocket()
    : buffers(std::make_unique<Buffers>())
{
    received.reserve(BATCH);
}

PacketSocket::~PacketSocket()
{
    if (descriptor >= 0)
        close(descriptor);
}

QString PacketSocket::open(uint16_t port)
{
    descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0)
        return system_error();
    set_option(descriptor, IPPROTO_IP, IP_PKTINFO, 1);
    set_option(descriptor, SOL_SOCKET, SO_BROADCAST, 1);
    ask_for_buffers(descriptor);
    const sockaddr_in local = socket_address(INADDR_ANY, port);
    if (bind(descriptor, reinterpret_cast<const sockaddr *>(&local), sizeof local) == 0)
        return {};
    const QString reason = system_error();
    close(descriptor);
    descriptor = -1;
    return QString("UDP port %1: %2").arg(port).arg(reason);
}

const std::vector<ReceivedPacket> &PacketSocket::receive()
{
    received.clear();
    buffers->prepare_to_receive();
    const int count
        = recvmmsg(descriptor, buffers->headers_in.data(), BATCH, MSG_DONTWAIT, nullptr);
    buffers->used_in = count > 0 ? static_cast<size_t>(count) : 0;
    for (size_t i = 0; i < buffers->used_in; ++i) {
        mmsghdr &header = buffers->headers_in[i];
        const in_pktinfo info = packet_info(header.msg_hdr);
        const sockaddr_in &peer = buffers->slots_in[i].peer;
        received.push_back({.from = ntohl(peer.sin_addr.s_addr),
                            .from_port = ntohs(peer.sin_port),
                            .to = ntohl(info.ipi_addr.s_addr),
                            .is_broadcast = info.ipi_addr.s_addr != info.ipi_spec_dst.s_addr,
                            .interface_index = info.ipi_ifindex,
                            .bytes = buffers->bytes.data() + i * LARGEST_DATAGRAM,
                            .size = static_cast<int>(header.msg_len)});
    }
    return received;
}

void PacketSocket::send(std::vector<OutgoingPacket> &packets)
{
    size_t done = 0;
    while (done < packets.size()) {
        const size_t count = std::min(BATCH, packets.size() - done);
        for (size_t i = 0; i < count; ++i)
            buffers->prepare_to_send(i, packets[done + i]);
        const int sent
            = sendmmsg(descriptor, buffers->headers_out.data(), static_cast<unsigned>(count), 0);
        done += sent > 0 ? static_cast<size_t>(sent) : 1; // the first one was refused
    }
    packets.clear();
}

} // namespace simulator
