// A whole fleet is updated at once through the real window, with simulated devices at the other end
// of a cable: first without loss, then with 5 % of datagrams lost in each direction.
// Usage: upload_bench [--short]
#include "bench_main.h"
#include "firmware/tftp_uploader.h"
#include "gui/device_list_view.h"
#include "support/fleet.h"

#include <QElapsedTimer>
#include <QFile>

#include <algorithm>

namespace {

const QString SUCCESS = "Upload succeeded.";
constexpr int LOSS = 5;              // percent, in each direction
constexpr int PATIENCE = 600 * 1000; // ms

struct Load
{
    int devices = 100;
    QByteArray bytes = {};
    QString remote_name = "firmware.bin";
};

struct Outcome
{
    int ended = 0;
    int succeeded = 0;
    double longest_stall = 0; // CPU ms between two turns of a timer of 1 ms
    QStringList failures = {};
};

QByteArray embedded_image()
{
    QFile file(":/firmware.bin");
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no embedded image");
    return file.readAll();
}

QByteArray stored_file(const QJsonValue &device)
{
    const QJsonObject upload = device.toObject().value("uploads").toArray().last().toObject();
    QFile file(upload.value("stored").toString());
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("none");
}

int files_of(const QJsonValue &device)
{
    return device["uploads"].toArray().size();
}

// As many devices as the load says, all of one module type.
QString write_fleet(const QString &folder, const Load &load)
{
    QFile file(folder + "/fleet.json");
    if (!file.open(QIODevice::WriteOnly))
        qFatal("can't write the fleet file");
    const QJsonObject row{{"product", 3}, {"name", "Speaker %1"}, {"count", load.devices}};
    file.write(QJsonDocument(QJsonObject{{"devices", QJsonArray{row}}}).toJson());
    return file.fileName();
}

template<typename Condition>
void run_until(const char *what, Condition condition)
{
    QTimer pulse;
    pulse.start(20);
    QElapsedTimer elapsed;
    elapsed.start();
    while (!condition()) {
        if (elapsed.hasExpired(PATIENCE))
            qFatal("waited too long: %s", what);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
}

bool are_all_online(const WindowHandle &gui, int count)
{
    return std::count_if(gui.all_devices().begin(), gui.all_devices().end(),
                         [](const auto &entry) { return entry.second->online; })
        == count;
}

// Every upload so far has been followed by a restart.
bool are_all_restarted(SimulatedFleet &fleet)
{
    const QJsonArray stats = fleet.stats();
    return std::all_of(stats.begin(), stats.end(), [](const QJsonValue &device) {
        return device["reachable"].toBool() && device["reboots"].toInt() >= files_of(device);
    });
}

void follow(QTFTPFileUploader *uploader, Outcome &outcome)
{
    QObject::connect(uploader, &QTFTPFileUploader::done, uploader, [uploader, &outcome] {
        ++outcome.ended;
        outcome.succeeded += uploader->status() == SUCCESS;
        if (uploader->status() != SUCCESS)
            outcome.failures.append(
                QString("%1 at %2%").arg(uploader->status()).arg(uploader->percent()));
    });
}

void start_all(WindowHandle &gui, const Load &load, Outcome &outcome)
{
    QByteArray bytes = load.bytes;
    for (Device *device : gui.selected_devices()) {
        gui.upload(device, bytes, load.remote_name);
        if (device->upload)
            follow(gui.transfer(device), outcome);
        else
            outcome.failures.append(device->upload_error);
    }
}

void update_all(WindowHandle &gui, SimulatedFleet &fleet, const Load &load, const char *title)
{
    const int files = files_of(fleet.stats().first());
    gui.view()->selectAll(); // as an operator has done before
    QCoreApplication::processEvents();
    Outcome outcome;
    QElapsedTimer wall;
    wall.start();
    const double cpu = cpu_seconds();
    double last_turn = cpu;
    QTimer turns;
    turns.setTimerType(Qt::PreciseTimer);
    QObject::connect(&turns, &QTimer::timeout, &turns, [&last_turn, &outcome] {
        const double now = cpu_seconds();
        outcome.longest_stall = std::max(outcome.longest_stall, (now - last_turn) * 1e3);
        last_turn = now;
    });
    turns.start(1);
    start_all(gui, load, outcome);
    const double start_took = (cpu_seconds() - cpu) * 1e3;
    run_until(title, [&outcome, &load] { return outcome.ended >= load.devices; });
    const double seconds = static_cast<double>(wall.nsecsElapsed()) / 1e9;
    const double cpu_used = cpu_seconds() - cpu;
    turns.stop();

    int identical = 0;
    for (const QJsonValue &device : fleet.stats())
        identical += files_of(device) > files && stored_file(device) == load.bytes;
    std::printf("%s: %d devices, %d bytes each\n", title, load.devices, load.bytes.size());
    must_hold("all end with \"Upload succeeded.\"", outcome.succeeded == load.devices);
    must_hold("all files are byte-identical", identical == load.devices);
    for (const QString &failure : outcome.failures)
        std::printf("  failed: %s\n", qPrintable(failure));
    const double blocks = load.devices * (load.bytes.size() / 512.0 + 1);
    std::printf("  %.1f s, %.0f blocks/s\n", seconds, blocks / seconds);
    at_most("CPU seconds per second", cpu_used / seconds, "", 1);
    at_most("longest stall, of CPU time", outcome.longest_stall, "ms", 50);
    tell("the start", start_took, "ms");
    tell("CPU time of a block, with its row in the list", cpu_used * 1e6 / blocks, "us");
}

void bench_uploads(bool is_short)
{
    Load load{.bytes = embedded_image()};
    if (is_short)
        load = {.devices = 10, .bytes = load.bytes.left(30'000), .remote_name = "lpi.bin"};
    QTemporaryDir folder;
    SimulatedFleet fleet(
        {"--fleet", write_fleet(folder.path(), load), "--store", folder.path() + "/files"});
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    gui->show();

    run_until("start", [&gui, &load] { return are_all_online(*gui, load.devices); });
    update_all(*gui, fleet, load, "without loss");
    run_until("restart", [&fleet] { return are_all_restarted(fleet); });
    run_until("return", [&gui, &load] { return are_all_online(*gui, load.devices); });
    fleet.fault("all", "loss", {{"percent", LOSS}, {"direction", "both"}});
    update_all(*gui, fleet, load, "5 % lost in each direction");
}

} // namespace

int main(int argc, char **argv)
{
    return bench_main(argc, argv,
                      [](bool is_short, const QStringList &) { bench_uploads(is_short); });
}
