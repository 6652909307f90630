// What befalls a laptop: no network, a network that comes late, sleep, a second copy of the
// program, a port that somebody else holds. The manager runs as a process of its own here and comes
// back by itself each time. A cable that is pulled and networks that come and go:
// fleet_networks_test; a clock that is set: fleet_clock_test.
#include "support/fleet.h"
#include "support/manager_process.h"
#include "support/socket_address.h"

#include <QElapsedTimer>

#include <arpa/inet.h>
#include <sys/socket.h>

namespace {

constexpr int DEVICES = 24;
constexpr int ROUNDS_OF_SILENCE = 6; // more than a device may miss without being offline

// Seconds that a test takes from the environment, so that it can be run at full length.
int seconds_from(const char *variable, int otherwise)
{
    const int seconds = qEnvironmentVariableIntValue(variable);
    return seconds > 0 ? seconds : otherwise;
}

// A socket of another program that holds the port for itself alone.
class TakenPort
{
public:
    explicit TakenPort(quint16 port)
        : handle(socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0))
    {
        const sockaddr_in address = socket_address(INADDR_ANY, port);
        if (bind(handle, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
            qFatal("can't take port %d", port);
    }
    ~TakenPort() { close(handle); }
    Q_DISABLE_COPY_MOVE(TakenPort)

private:
    int handle;
};

} // namespace

class FleetRecoveryTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> folder;

    QString settings() const { return folder->path(); }

    // Rounds of discovery that found no network, each of which leaves a line in the debug log.
    static int vain_rounds(const ManagerProcess &manager)
    {
        return manager.log.count("can't send to unknown network");
    }

    static bool all_online(const ManagerProcess &manager)
    {
        return manager.count("Online") == DEVICES && manager.count("Offline") == 0;
    }

    // What the manager has shown since then, at any moment.
    static bool has_shown(const ManagerProcess &manager, int since, const QString &status)
    {
        for (int i = since; i < manager.states.size(); ++i)
            if (manager.states.at(i).value(status).toInt() > 0)
                return true;
        return false;
    }

    // Runs until all devices were asked so many times more.
    static bool rounds_pass(SimulatedFleet &fleet, int rounds)
    {
        const int wanted = fleet.rounds_heard() + rounds;
        return QTest::qWaitFor([&fleet, wanted] { return fleet.rounds_heard() >= wanted; }, 20000);
    }

    static bool has_asked(const ManagerProcess &manager)
    {
        for (const QJsonObject &state : manager.states)
            if (state.value("asks").toBool())
                return true;
        return false;
    }

private slots:
    void init() { folder = std::make_unique<QTemporaryDir>(); }

    void without_a_network_all_else_works_data()
    {
        QTest::addColumn<QStringList>("launcher");
        QTest::newRow("the loopback alone") << QStringList();
        QTest::newRow("not even the loopback is up") << QStringList{"unshare", "--net", "--"};
    }
    void without_a_network_all_else_works()
    {
        QFETCH(QStringList, launcher);
        ManagerProcess manager(settings(), launcher);
        QTRY_VERIFY_WITH_TIMEOUT(vain_rounds(manager) >= 3, 20000);
        QCOMPARE(manager.state().value("network").toString(), QString());
        manager.order("Add dummy device");
        QTRY_COMPARE_WITH_TIMEOUT(manager.count("Offline"), 1, 5000);
        const int rounds = vain_rounds(manager);
        QTRY_VERIFY_WITH_TIMEOUT(vain_rounds(manager) > rounds, 5000);
        QVERIFY(!has_asked(manager));
        QCOMPARE(manager.close(), 0);

        ManagerProcess next(settings(), launcher);
        QTRY_COMPARE_WITH_TIMEOUT(next.count("Offline"), 1, 20000);
        QCOMPARE(next.close(), 0);
    }

    // RECOVERY_LATE_SECONDS says how much later the network comes.
    void a_network_that_comes_late_is_found_data()
    {
        QTest::addColumn<bool>("has_cable");
        QTest::newRow("the cable is plugged in late") << false;
        QTest::newRow("the address is given late") << true;
    }
    void a_network_that_comes_late_is_found()
    {
        QFETCH(bool, has_cable);
        std::unique_ptr<SimulatedFleet> fleet;
        const QStringList options{"--count", QString::number(DEVICES)};
        if (has_cable) {
            fleet = std::make_unique<SimulatedFleet>(options);
            shell("ip address flush dev loudspeakers");
        }
        ManagerProcess manager(settings());
        const int late = seconds_from("RECOVERY_LATE_SECONDS", 1);
        QTRY_VERIFY_WITH_TIMEOUT(vain_rounds(manager) >= 2 * late, 20000 + late * 1000);
        QCOMPARE(manager.state().value("network").toString(), QString());
        if (has_cable)
            shell("ip address add 10.71.0.1/16 broadcast + dev loudspeakers");
        else
            fleet = std::make_unique<SimulatedFleet>(options);
        QTRY_VERIFY_WITH_TIMEOUT(all_online(manager), 5000);
        QCOMPARE(manager.state().value("network").toString(), QString("loudspeakers"));
        QVERIFY(!has_asked(manager));
        QCOMPARE(manager.close(), 0);
    }

    void an_address_that_goes_and_comes_back_as_another_is_followed()
    {
        SimulatedFleet fleet({"--count", QString::number(DEVICES)});
        ManagerProcess manager(settings());
        QTRY_VERIFY_WITH_TIMEOUT(all_online(manager), 20000);
        shell("ip address flush dev loudspeakers");
        QTRY_COMPARE_WITH_TIMEOUT(manager.count("Offline"), DEVICES, 5000);
        shell("ip address add 10.71.200.7/16 broadcast + dev loudspeakers");
        QTRY_VERIFY_WITH_TIMEOUT(all_online(manager), 5000);
        QVERIFY(!has_asked(manager));
        QCOMPARE(manager.close(), 0);
    }

