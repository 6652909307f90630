// The manager with a simulated fleet that answers every request and meters ten times a second:
// share of a core, longest stall of the event loop, memory, and devices that flicker.
#include "bench_main.h"
#include "fleet_load.h"
#include "support/fleet.h"

#include <QComboBox>
#include <QElapsedTimer>

#include <algorithm>

namespace {

struct Load
{
    double cores = 0; // CPU seconds per second
    Stalls stalls = {};
    double memory_growth = 0; // MB
    int flickers = 0;         // devices offline at once, at most
    int online = 0;
};

// First how much it computes, unwatched; then how long it is deaf to its operator.
Load measure(WindowHandle &gui, int seconds)
{
    Load load;
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &gui.widget(), [&gui, &load] {
        load.flickers = std::max(load.flickers, offline_count(gui));
    });
    watch.start(100);
    load.cores = cpu_while_running(seconds / 2.0) / 1e3;
    const double memory = resident_megabytes();
    load.stalls = stalls_while_running(seconds / 2.0);
    load.memory_growth = resident_megabytes() - memory;
    load.online = static_cast<int>(gui.all_devices().size()) - offline_count(gui);
    return load;
}

void print(const char *name, const Load &load, double most_percent)
{
    std::printf("%s, %d online\n", name, load.online);
    at_most("share of a core", load.cores * 100, "%", most_percent);
    at_most("longest stall", load.stalls.longest, "ms", 50);
    at_most("p99 of stalls", load.stalls.p99, "ms", 16);
    at_most("devices offline at once", load.flickers, "", 0);
    at_most("memory grown by", load.memory_growth, "MB", 2);
}

void bench_fleet(int count, int seconds)
{
    std::printf("%d devices, 2 reports and 10 metering frames a second, %d s each\n", count,
                seconds);
    SimulatedFleet fleet({"--count", QString::number(count), "--metering-rate", "10"});
    QTemporaryDir folder;
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    gui->show();
    if (!await_fleet(*gui, count))
        return must_hold("all devices found", false);
    measure(*gui, 2);
    print("nothing visible changes", measure(*gui, seconds), 25);
    gui->search_box()->setEditText("stage");
    print("with a search text set", measure(*gui, seconds), 25);
    gui->search_box()->setEditText("");
    fleet.ask({{"options", QJsonObject{{"reports_change", 10}}}});
    print("one report in ten changes a cell", measure(*gui, seconds), 40);
}

// All at once, at line rate: whatever does not fit the receive buffer is lost.
void bench_burst(int count)
{
    std::printf("%d reports in one burst\n", count);
    SimulatedFleet fleet({"--count", QString::number(count), "--metering-rate", "0", "--burst"});
    QTemporaryDir folder;
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    gui->show();
    if (!await_fleet(*gui, count))
        return must_hold("all devices found", false);
    gui->discovery_timer().stop();
    QElapsedTimer elapsed;
    elapsed.start();
    while (!elapsed.hasExpired(600))
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    for (const auto &[id, device] : gui->all_devices())
        device->last_seen = 0;
    gui->discover();
    gui->discovery_timer().stop();
    elapsed.start();
    while (!elapsed.hasExpired(1500))
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    int received = 0;
    for (const auto &[id, device] : gui->all_devices())
        received += device->last_seen != 0;
    at_least("reports received of one burst", received, "", count);
}

} // namespace

// fleet_bench [--short] [DEVICES [SECONDS]]
int main(int argc, char **argv)
{
    return bench_main(argc, argv, [](bool is_short, const QStringList &numbers) {
        const int count = numbers.value(0, "1000").toInt();
        bench_fleet(count, numbers.value(1, is_short ? "5" : "60").toInt());
        bench_burst(count);
    });
}
