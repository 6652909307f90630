// The most that the program takes on: devices at their cap, the largest cache, hostile names in it,
// and many log windows at once.
#include "bench_main.h"
#include "fleet_load.h"
#include "gui/device_list_view.h"
#include "meter/log_window.h"

#include <QFileInfo>
#include <QProcess>

namespace {

constexpr int MOST = 8192;

double cpu_milliseconds_since(double start)
{
    return (cpu_seconds() - start) * 1e3;
}

// CPU ms of a window with this folder's cache, until it is painted.
double start_milliseconds(const QString &folder, int *rows = nullptr)
{
    const double start = cpu_seconds();
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder);
    gui->show();
    QApplication::processEvents();
    const double taken = cpu_milliseconds_since(start);
    gui->discovery_timer().stop();
    if (rows)
        *rows = gui->model().rowCount();
    return taken;
}

struct FilledCache
{
    double memory = 0; // MB that the fleet and its cache's text take
    qint64 size = 0;   // bytes of the file
};

// A fleet of `count`, each report with a text of that many letters in a member that nobody knows.
FilledCache fill_cache(const QString &folder, int count, int letters)
{
    const double empty = resident_megabytes();
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder);
    gui->show();
    gui->discovery_timer().stop();
    gui->begin_batch();
    for (int i = 0; i < count; ++i) {
        QJsonObject report = bench_report(i);
        if (letters > 0)
            report.insert("notes", QString(letters, QChar('x')));
        gui->deliver(bench_address(i), bench_datagram(report));
    }
    gui->end_batch();
    QApplication::processEvents();
    gui->cache().save();
    return {resident_megabytes() - empty, QFileInfo(gui->cache().path()).size()};
}

void bench_most_devices(int count)
{
    std::printf("%d devices\n", count);
    const QTemporaryDir folder;
    const auto [memory, size] = fill_cache(folder.path(), count, 0);
    tell("memory with their cache's text", memory, "MB");
    tell("their cache", static_cast<double>(size) / 1e6, "MB");
    int rows = 0;
    at_most("start with them", start_milliseconds(folder.path(), &rows) * 1000 / count,
            "ms for each 1,000", 1000);
    must_hold("all are there", rows == count);
}

// Reports near the largest datagram, until no more fit.
void bench_largest_cache(int count)
{
    std::printf("%d devices with reports of 60 KB\n", count);
    const QTemporaryDir folder;
    const auto [memory, size] = fill_cache(folder.path(), count, 58000);
    at_most_times("memory of each", memory * 1e3 / count, "KB", 60, "its datagram", 5);
    at_most("the cache", static_cast<double>(size) / (1 << 20), "MiB", 128);
    int rows = 0;
    const double start = start_milliseconds(folder.path(), &rows);
    std::printf("  %d of %d devices are in the file\n", rows, count);
    tell("start with it", start, "ms");
    must_hold("most are there", rows * 60000.0 > 0.75 * (128 << 20) || rows == count);
}

// Lists of lists take forty times the memory of their bytes once they are parsed.
void bench_lists_of_lists(int count)
{
    std::printf("%d devices with reports of lists of lists\n", count);
    const QTemporaryDir folder;
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    gui->show();
    gui->discovery_timer().stop();
    const double before = resident_megabytes();
    int size = 0;
    gui->begin_batch();
    for (int i = 0; i < count; ++i) {
        const QByteArray datagram = "{\"product\":\"KESTA\",\"seq\":0,\"device_id\":\"hostile "
            + QByteArray::number(i) + "\",\"dsp\":{\"level\":[" + QByteArray("[1],").repeated(7500)
            + "[1]]},\"streams\":{\"list\":[" + QByteArray("[1],").repeated(7000) + "[1]]}}";
        size = datagram.size();
        gui->deliver(bench_address(i), datagram);
    }
    gui->end_batch();
    must_hold("all are known", static_cast<int>(gui->all_devices().size()) == count);
    const double memory = resident_megabytes() - before;
    tell("memory", memory, "MB");
    at_most_times("memory of each", memory * 1e3 / count, "KB", size / 1e3, "its datagram", 6);
    gui->cache().save();
    tell("the cache", static_cast<double>(QFileInfo(gui->cache().path()).size()) / 1e6, "MB");
}

