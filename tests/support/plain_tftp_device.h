// A device's TFTP server without an event loop, for processes and threads of their own.
#pragma once

#include "support/socket_address.h"
#include "support/tftp_peer.h"

#include <sys/socket.h>
#include <unistd.h>

inline int open_device(int number)
{
    const sockaddr_in address = socket_address(device_address(number).toIPv4Address(), 69);
    const int one = 1;
    const int device = socket(AF_INET, SOCK_DGRAM, 0);
    setsockopt(device, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (device < 0
        || bind(device, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        _exit(1);
    return device;
}

// Block 0 for a request, else the number of the DATA block, of which the bytes are used as they
// are.
inline void acknowledge(int device)
{
    char bytes[600];
    sockaddr_in from{};
    socklen_t size = sizeof from;
    if (recvfrom(device, bytes, sizeof bytes, 0, reinterpret_cast<sockaddr *>(&from), &size) < 4)
        return;
    const bool is_request = bytes[1] == 2;
    const char answer[] = {0, 4, is_request ? '\0' : bytes[2], is_request ? '\0' : bytes[3]};
    sendto(device, answer, sizeof answer, 0, reinterpret_cast<sockaddr *>(&from), size);
}
