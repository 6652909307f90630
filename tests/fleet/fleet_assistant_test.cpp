// The setup assistant leads simulated devices into service, from the first page to the last.
#include "support/image_file.h"
#include "support/open_assistant.h"

#include <map>
#include <set>

namespace {

enum
{
    OUTDATED,
    WITHOUT_PRODUCT,
    BOTH,
    HEALTHY,
};

// Four devices; the first three need help.
const QByteArray FLEET = R"({"devices": [
    {"product": 3, "name": "Outdated", "firmware_version": "1.1"},
    {"product": 0, "name": "Without product"},
    {"product": 0, "name": "Both", "firmware_version": "v1.5.4.1d"},
    {"product": 3, "name": "Healthy"}]})";

} // namespace

class FleetAssistantTest : public QObject
{
    Q_OBJECT

    QTemporaryDir folder;
    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<FleetWindow> window;

    OpenAssistant assistant() { return {*window}; }
    Device *helped() { return assistant().helped(); }
    QString text() { return assistant().text(); }
    int page() { return assistant().page(); }
    int await_page(int wanted) { return assistant().await_page(wanted); }
    void press_next() { assistant().press_next(); }
    QList<int> follow_to_the_end() { return assistant().follow_to_the_end(); }

    // Closes assistants until the wanted device has one.
    void give_turn_to(Device *wanted)
    {
        QVERIFY(runs_until([this] { return helped() != nullptr; }));
        while (helped() != wanted) {
            window->gui->assistant(helped())->close();
            QVERIFY(runs_until([this] { return helped() != nullptr; }));
        }
    }

private slots:
    void init()
    {
        const QString file = folder.filePath("fleet.json");
        write_test_file(file, FLEET);
        fleet = std::make_unique<SimulatedFleet>(
            QStringList{"--fleet", file, "--store", folder.path(), "--flash-time", "300",
                        "--reboot-time", "2600", "--metering-rate", "0"});
        window = std::make_unique<FleetWindow>(*fleet);
        QVERIFY(runs_until([this] { return window->is_settled(); }));
    }
    void cleanup()
    {
        window.reset();
        fleet.reset();
    }

    void each_device_in_need_is_led_through_to_the_end()
    {
        const std::vector<Device *> devices
            = window->devices({OUTDATED, WITHOUT_PRODUCT, BOTH, HEALTHY});
        const std::map<Device *, QList<int>> courses = {{devices[OUTDATED], {1, 2, 8, 6}},
                                                        {devices[WITHOUT_PRODUCT], {3, 4, 5, 6}},
                                                        {devices[BOTH], {1, 2, 8, 3, 4, 5, 6}}};
        std::set<Device *> done;
        for (int turn = 0; turn < 3; ++turn) {
            QVERIFY(runs_until([this] { return helped() != nullptr; }));
            Device *device = helped();
            QVERIFY(courses.count(device) && !done.count(device));
            done.insert(device);
            const bool was_online = device->online;
            QCOMPARE(follow_to_the_end(), courses.at(device));
            QVERIFY(was_online);
        }
        for (Device *device : devices) {
            QCOMPARE(device->value("firmware_version").toString(), QString("v1.5.5.8d"));
            QVERIFY(device->value("product_id").toInt() != 0);
        }
        for (const int index : {OUTDATED, BOTH}) {
            QCOMPARE(window->uploads(index).size(), 1);
            const QString path
                = window->uploads(index).last().toObject().value("stored").toString();
            QCOMPARE(file_content(path), stand_in_image());
        }
        for (const int index : {WITHOUT_PRODUCT, HEALTHY})
            QVERIFY(window->uploads(index).isEmpty());
        QVERIFY(!helped());
    }

    void a_device_that_vanishes_and_returns_is_offered_its_page_again()
    {
        Device *device = window->device(WITHOUT_PRODUCT);
        give_turn_to(device);
        QCOMPARE(page(), 3);
        fleet->fault(WITHOUT_PRODUCT, "silent");
        QCOMPARE(await_page(7), 7);
        fleet->fault(WITHOUT_PRODUCT, "return");
        QCOMPARE(await_page(3), 3);
        assistant().choose_product();
        press_next();
        QCOMPARE(page(), 4);
        fleet->fault(WITHOUT_PRODUCT, "silent");
        press_next();
        QCOMPARE(page(), 5);
        QCOMPARE(await_page(7), 7);
        fleet->fault(WITHOUT_PRODUCT, "return");
        QCOMPARE(await_page(3), 3); // the command was lost
        QCOMPARE(follow_to_the_end(), QList<int>({3, 4, 5, 6}));
    }

    void an_upload_cut_off_by_the_device_starts_over_on_its_return()
    {
        Device *device = window->device(OUTDATED);
        give_turn_to(device);
        fleet->fault(OUTDATED, "tftp", {{"strike", "offline"}, {"at_block", 500}});
        press_next();
        QCOMPARE(page(), 2);
        QCOMPARE(await_page(7), 7);
        fleet->fault(OUTDATED, "return");
        QCOMPARE(await_page(1), 1);
        QCOMPARE(follow_to_the_end(), QList<int>({1, 2, 8, 6}));
    }

    void a_failed_upload_ends_on_its_page_data()
    {
        QTest::addColumn<QString>("fault");
        QTest::addColumn<QJsonObject>("members");
        QTest::newRow("ERROR packet")
            << "tftp"
            << QJsonObject{{"strike", "error"}, {"code", 3}, {"text", "full"}, {"at_block", 500}};
        QTest::newRow("wrong ACK")
            << "tftp" << QJsonObject{{"strike", "wrong_ack"}, {"offset", 2}, {"at_block", 9}};
        QTest::newRow("another module than the image's")
            << "set" << QJsonObject{{"state", QJsonObject{{"fw_magic", 7}}}};
    }
    void a_failed_upload_ends_on_its_page()
    {
        QFETCH(QString, fault);
        QFETCH(QJsonObject, members);
        Device *device = window->device(OUTDATED);
        give_turn_to(device);
        const uint32_t magic = device->fw_magic;
        fleet->fault(OUTDATED, fault, members);
        if (fault == "set")
            QVERIFY(runs_until([device, magic] { return device->fw_magic != magic; }));
        press_next();
        QVERIFY(runs_until([this] { return text() == "Something unexpected happened."; }));
        QVERIFY(!device->upload);
        QVERIFY(!device->upload_ok);
        press_next(); // is off: only closing is left
        QCOMPARE(text(), QString("Something unexpected happened."));
        window->gui->assistant(device)->close();
        QVERIFY(device->assistant_dismissed);
    }

    void a_refused_image_leaves_the_assistant_waiting_for_the_restart()
    {
        Device *device = window->device(OUTDATED);
        give_turn_to(device);
        fleet->fault(OUTDATED, "tftp", {{"refuse", "flash worn out"}});
        press_next();
        QCOMPARE(await_page(8), 8);
        QTRY_VERIFY_WITH_TIMEOUT(window->status(device).contains(" / flash worn out"), 10000);
        QCOMPARE(page(), 8);
        window->gui->close();
        QVERIFY(window->gui->all_devices().empty());
    }
};

WINDOW_TEST_MAIN(FleetAssistantTest)
#include "fleet_assistant_test.moc"
