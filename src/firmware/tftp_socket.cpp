// The UDP socket of one TFTP transfer.
#include "firmware/tftp_socket.h"

#include "support/socket_address.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/time.h>
#include <unistd.h>

namespace {

constexpr int RECEIVE_BUFFER_SIZE = 4 << 20; // bytes, for the answers of a whole fleet
// At least; the kernel counts its own ticks of up to 10 ms. Waiting by poll is exact, and setting
// an exact timer for each block takes longer than to read the answer.
constexpr timeval ANSWER_WAIT = {.tv_sec = 0, .tv_usec = 1000};

// Room for the one control message that a datagram carries.
struct Control
{
    alignas(cmsghdr) std::array<char, CMSG_SPACE(sizeof(in_pktinfo))> bytes = {};
};

void choose_interface(msghdr &header, unsigned index)
{
    cmsghdr *const control = CMSG_FIRSTHDR(&header);
    control->cmsg_level = IPPROTO_IP;
    control->cmsg_type = IP_PKTINFO;
    control->cmsg_len = CMSG_LEN(sizeof(in_pktinfo));
    const in_pktinfo info = {.ipi_ifindex = static_cast<int>(index)};
    std::memcpy(CMSG_DATA(control), &info, sizeof info);
}

template<typename Value>
bool set_option(int descriptor, int level, int option, Value value)
{
    return setsockopt(descriptor, level, option, &value, sizeof value) == 0;
}

} // namespace

TftpSocket::~TftpSocket()
{
    if (descriptor >= 0)
        close(descriptor);
}

QString TftpSocket::open()
{
    descriptor = socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (descriptor < 0 || !set_option(descriptor, SOL_SOCKET, SO_RCVTIMEO, ANSWER_WAIT))
        return qt_error_string(errno);
    set_option(descriptor, SOL_SOCKET, SO_RCVBUF, RECEIVE_BUFFER_SIZE); // as much as may be had
    return {};
}

QString TftpSocket::bind(quint16 port) const
{
    const sockaddr_in local = socket_address(INADDR_ANY, port);
    const bool is_bound = set_option(descriptor, SOL_SOCKET, SO_REUSEADDR, 1)
        && ::bind(descriptor, reinterpret_cast<const sockaddr *>(&local), sizeof local) == 0;
    return is_bound ? QString() : qt_error_string(errno);
}

void TftpSocket::send(std::span<const char> bytes, quint32 address, quint16 port,
                      unsigned interface_index) const
{
    sockaddr_in peer = socket_address(address, port);
    iovec part = {.iov_base = const_cast<char *>(bytes.data()), .iov_len = bytes.size()};
    Control control;
    msghdr header = {.msg_name = &peer,
                     .msg_namelen = sizeof peer,
                     .msg_iov = &part,
                     .msg_iovlen = 1,
                     .msg_control = control.bytes.data(),
                     .msg_controllen = control.bytes.size(),
                     .msg_flags = 0};
    choose_interface(header, interface_index);
    sendmsg(descriptor, &header, MSG_DONTWAIT);
}

bool TftpSocket::receive(TftpDatagram &datagram) const
{
    return take(datagram, MSG_DONTWAIT);
}

bool TftpSocket::await(TftpDatagram &datagram) const
{
    return take(datagram, 0);
}

bool TftpSocket::take(TftpDatagram &datagram, int flags) const
{
    sockaddr_in peer{};
    socklen_t length = sizeof peer;
    datagram.size = recvfrom(descriptor, datagram.bytes.data(), datagram.bytes.size(), flags,
                             reinterpret_cast<sockaddr *>(&peer), &length);
    datagram.address = ntohl(peer.sin_addr.s_addr);
    datagram.port = ntohs(peer.sin_port);
    return datagram.size >= 0;
}
