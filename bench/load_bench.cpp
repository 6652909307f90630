// One row of the table in docs/performance.md: what the manager makes of a fleet's datagrams,
// beside a bare loop that receives, sums and parses the same and does nothing with them.
#include "bench_main.h"
#include "fleet_load.h"
#include "link/command.h"
#include "link/datagram.h"
#include "support/fleet.h"

#include <QProcess>

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr int DISCOVERY_INTERVAL = 500; // ms, as the manager's
constexpr int RECEIVE_BUFFER = 4 << 20; // as the manager's
constexpr size_t LARGEST_DATAGRAM = 65536;
constexpr int MOST_NEIGHBOURS = 900; // the kernel knows about a thousand, unless told otherwise
constexpr double SENT = 12;          // datagrams of a device in a second: two reports, ten frames
constexpr int WATCH_INTERVAL = 250;  // ms: less than a device stays offline once it is

struct Row
{
    int devices = 0;
    double heard = 0; // datagrams per second
    double floor = 0; // CPU ms per second
    double heard_floor = 0;
    double manager = 0;  // CPU ms per second
    double changing = 0; // the same when one report in ten changes a visible cell
    Stalls stalls = {};
    int offline_unchanged = 0; // devices at once, before the first report changes
    int offline = 0;           // devices at once, from there on
    double start = 0;          // CPU ms of a whole process, with all devices in the cache
    double closing = 0;        // CPU ms, of the same process
    double memory = 0;         // MB
    double empty_memory = 0;
};

// Beyond the neighbours that the kernel remembers, everything goes by way of the first device.
void route_by_the_first_device()
{
    shell("ip address del 10.71.0.1/16 dev loudspeakers;"
          "ip address add 10.71.0.1/16 broadcast + noprefixroute dev loudspeakers;"
          "ip route add 10.71.0.10 dev loudspeakers;"
          "ip route add 10.71.0.0/16 via 10.71.0.10 dev loudspeakers");
}

sockaddr_in socket_address(const char *text)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(DEVICE_PORT);
    inet_pton(AF_INET, text, &address.sin_addr);
    return address;
}

// Whether the bytes are what a device sends: a fair checksum and an object.
bool is_sound(const char *bytes, ssize_t received)
{
    constexpr ssize_t TRAILER = 12;
    if (received < TRAILER)
        return false;
    const auto size = static_cast<size_t>(received - TRAILER);
    const uint32_t sum = crc32(0, reinterpret_cast<const uint8_t *>(bytes), size);
    const QByteArray digits(bytes + received - 8, 8);
    const QByteArray json = QByteArray::fromRawData(bytes, static_cast<int>(size));
    return sum == digits.toUInt(nullptr, 16) && QJsonDocument::fromJson(json).isObject();
}

// Receives, sums and parses, and does nothing else. Asks as the manager asks, so that the fleet
// sends the same.
class Floor
{
public:
    Floor()
        : handle(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0))
        , bytes(LARGEST_DATAGRAM)
    {
        const int yes = 1;
        setsockopt(handle, SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes);
        setsockopt(handle, SOL_SOCKET, SO_RCVBUF, &RECEIVE_BUFFER, sizeof RECEIVE_BUFFER);
        const sockaddr_in own = socket_address("10.71.0.1");
        if (bind(handle, reinterpret_cast<const sockaddr *>(&own), sizeof own) != 0)
            qFatal("can't bind the floor's socket");
    }
    ~Floor() { close(handle); }
    Q_DISABLE_COPY_MOVE(Floor)

    // Sound datagrams of that time.
    int listen_for(int milliseconds)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        int sound = 0;
        while (!elapsed.hasExpired(milliseconds)) {
            ask_when_due();
            pollfd wait{.fd = handle, .events = POLLIN, .revents = 0};
            poll(&wait, 1, 20);
            ssize_t size = 0;
            while ((size = recv(handle, bytes.data(), bytes.size(), 0)) >= 0)
                sound += is_sound(bytes.data(), size);
        }
        return sound;
    }

private:
    void ask_when_due()
    {
        if (since_request.isValid() && !since_request.hasExpired(DISCOVERY_INTERVAL))
            return;
        since_request.start();
        const sockaddr_in everybody = socket_address("10.71.255.255");
        sendto(handle, request.constData(), static_cast<size_t>(request.size()), 0,
               reinterpret_cast<const sockaddr *>(&everybody), sizeof everybody);
    }

    int handle;
    std::vector<char> bytes;
    QByteArray request = write_frame(discovery_request());
    QElapsedTimer since_request = {};
};

void run_floor(int seconds, Row &row)
{
    Floor floor;
    floor.listen_for(2000); // metering begins with the first request
    const double start = cpu_seconds();
    row.heard_floor = floor.listen_for(seconds * 1000) / static_cast<double>(seconds);
    row.floor = (cpu_seconds() - start) * 1e3 / seconds;
}

// The most devices that are offline at once while `work` runs.
template<typename Work>
int most_offline(const WindowHandle &gui, Work work)
{
    int most = 0;
    const auto look = [&gui, &most] { most = std::max(most, offline_count(gui)); };
    QTimer watch;
    QObject::connect(&watch, &QTimer::timeout, &watch, look);
    watch.start(WATCH_INTERVAL);
    work();
    look();
    return most;
}

