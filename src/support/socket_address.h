// IPv4 addresses as the system's calls take them.
#pragma once

#include <cstdint>
#include <netinet/in.h>

// Of a host in the machine's byte order, as QHostAddress::toIPv4Address tells it.
inline sockaddr_in socket_address(uint32_t host, uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(host);
    address.sin_port = htons(port);
    return address;
}