void write_cache(const QString &folder, const QString &name)
{
    fill_cache(folder, 90, 0);
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder);
    gui->discovery_timer().stop();
    for (int i = 0; i < 90; ++i) {
        QJsonObject report = bench_report(i);
        report.insert("ui", QJsonObject{{"name", name + QString::number(i)}, {"loc", name}});
        gui->deliver(bench_address(i), bench_datagram(report));
    }
    gui->cache().save();
}

void bench_hostile_names()
{
    std::printf("start with names of 58 KB in the cache of 90 devices\n");
    const QTemporaryDir plain;
    const QTemporaryDir hostile;
    const QTemporaryDir wide;
    write_cache(plain.path(), "Loudspeaker");
    write_cache(hostile.path(), QString(14000, QChar(0x301)));
    write_cache(wide.path(), QString(28000, QChar('W')));
    double usual = 1e9;
    double marks = 1e9;
    double letters = 1e9;
    for (int i = 0; i < 5; ++i) {
        usual = std::min(usual, start_milliseconds(plain.path()));
        marks = std::min(marks, start_milliseconds(hostile.path()));
        letters = std::min(letters, start_milliseconds(wide.path()));
    }
    at_most_times("with combining marks", marks, "ms", usual, "one without", 2);
    at_most_times("with wide letters", letters, "ms", usual, "one without", 2);
}

// Opened with one command for all that are selected.
void bench_logs(int count)
{
    std::printf("%d log windows opened at once\n", count);
    const QTemporaryDir folder;
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    gui->show();
    gui->discovery_timer().stop();
    for (int i = 0; i < count; ++i)
        gui->report(bench_address(i), bench_report(i), true, "lo");
    run_for(0.5);
    gui->view()->selectAll();
    const double before = resident_megabytes();
    double longest = 0;
    double start = cpu_seconds();
    gui->enable_logging();
    longest = cpu_milliseconds_since(start);
    int open = 0;
    for (int turn = 0; turn < 100 * count && open < count; ++turn) {
        start = cpu_seconds();
        QApplication::processEvents(QEventLoop::AllEvents | QEventLoop::WaitForMoreEvents);
        longest = std::max(longest, cpu_milliseconds_since(start));
        open = 0;
        for (const auto &[id, device] : gui->all_devices())
            open += gui->log_window(device) != nullptr;
    }
    must_hold("all are open", open == count);
    at_most("the longest turn", longest, "ms", 50);
    tell("memory of each, at once", (resident_megabytes() - before) / count, "MB");
    run_for(3); // what they are painted on is given back
    at_most("memory of each, empty", (resident_megabytes() - before) / count, "MB", 0.5);
}

void bench_part(const QString &part, bool is_short)
{
    if (part == "names")
        bench_hostile_names();
    if (part == "logs")
        bench_logs(is_short ? 60 : 300);
    if (part == "devices")
        bench_most_devices(is_short ? 1000 : MOST);
    if (part == "lists")
        bench_lists_of_lists(is_short ? 200 : MOST);
    if (part == "cache")
        bench_largest_cache(is_short ? 500 : 3000);
}

// In a process of its own: what one part frees the next would take without growing.
void bench_apart(const char *program, const QString &part, bool is_short)
{
    QProcess process;
    process.setProcessChannelMode(QProcess::ForwardedChannels);
    process.start(program, is_short ? QStringList{part, "--short"} : QStringList{part});
    process.waitForFinished(-1);
    bench_misses += process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0;
}

} // namespace

// crowd_bench [--short] [names | logs | devices | lists | cache]
int main(int argc, char **argv)
{
    return bench_main(argc, argv, [argv](bool is_short, const QStringList &arguments) {
        if (!arguments.isEmpty())
            return bench_part(arguments.first(), is_short);
        for (const char *part : {"names", "logs", "devices", "lists", "cache"})
            bench_apart(argv[0], part, is_short);
    });
}
