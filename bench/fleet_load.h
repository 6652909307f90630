// How much work a fleet is to the process that hears it: CPU time, stalls, datagrams, memory.
#pragma once

#include "measure.h"
#include "support/window_handle.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <vector>

// MB of this process that are in memory now.
inline double resident_megabytes()
{
    QFile file("/proc/self/statm");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').at(1).toDouble() * 4096.0 / 1e6;
}

// Datagrams that this private network has handed to its programs since it was made.
inline double received_datagrams()
{
    QFile file("/proc/self/net/snmp");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    for (const QByteArray &line : file.readAll().split('\n'))
        if (line.startsWith("Udp: ") && !line.contains("InDatagrams"))
            return line.split(' ').at(1).toDouble();
    return 0;
}

inline int offline_count(const WindowHandle &gui)
{
    int count = 0;
    for (const auto &[id, device] : gui.all_devices())
        count += !device->online;
    return count;
}

inline bool await_fleet(WindowHandle &gui, int count)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!elapsed.hasExpired(60000)) {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        if (static_cast<int>(gui.all_devices().size()) == count && offline_count(gui) == 0)
            return true;
    }
    std::fprintf(stderr, "%d of %d devices known, %d of them offline\n",
                 static_cast<int>(gui.all_devices().size()), count, offline_count(gui));
    return false;
}

// Lets the program run by itself, as its own event loop would.
inline void run_for(double seconds)
{
    QEventLoop loop;
    QTimer::singleShot(static_cast<int>(seconds * 1000), Qt::PreciseTimer, &loop,
                       &QEventLoop::quit);
    loop.exec();
}

// CPU milliseconds per second of running alone: nothing else watches.
inline double cpu_while_running(double seconds)
{
    QElapsedTimer elapsed;
    elapsed.start();
    const double start = cpu_seconds();
    run_for(seconds);
    return (cpu_seconds() - start) * 1e6 / static_cast<double>(elapsed.elapsed());
}

struct Stalls
{
    double longest = 0; // ms
    double p99 = 0;     // ms
};

// A timer that is due every millisecond sees how long the event loop was busy with other things.
// It costs CPU time of its own.
inline Stalls stalls_while_running(double seconds)
{
    std::vector<double> gaps;
    QElapsedTimer since_last;
    QTimer pulse;
    pulse.setTimerType(Qt::PreciseTimer);
    QObject::connect(&pulse, &QTimer::timeout, &pulse, [&gaps, &since_last] {
        gaps.push_back(static_cast<double>(since_last.nsecsElapsed()) / 1e6);
        since_last.restart();
    });
    since_last.start();
    pulse.start(1);
    run_for(seconds);
    if (gaps.empty())
        return {};
    std::sort(gaps.begin(), gaps.end());
    return {.longest = gaps.back(), .p99 = gaps[gaps.size() * 99 / 100]};
}
