// How long floods of datagrams hold the window up: the CPU time of its longest turn under each.
#include "bench_main.h"
#include "fleet_load.h"
#include "gui/device_list_view.h"
#include "link/datagram.h"

#include <QElapsedTimer>
#include <QTimer>
#include <QUdpSocket>

#include <csignal>
#include <functional>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr double LONGEST_TURN = 50; // ms of CPU time, with its painting
constexpr int SENDERS = 32;

QHostAddress sender_address(int number)
{
    return QHostAddress((127U << 24) + (1U << 16) + 1 + static_cast<quint32>(number % SENDERS));
}

QByteArray framed(const QJsonObject &object)
{
    const QByteArray json = QJsonDocument(object).toJson(QJsonDocument::Compact) + '\n';
    const uint32_t sum = crc32(0, reinterpret_cast<const uint8_t *>(json.constData()),
                               static_cast<size_t>(json.size()));
    return json + "\n//#" + QByteArray::number(sum, 16).rightJustified(8, '0');
}

// 60 KB: as many sessions as a device may tell of, other ones each time.
QByteArray session_report(int number)
{
    QJsonArray sessions;
    for (int i = 0; i < 1024; ++i)
        sessions.append(QJsonObject{{"n", QString("Console %1 mix %2").arg(number).arg(i)},
                                    {"i", QString("L24, card %1").arg(i)},
                                    {"c", 8}});
    QJsonObject report = bench_report(number % SENDERS);
    report.insert("streams", QJsonObject{{"list", sessions}});
    return framed(report);
}

QByteArray metering_of_many_peaks(int number)
{
    QJsonArray peaks;
    for (int i = 0; i < 20000; ++i)
        peaks.append((number + i) % 70);
    return framed({{"command", "broadcast_info"},
                   {"device_id", bench_report(number % SENDERS).value("device_id")},
                   {"metering", QJsonObject{{"channel_peaks", peaks}}}});
}

QByteArray small_report(int number)
{
    return framed({{"product", "KESTA"},
                   {"seq", 0},
                   {"device_id", bench_report(number % SENDERS).value("device_id")},
                   {"product_id", 11 + number % 10},
                   {"ui", QJsonObject{{"name", QString("Loudspeaker %1").arg(number)}}},
                   {"rtp", QJsonObject{{"lock", number % 4}}}});
}

// Marks that the text engine stacks upon one letter.
QByteArray long_name(int number)
{
    QJsonObject report = bench_report(number % SENDERS);
    report.insert("ui",
                  QJsonObject{{"name", QString(29000, QChar(0x301)) + QString::number(number)}});
    return framed(report);
}

struct Flood
{
    const char *what = "";
    std::function<QByteArray(int number)> datagram = {};
    int per_second = 0; // 0: as many as the loopback carries
    int variants = 64;
    bool is_selected = false; // the devices are in the panel as well
};

const Flood FLOODS[] = {
    {.what = "60 KB reports of 1,024 sessions, at line rate", .datagram = session_report},
    {.what = "the same, of selected devices", .datagram = session_report, .is_selected = true},
    {.what = "frames of 20,000 peaks, 500 a second",
     .datagram = metering_of_many_peaks,
     .per_second = 500},
    {.what = "small changing reports, 20,000 a second",
     .datagram = small_report,
     .per_second = 20000,
     .variants = 4096},
    {.what = "the same, of selected devices",
     .datagram = small_report,
     .per_second = 20000,
     .variants = 4096,
     .is_selected = true},
    {.what = "names of 58 KB, 2 a second", .datagram = long_name, .per_second = 2, .variants = 8},
};

// Sends until it is killed.
[[noreturn]] void send_flood(const std::vector<QByteArray> &datagrams, int per_second)
{
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    std::vector<std::unique_ptr<QUdpSocket>> sockets;
    for (int i = 0; i < SENDERS; ++i) {
        sockets.push_back(std::make_unique<QUdpSocket>());
        sockets.back()->bind(sender_address(i));
    }
    QElapsedTimer elapsed;
    elapsed.start();
    for (qint64 sent = 0;; ++sent) {
        while (per_second > 0 && sent > elapsed.elapsed() * per_second / 1000)
            usleep(1000);
        const auto number = static_cast<size_t>(sent) % datagrams.size();
        sockets[number % SENDERS]->writeDatagram(datagrams[number], QHostAddress::LocalHost,
                                                 DEVICE_PORT);
    }
}

double thread_milliseconds()
{
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) * 1e3 + static_cast<double>(now.tv_nsec) * 1e-6;
}

// CPU ms of each turn of the event loop, with all that it paints.
std::vector<double> turns_of(int milliseconds)
{
    std::vector<double> turns;
    double last = thread_milliseconds();
    QTimer pulse;
    QObject::connect(&pulse, &QTimer::timeout, &pulse, [&turns, &last] {
        const double now = thread_milliseconds();
        turns.push_back(now - last);
        last = now;
    });
    pulse.start(0);
    QEventLoop loop;
    QTimer::singleShot(milliseconds, &loop, &QEventLoop::quit);
    loop.exec();
    std::sort(turns.begin(), turns.end());
    return turns;
}

void bench_flood(const Flood &flood, int milliseconds)
{
    const QTemporaryDir folder;
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    gui->show();
    for (int i = 0; i < SENDERS; ++i)
        gui->report(sender_address(i), bench_report(i), true, gui->network());
    if (flood.is_selected)
        gui->view()->selectAll();
    std::vector<QByteArray> datagrams;
    for (int i = 0; i < flood.variants; ++i)
        datagrams.push_back(flood.datagram(i));
    turns_of(300);
    const double before = received_datagrams();
    const pid_t sender = fork();
    if (sender == 0)
        send_flood(datagrams, flood.per_second);
    const std::vector<double> turns = turns_of(milliseconds);
    const double taken = received_datagrams() - before;
    kill(sender, SIGKILL);
    waitpid(sender, nullptr, 0);
    must_hold("the flood arrives", taken > 1 && !turns.empty());
    if (turns.empty())
        return;
    char beside[96];
    std::snprintf(beside, sizeof beside, " (of %zu turns; %.0f datagrams taken in %g s)",
                  turns.size(), taken, milliseconds / 1e3);
    at_most(flood.what, turns.back(), "ms", LONGEST_TURN, beside);
}

} // namespace

int main(int argc, char **argv)
{
    return bench_main(argc, argv, [](bool is_short, const QStringList &arguments) {
        std::printf("the longest turn of the window, in CPU time, under a flood\n");
        for (const Flood &flood : FLOODS)
            if (arguments.isEmpty() || QString(flood.what).contains(arguments.front()))
                bench_flood(flood, is_short ? 800 : 8000);
    });
}
