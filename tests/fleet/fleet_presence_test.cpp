// The real window against simulated loudspeakers: found, lost, back, and deaf to commands.
#include "gui/device_list_view.h"
#include "support/fleet.h"
#include "support/window_main.h"

#include <QComboBox>

namespace {

int online_count(const WindowHandle &gui)
{
    int count = 0;
    for (const auto &[id, device] : gui.all_devices())
        count += device->online;
    return count;
}

} // namespace

class FleetPresenceTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<WindowCase> window;

    WindowHandle &gui() { return *window->gui; }

    Device *device_at(int index)
    {
        const QString id = fleet->stats().at(index).toObject().value("device_id").toString();
        return gui().find_device(id);
    }

private slots:
    void initTestCase() { fleet = std::make_unique<SimulatedFleet>(QStringList{"--count", "24"}); }
    void init()
    {
        window = std::make_unique<WindowCase>();
        gui().show();
    }
    void cleanup() { window.reset(); }
    void cleanupTestCase() { fleet.reset(); }

    // Requests go out every half second: a second and a half where the machine is quiet.
    void all_are_listed_by_the_third_request()
    {
        window.reset();
        fleet->ask({{"stats", true}, {"reset", true}});
        window = std::make_unique<WindowCase>();
        gui().show();
        QTRY_COMPARE_WITH_TIMEOUT(online_count(gui()), 24, 10000);
        for (const QJsonValue &device : fleet->stats())
            QVERIFY(device.toObject().value("requests").toInt() <= 3);
        QCOMPARE(gui().discovery_timer().interval(), 500);
        QCOMPARE(gui().model().rowCount(), 24);
        QCOMPARE(gui().network_box()->currentText(), QString("loudspeakers"));
        for (const QJsonValue &value : fleet->stats()) {
            const QJsonObject told = value.toObject();
            Device *device = gui().find_device(told.value("device_id").toString());
            QVERIFY(device != nullptr);
            QCOMPARE(window->cell(device, "ui/name"), told.value("name").toString());
            QCOMPARE(window->cell(device, "ip"), told.value("address").toString());
            QVERIFY(window->cell(device, "status").startsWith("Online"));
            QVERIFY(!window->cell(device, "product_id").isEmpty());
            const int row = gui().row_of(device);
            const QVariant picture = gui().model().item(row, 0)->data(Qt::DecorationRole);
            QVERIFY(!picture.value<QIcon>().isNull());
            QVERIFY(!picture.value<QIcon>().availableSizes().isEmpty());
        }
    }

    void a_silent_device_goes_offline_and_returns_with_its_first_report()
    {
        QTRY_COMPARE_WITH_TIMEOUT(online_count(gui()), 24, 10000);
        Device *device = device_at(3);
        int rounds = 0; // since its last report
        qint64 last_seen = device->last_seen;
        connect(&gui().discovery_timer(), &QTimer::timeout, this, [device, &rounds, &last_seen] {
            rounds = device->last_seen == last_seen ? rounds + 1 : 1;
            last_seen = device->last_seen;
        });
        fleet->fault(3, "silent");
        QTRY_VERIFY_WITH_TIMEOUT(!device->online, 10000);
        const qint64 silent_for = QDateTime::currentMSecsSinceEpoch() - device->last_seen;
        QVERIFY(silent_for >= 2000);
        // Half a second or more lies between two rounds, so that the fifth comes after 2 s.
        QVERIFY2(rounds <= 5, qPrintable(QString::number(rounds)));
        disconnect(&gui().discovery_timer(), nullptr, this, nullptr);
        QVERIFY(window->cell(device, "status").startsWith("Offline"));
        QCOMPARE(online_count(gui()), 23);
        fleet->fault(3, "return");
        QTRY_VERIFY_WITH_TIMEOUT(device->online, 5000);
        QVERIFY(window->cell(device, "status").startsWith("Online"));
        QCOMPARE(gui().model().rowCount(), 24);
    }

    void a_device_without_replies_reads_broken_net()
    {
        QTRY_COMPARE_WITH_TIMEOUT(online_count(gui()), 24, 10000);
        Device *device = device_at(5);
        Device *healthy = device_at(6);
        fleet->fault(5, "drop_replies");
        for (Device *asked : {device, healthy})
            gui().send_to_device(asked, {{"command", "blink_leds"}, {"seq", 1}}, false);
        QTRY_VERIFY_WITH_TIMEOUT(window->cell(device, "status").startsWith("Broken net"), 5000);
        QVERIFY(window->cell(healthy, "status").startsWith("Online"));
        QVERIFY(!healthy->awaiting_reply);
        fleet->fault(5, "keep_replies");
        gui().send_to_device(device, {{"command", "blink_leds"}, {"seq", 1}}, false);
        QTRY_VERIFY_WITH_TIMEOUT(window->cell(device, "status").startsWith("Online"), 5000);
    }

    void wrong_checksums_keep_a_device_from_coming_online()
    {
        fleet->fault(7, "wrong_checksum");
        // It may have answered the first request before the fault was there.
        const auto only_it_is_missing = [this] {
            const Device *device = device_at(7);
            return online_count(gui()) == 23 && (!device || !device->online);
        };
        QTRY_VERIFY_WITH_TIMEOUT(only_it_is_missing(), 10000);
        // Two more rounds that have been answered, in which it must stay away.
        const QSignalSpy rounds(&gui().discovery_timer(), &QTimer::timeout);
        QTRY_VERIFY(rounds.size() >= 3);
        QVERIFY(only_it_is_missing());
        fleet->fault(7, "right_checksum");
        QTRY_COMPARE_WITH_TIMEOUT(online_count(gui()), 24, 5000);
    }

    void a_device_that_moves_keeps_its_row()
    {
        QTRY_COMPARE_WITH_TIMEOUT(online_count(gui()), 24, 10000);
        Device *device = device_at(8);
        fleet->fault(8, "change_address", {{"address", "10.71.9.9"}});
        QTRY_COMPARE_WITH_TIMEOUT(window->cell(device, "ip"), QString("10.71.9.9"), 5000);
        QCOMPARE(gui().model().rowCount(), 24);
        QVERIFY(device->online);
    }

    void levels_arrive_and_move()
    {
        QTRY_COMPARE_WITH_TIMEOUT(online_count(gui()), 24, 10000);
        Device *device = device_at(0);
        QTRY_VERIFY_WITH_TIMEOUT(!device->meter.levels.empty(), 5000);
        const std::vector<float> before = device->meter.levels;
        QTRY_VERIFY_WITH_TIMEOUT(device->meter.levels != before, 5000);
    }

    void an_identified_device_blinks()
    {
        QTRY_COMPARE_WITH_TIMEOUT(online_count(gui()), 24, 10000);
        Device *device = device_at(2);
        const int before = fleet->stats().at(2).toObject().value("blinks").toInt();
        gui().view()->selectionModel()->select(gui().model().index(gui().row_of(device), 0),
                                               QItemSelectionModel::ClearAndSelect
                                                   | QItemSelectionModel::Rows);
        gui().identify_selected();
        QTRY_COMPARE_WITH_TIMEOUT(fleet->stats().at(2).toObject().value("blinks").toInt(),
                                  before + 1, 5000);
    }

    // 80 reports of 2.5 KB are more than a socket holds that has asked for no room, and less than
    // what any system grants. Nothing is read before all have arrived.
    void a_burst_at_line_rate_is_received_whole()
    {
        window.reset();
        fleet.reset();
        fleet = std::make_unique<SimulatedFleet>(
            QStringList{"--count", "80", "--spread", "0", "--metering-rate", "0"});
        window = std::make_unique<WindowCase>();
        int received = 0;
        const QObject counting; // goes before the number, also when the test fails
        connect(&gui().link(), &DeviceLink::received, &counting,
                [this, &received](const QHostAddress &from) {
                    received += from != gui().link().source_address(); // it hears itself, too
                });
        const auto reports_sent = [this] {
            int sent = 0;
            for (const QJsonValue &device : fleet->stats())
                sent += device.toObject().value("reports_sent").toInt();
            return sent;
        };
        QTRY_COMPARE_WITH_TIMEOUT(online_count(gui()), 80, 20000);
        gui().discovery_timer().stop();
        QTRY_COMPARE(received, reports_sent()); // also late answers to the last request
        for (const auto &[id, device] : gui().all_devices())
            device->online = false;
        fleet->ask({{"stats", true}, {"reset", true}});
        gui().discover();
        gui().discovery_timer().stop();
        // Asking the fleet runs no event loop here.
        QElapsedTimer elapsed;
        elapsed.start();
        while (reports_sent() < 80 && !elapsed.hasExpired(20000))
            QThread::msleep(10);
        QCOMPARE(online_count(gui()), 0);
        QTRY_COMPARE_WITH_TIMEOUT(online_count(gui()), 80, 5000);
    }
};

WINDOW_TEST_MAIN(FleetPresenceTest)
#include "fleet_presence_test.moc"
