// The setup assistant closed on each of its pages, and with its device gone and back, by a fleet in
// which one device after the other is plugged in.
#include "firmware/assistant_rules.h"
#include "firmware/tftp_uploader.h"
#include "support/image_file.h"
#include "support/open_assistant.h"

namespace {

// Device n is closed on page n, the later ones vanish on theirs.
enum
{
    VANISHES_ON_OUTDATED = PAGE_RESTARTING + 1,
    VANISHES_ON_CONFIRM,
    VANISHES_ON_DONE,
    COUNT,
};

bool is_outdated(int index)
{
    return index == PAGE_OUTDATED || index == PAGE_UPDATING || index == PAGE_RESTARTING
        || index == VANISHES_ON_OUTDATED;
}

// None of them is plugged in. Number 0 needs no help.
QByteArray fleet_file()
{
    QJsonArray devices;
    for (int index = 0; index < COUNT; ++index) {
        const bool has_product = index == 0 || is_outdated(index);
        devices.append(QJsonObject{
            {"product", has_product ? 3 : 0},
            {"name", QString("Device %1").arg(index)},
            {"firmware_version", is_outdated(index) ? "1.1" : "v1.5.5.8d"},
            {"faults", QJsonArray{QJsonObject{{"fault", "silent"}}}},
        });
    }
    return QJsonDocument(QJsonObject{{"devices", devices}}).toJson();
}

} // namespace

class FleetAssistantPagesTest : public QObject
{
    Q_OBJECT

    QTemporaryDir folder;
    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<FleetWindow> window;

    OpenAssistant assistant() { return {*window}; }
    int await_page(int wanted) { return assistant().await_page(wanted); }

    // The device is plugged in, and its assistant opens.
    Device *plug_in(int index)
    {
        fleet->fault(index, "return");
        runs_until([this] { return assistant().helped() != nullptr; });
        return assistant().helped();
    }

    void choose_and_press_next()
    {
        assistant().choose_product();
        assistant().press_next();
    }

    // Leads the device from its first page to page `wanted`.
    void reach(int wanted, int index)
    {
        QCOMPARE(await_page(is_outdated(index) ? 1 : 3), is_outdated(index) ? 1 : 3);
        if (wanted == PAGE_UPDATING)
            fleet->fault(index, "tftp", {{"ack_delay", 20}});
        if (wanted == PAGE_SETTING_PRODUCT)
            fleet->fault(index, "loss", {{"percent", 100}, {"direction", "in"}});
        if (wanted == PAGE_UPDATING || wanted == PAGE_RESTARTING)
            assistant().press_next();
        if (wanted >= PAGE_CONFIRM_PRODUCT && wanted <= PAGE_DONE)
            choose_and_press_next();
        if (wanted == PAGE_SETTING_PRODUCT || wanted == PAGE_DONE)
            assistant().press_next();
        if (wanted == PAGE_OFFLINE)
            fleet->fault(index, "silent");
        QCOMPARE(await_page(wanted), wanted);
    }

private slots:
    void initTestCase()
    {
        const QString file = folder.filePath("fleet.json");
        write_test_file(file, fleet_file());
        fleet = std::make_unique<SimulatedFleet>(
            QStringList{"--fleet", file, "--store", folder.path(), "--flash-time", "300",
                        "--reboot-time", "600", "--metering-rate", "0"});
        window = std::make_unique<FleetWindow>(*fleet);
        fleet->fault(0, "return");
        QVERIFY(runs_until([this] { return window->online_count() == 1; }));
        QVERIFY(!assistant().helped());
    }
    void cleanupTestCase()
    {
        window.reset();
        fleet.reset();
    }

    void it_can_be_closed_on_each_page_and_stays_closed_data()
    {
        QTest::addColumn<int>("wanted");
        for (int page = PAGE_OUTDATED; page <= PAGE_RESTARTING; ++page)
            QTest::addRow("page %d", page) << page;
    }
    void it_can_be_closed_on_each_page_and_stays_closed()
    {
        QFETCH(int, wanted);
        const int index = wanted;
        Device *device = plug_in(index);
        QCOMPARE(device, window->device(index));
        reach(wanted, index);
        window->gui->assistant(device)->close();
        QVERIFY(!device->has_assistant && device->assistant_dismissed);
        QCOMPARE(bool(device->upload), wanted == PAGE_UPDATING);

        const auto reports = [this, index] {
            return fleet->stats().at(index).toObject().value("reports_sent").toInt();
        };
        fleet->fault(index, "loss", {{"percent", 0}});
        fleet->fault(index, "return");
        const int before = reports();
        QVERIFY(runs_until([before, &reports] { return reports() > before; }));
        QVERIFY(!assistant().helped());
        window->gui->drop_transfer(device);
        fleet->fault(index, "silent");
    }

    void a_device_that_vanishes_and_returns_finds_its_page_data()
    {
        QTest::addColumn<int>("index");
        QTest::addColumn<int>("wanted");
        QTest::addColumn<int>("afterwards");
        QTest::newRow("outdated") << int{VANISHES_ON_OUTDATED} << int{PAGE_OUTDATED} << 1;
        QTest::newRow("product chosen")
            << int{VANISHES_ON_CONFIRM} << int{PAGE_CONFIRM_PRODUCT} << 3;
        QTest::newRow("done") << int{VANISHES_ON_DONE} << int{PAGE_DONE} << 6;
    }
    void a_device_that_vanishes_and_returns_finds_its_page()
    {
        QFETCH(int, index);
        QFETCH(int, wanted);
        QFETCH(int, afterwards);
        Device *device = plug_in(index);
        QCOMPARE(device, window->device(index));
        reach(wanted, index);
        fleet->fault(index, "silent");
        QCOMPARE(await_page(PAGE_OFFLINE), int{PAGE_OFFLINE});
        fleet->fault(index, "return");
        QCOMPARE(await_page(afterwards), afterwards);
        window->gui->assistant(device)->close();
        fleet->fault(index, "silent");
    }
};

WINDOW_TEST_MAIN(FleetAssistantPagesTest)
#include "fleet_assistant_pages_test.moc"
