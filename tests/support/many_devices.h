// 1,500 devices that take any file, at 127.0.4.0 and on, in a process of their own.
#pragma once

#include "support/tftp_peer.h"

#include <QtTest>

#include <arpa/inet.h>
#include <csignal>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

constexpr int MANY_DEVICES = 1500;
constexpr int FIRST_NUMBER = 4 * 256;

inline bool set_limit(rlim_t soft, rlim_t hard)
{
    const rlimit limit{.rlim_cur = soft, .rlim_max = hard};
    return setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

// How many files the program may hold open, and how many of MANY_DEVICES can be served at least. To
// be gone through in this order: the second row lowers the hard limit for good.
inline void add_limit_rows(int least_without_room)
{
    QTest::addColumn<int>("soft");
    QTest::addColumn<int>("hard");
    QTest::addColumn<int>("least");
    QTest::newRow("room above the soft limit") << 1024 << 4096 << MANY_DEVICES;
    QTest::newRow("no room") << 256 << 256 << least_without_room;
}

inline int open_device(int number)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(69);
    address.sin_addr.s_addr = htonl(device_address(number).toIPv4Address());
    const int one = 1;
    const int device = socket(AF_INET, SOCK_DGRAM, 0);
    setsockopt(device, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    if (device < 0 || bind(device, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
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

// The devices, in a process of their own: their sockets must not count as ours. It ends with ours.
inline void play_many_devices(int ready)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    rlimit limit{};
    getrlimit(RLIMIT_NOFILE, &limit);
    set_limit(limit.rlim_max, limit.rlim_max);
    std::vector<pollfd> devices;
    for (int i = 0; i < MANY_DEVICES; ++i)
        devices.push_back({.fd = open_device(FIRST_NUMBER + i), .events = POLLIN, .revents = 0});
    if (write(ready, "r", 1) != 1)
        _exit(1);
    while (poll(devices.data(), devices.size(), -1) > 0)
        for (const pollfd &device : devices)
            if (device.revents & POLLIN)
                acknowledge(device.fd);
    _exit(1);
}

// Before any thread: forks. Its end is that of this process.
inline bool start_many_devices()
{
    int ends[2];
    char word = 0;
    if (pipe(ends) != 0)
        return false;
    if (fork() == 0)
        play_many_devices(ends[1]);
    close(ends[1]);
    const bool is_ready = read(ends[0], &word, 1) == 1;
    close(ends[0]);
    return is_ready;
}
