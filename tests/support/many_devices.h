// 1,500 devices that take any file, at 127.0.4.0 and on, in a process of their own.
#pragma once

#include "support/plain_tftp_device.h"
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