    // To the program, sleep is a gap in time. RECOVERY_STOP_SECONDS says how long it lasts; less
    // than three would not outlast the silence that makes a device offline.
    void a_program_that_slept_shows_all_online_again()
    {
        SimulatedFleet fleet({"--count", QString::number(DEVICES)});
        ManagerProcess manager(settings());
        QTRY_VERIFY_WITH_TIMEOUT(all_online(manager), 20000);
        const int seen = manager.states.size();
        const int logged = manager.log.size();

        kill(static_cast<pid_t>(manager.process_id()), SIGSTOP);
        // The gap itself: the clock of the stopped process can't be moved.
        QTest::qWait(seconds_from("RECOVERY_STOP_SECONDS", 3) * 1000);
        QCOMPARE(manager.states.size(), seen);
        kill(static_cast<pid_t>(manager.process_id()), SIGCONT);

        // What it shows first may be old. Two seconds later it must be right, and stay so for
        // longer than a device may be silent.
        QElapsedTimer since;
        since.start();
        QTRY_VERIFY_WITH_TIMEOUT(since.elapsed() > 500 && all_online(manager), 3000);
        qInfo("all online again %lld ms after the wake-up; %s", since.elapsed(),
              has_shown(manager, seen, "Offline") ? "offline for a moment" : "never offline");
        const int settled = manager.states.size();
        QVERIFY(rounds_pass(fleet, ROUNDS_OF_SILENCE));
        QVERIFY(all_online(manager));
        QVERIFY(!has_shown(manager, settled, "Offline"));
        QVERIFY(!has_shown(manager, seen, "Broken net"));
        QVERIFY(!has_asked(manager));
        QCOMPARE(manager.log.mid(logged), QByteArray());
        QCOMPARE(manager.close(), 0);
    }

    void the_copy_started_last_hears_the_devices_until_it_closes()
    {
        SimulatedFleet fleet({"--count", QString::number(DEVICES)});
        ManagerProcess first(settings());
        QTRY_VERIFY_WITH_TIMEOUT(all_online(first), 20000);
        const QTemporaryDir other_settings;
        ManagerProcess last(other_settings.path());
        QTRY_VERIFY_WITH_TIMEOUT(all_online(last), 20000);
        QTRY_COMPARE_WITH_TIMEOUT(first.count("Offline"), DEVICES, 5000);
        QVERIFY(rounds_pass(fleet, 2 * 2)); // of both
        QVERIFY(all_online(last));
        QCOMPARE(first.count("Offline"), DEVICES);

        QCOMPARE(last.close(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(all_online(first), 3000);
        QVERIFY(!has_asked(first));
        QCOMPARE(first.close(), 0);
    }

    void the_copy_started_last_goes_on_when_the_first_closes()
    {
        SimulatedFleet fleet({"--count", QString::number(DEVICES)});
        ManagerProcess first(settings());
        QTRY_VERIFY_WITH_TIMEOUT(all_online(first), 20000);
        const QTemporaryDir other_settings;
        ManagerProcess last(other_settings.path());
        QTRY_VERIFY_WITH_TIMEOUT(all_online(last), 20000);
        const int seen = last.states.size();
        QCOMPARE(first.close(), 0);
        QVERIFY(rounds_pass(fleet, ROUNDS_OF_SILENCE));
        QVERIFY(all_online(last));
        QVERIFY(!has_shown(last, seen, "Offline"));
        QCOMPARE(last.close(), 0);
    }

    void a_port_that_another_program_holds_is_named_in_the_debug_log_data()
    {
        QTest::addColumn<int>("port");
        QTest::addColumn<int>("heard"); // devices that come online all the same
        QTest::newRow("the devices' port") << 7054 << 0;
        QTest::newRow("the second port") << 7055 << DEVICES;
    }
    void a_port_that_another_program_holds_is_named_in_the_debug_log()
    {
        QFETCH(int, port);
        QFETCH(int, heard);
        SimulatedFleet fleet({"--count", QString::number(DEVICES)});
        const QByteArray line = "can't bind UDP port " + QByteArray::number(port)
            + " - The bound address is already in use";
        {
            const TakenPort taken(static_cast<quint16>(port));
            ManagerProcess manager(settings());
            QTRY_VERIFY_WITH_TIMEOUT(manager.log.contains(line), 20000);
            QTRY_COMPARE_WITH_TIMEOUT(manager.state().value("network").toString(),
                                      QString("loudspeakers"), 5000);
            QTRY_COMPARE_WITH_TIMEOUT(manager.count("Online"), heard, 5000);
            QVERIFY(rounds_pass(fleet, 2));
            QCOMPARE(manager.count("Online"), heard);
            QVERIFY(manager.is_running());
            QVERIFY(!has_asked(manager));
            QCOMPARE(manager.close(), 0);
        }
        ManagerProcess next(settings());
        QTRY_VERIFY_WITH_TIMEOUT(all_online(next), 20000);
        QVERIFY(!next.log.contains("can't bind"));
        QCOMPARE(next.close(), 0);
    }
};

int main(int argc, char **argv)
{
    if (argc == 3 && qstrcmp(argv[1], "--manager") == 0)
        return run_manager_process(argc, argv, argv[2]);
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    QCoreApplication application(argc, argv);
    FleetRecoveryTest test;
    return QTest::qExec(&test, argc, argv);
}
#include "fleet_recovery_test.moc"