void run_manager(SimulatedFleet &fleet, const QString &folder, int seconds, Row &row)
{
    std::unique_ptr<WindowHandle> gui = make_bench_window(folder);
    gui->show();
    row.empty_memory = resident_megabytes();
    if (!await_fleet(*gui, row.devices)) {
        row.manager = cpu_while_running(seconds);
        return;
    }
    run_for(3); // columns find their widths, the cache is written
    row.offline_unchanged = most_offline(*gui, [&row, seconds] {
        const double before = received_datagrams();
        row.manager = cpu_while_running(seconds);
        row.heard = (received_datagrams() - before) / seconds;
        row.stalls = stalls_while_running(seconds);
    });
    row.memory = resident_megabytes();
    fleet.ask({{"options", QJsonObject{{"reports_change", 10}}}});
    row.offline = most_offline(*gui, [&row, seconds] {
        run_for(1);
        row.changing = cpu_while_running(seconds);
    });
    gui->close();
}

// In processes of their own, as the program starts: nothing is warm. The medians of three.
void measure_start_and_close(const char *program, const QString &folder, Row &row)
{
    std::vector<double> starts;
    std::vector<double> closings;
    for (int run = 0; run < 3; ++run) {
        QProcess process;
        process.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process.start(program, {"--start", folder});
        process.waitForFinished(120000);
        const QList<QByteArray> told = process.readAllStandardOutput().split(' ');
        starts.push_back(told.value(0).toDouble());
        closings.push_back(told.value(1).toDouble());
    }
    std::sort(starts.begin(), starts.end());
    std::sort(closings.begin(), closings.end());
    row.start = starts[1];
    row.closing = closings[1];
}

void start_and_close(const QString &folder)
{
    std::unique_ptr<WindowHandle> gui = make_bench_window(folder);
    gui->show();
    QApplication::processEvents();
    const double started = cpu_seconds();
    gui->close();
    gui.reset();
    std::printf("%.1f %.1f", started * 1e3, (cpu_seconds() - started) * 1e3);
}

// For a profiler: the window with the fleet, and nothing else.
void run_manager_alone(int devices, int seconds, bool changing)
{
    const QTemporaryDir folder;
    SimulatedFleet fleet({"--count", QString::number(devices)});
    if (devices > MOST_NEIGHBOURS)
        route_by_the_first_device();
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    gui->show();
    if (!await_fleet(*gui, devices))
        std::printf("not all devices are known and online\n");
    if (changing)
        fleet.ask({{"options", QJsonObject{{"reports_change", 10}}}});
    run_for(seconds);
    std::fflush(stdout);
    _exit(0);
}

void print_heading()
{
    std::printf("| Devices | Datagrams/s | Floor, ms/s | Manager, ms/s | Ratio | Changing, ms/s | "
                "Longest stall, ms | p99, ms | Start, ms | Close, ms | Memory, MB | Offline |\n"
                "|---|---|---|---|---|---|---|---|---|---|---|---|\n");
}

void print_row(const Row &row)
{
    if (row.heard <= 0) {
        std::printf("| %d | more than this machine can hear now |\n", row.devices);
        return;
    }
    std::printf(
        "| %d | %.0f | %.0f | %.0f | %.2f | %.0f | %.1f | %.1f | %.0f | %.0f | %.0f | %d |\n",
        row.devices, row.heard, row.floor, row.manager,
        row.manager / row.floor * row.heard_floor / row.heard, row.changing, row.stalls.longest,
        row.stalls.p99, row.start, row.closing, row.memory - row.empty_memory, row.offline);
    std::fflush(stdout);
}

Row measure_row(int devices, int seconds, const char *program)
{
    Row row{.devices = devices};
    const QTemporaryDir folder;
    {
        SimulatedFleet fleet({"--count", QString::number(devices)});
        if (devices > MOST_NEIGHBOURS)
            route_by_the_first_device();
        run_floor(seconds, row);
        run_manager(fleet, folder.path(), seconds, row);
    }
    measure_start_and_close(program, folder.path(), row);
    print_row(row);
    return row;
}

// A manager that hears fewer datagrams than the floor would look cheap: the ratio is per datagram.
void judge_row(const Row &row)
{
    must_hold("all devices found", row.heard > 0);
    if (row.heard <= 0) {
        tell("the manager's share of a core when it gave up waiting", row.manager / 10, "%");
        tell("sound datagrams that the floor heard", row.heard_floor, "a second");
        tell("the floor's share of a core", row.floor / 10, "%");
        return;
    }
    // One in a hundred is left to the first and the last second.
    at_least("datagrams heard of each device, of 12 sent", row.heard / row.devices, "a second",
             0.99 * SENT);
    at_most("the manager's share of a core", row.manager / 10, "%", 90);
    at_most("its share while one report in ten changes a cell", row.changing / 10, "%", 90);
    at_most_times("the manager, per datagram", row.manager / row.heard, "ms",
                  row.floor / row.heard_floor, "receive, checksum and parse",
                  row.devices < 1000 ? 2 : 1.3);
    at_most("longest stall", row.stalls.longest, "ms", 50);
    at_most("devices offline at once while nothing changes but levels", row.offline_unchanged, "",
            0);
    at_most("devices offline at once while one report in ten changes a cell", row.offline, "", 0);
}

} // namespace

// load_bench [--short]: 1,000 devices, in short 100
// load_bench DEVICES SECONDS [--no-heading | --manager-alone | --changing-alone]
int main(int argc, char **argv)
{
    return bench_main(argc, argv, [argv](bool is_short, const QStringList &arguments) {
        if (arguments.value(0) == "--start")
            return start_and_close(arguments.value(1));
        const int devices = arguments.value(0, is_short ? "100" : "1000").toInt();
        const int seconds = arguments.value(1, is_short ? "3" : "8").toInt();
        const bool changing_alone = arguments.contains("--changing-alone");
        if (changing_alone || arguments.contains("--manager-alone"))
            run_manager_alone(devices, seconds, changing_alone);
        if (!arguments.contains("--no-heading"))
            print_heading();
        judge_row(measure_row(devices, seconds, argv[0]));
    });
}
