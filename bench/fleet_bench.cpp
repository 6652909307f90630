// The manager with a simulated fleet that answers every request and meters ten times a second:
// share of a core, longest stall of the event loop, memory, and devices that flicker.
#include "bench_window.h"
#include "support/fleet.h"

#include <QComboBox>
#include <QElapsedTimer>

#include <algorithm>

namespace {

struct Load
{
    double cores = 0;         // CPU seconds per second
    double longest_stall = 0; // ms
    double stall_p99 = 0;     // ms
    double memory_growth = 0; // MB after the first quarter
    int flickers = 0;         // times that a device read offline
    int online = 0;
};

double resident_megabytes()
{
    QFile file("/proc/self/statm");
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    return file.readAll().split(' ').at(1).toDouble() * 4096.0 / 1e6;
}

int offline_count(const Gui &gui)
{
    int count = 0;
    for (const auto &[id, device] : gui.devices)
        count += !device->online;
    return count;
}

// A timer that is due every millisecond sees how long the event loop was busy with other things.
Load measure(Gui &gui, int seconds)
{
    Load load;
    std::vector<double> stalls;
    QElapsedTimer since_last;
    QTimer pulse;
    pulse.setTimerType(Qt::PreciseTimer);
    QObject::connect(&pulse, &QTimer::timeout, &pulse, [&stalls, &since_last] {
        stalls.push_back(static_cast<double>(since_last.nsecsElapsed()) / 1e6);
        since_last.restart();
    });
    QElapsedTimer elapsed;
    elapsed.start();
    since_last.start();
    pulse.start(1);
    const double start = cpu_seconds();
    double memory = 0;
    while (elapsed.elapsed() < seconds * 1000LL) {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents);
        if (memory == 0 && elapsed.elapsed() > seconds * 250LL)
            memory = resident_megabytes();
        load.flickers = std::max(load.flickers, offline_count(gui));
    }
    load.cores = (cpu_seconds() - start) / (static_cast<double>(elapsed.elapsed()) / 1e3);
    load.memory_growth = resident_megabytes() - memory;
    std::sort(stalls.begin(), stalls.end());
    load.longest_stall = stalls.back();
    load.stall_p99 = stalls[stalls.size() * 99 / 100];
    load.online = static_cast<int>(gui.devices.size()) - offline_count(gui);
    return load;
}

void print(const char *name, const Load &load, const char *limit)
{
    std::printf("  %-34s %5.1f %% of a core (%s), stall max %.1f ms (50), p99 %.1f ms (16), memory "
                "%+.1f MB, %d online, at most %d offline at once\n",
                name, load.cores * 100, limit, load.longest_stall, load.stall_p99,
                load.memory_growth, load.online, load.flickers);
    std::fflush(stdout);
}

bool await_fleet(Gui &gui, int count)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!elapsed.hasExpired(60000)) {
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 100);
        if (static_cast<int>(gui.devices.size()) == count && offline_count(gui) == 0)
            return true;
    }
    std::printf("  the fleet did not come online\n");
    return false;
}

void bench_fleet(int count, int seconds)
{
    std::printf("%d devices, 2 reports and 10 metering frames a second, %d s each\n", count,
                seconds);
    SimulatedFleet fleet({"--count", QString::number(count), "--metering-rate", "10"});
    QTemporaryDir folder;
    const std::unique_ptr<Gui> gui = make_bench_window(folder.path());
    gui->show();
    if (!await_fleet(*gui, count))
        return;
    measure(*gui, 2);
    print("nothing visible changes", measure(*gui, seconds), "at most 25 %");
    gui->search_combo->setEditText("stage");
    print("with a search text set", measure(*gui, seconds), "at most 25 %");
    gui->search_combo->setEditText("");
    fleet.ask({{"options", QJsonObject{{"reports_change", 10}}}});
    print("one report in ten changes a cell", measure(*gui, seconds), "at most 40 %");
}

// All at once, at line rate: whatever does not fit the receive buffer is lost.
void bench_burst(int count)
{
    std::printf("%d reports in one burst\n", count);
    SimulatedFleet fleet({"--count", QString::number(count), "--metering-rate", "0", "--burst"});
    QTemporaryDir folder;
    const std::unique_ptr<Gui> gui = make_bench_window(folder.path());
    gui->show();
    if (!await_fleet(*gui, count))
        return;
    gui->discovery_timer.stop();
    QElapsedTimer elapsed;
    elapsed.start();
    while (!elapsed.hasExpired(600))
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    for (const auto &[id, device] : gui->devices)
        device->last_seen = 0;
    gui->send_discovery_packets();
    gui->discovery_timer.stop();
    elapsed.start();
    while (!elapsed.hasExpired(1500))
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    int received = 0;
    for (const auto &[id, device] : gui->devices)
        received += device->last_seen != 0;
    std::printf("  %d of %d received\n", received, count);
}

} // namespace

// fleet_bench [--short] [DEVICES [SECONDS]]
int main(int argc, char **argv)
{
    const bool is_short = argc > 1 && qstrcmp(argv[1], "--short") == 0;
    start_bench_process();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    register_resources();
    build_catalogue();
    const QStringList numbers = QApplication::arguments().mid(is_short ? 2 : 1);
    const int count = numbers.value(0, "1000").toInt();
    bench_fleet(count, numbers.value(1, is_short ? "5" : "60").toInt());
    bench_burst(count);
    return 0;
}
