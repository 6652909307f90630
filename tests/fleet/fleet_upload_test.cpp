// Uploads from the real window to simulated devices: many at once, and among faults of every kind.
#include "firmware/tftp_uploader.h"
#include "support/dialog_probe.h"
#include "support/fleet_window.h"
#include "support/image_file.h"

#include <QPushButton>

#include <algorithm>
#include <map>
#include <utility>

namespace {

// UPDATED_DEVICES in the environment makes it more.
int device_count()
{
    return std::max(12, qEnvironmentVariableIntValue("UPDATED_DEVICES"));
}

// Of eight devices at least seven take the image.
int fleet_size()
{
    return device_count() + device_count() / 7;
}

constexpr int FLASH_TIME = 100; // ms from the end of an upload to the restart
constexpr int STRUCK = 3;       // the device that faults strike
const QString SUCCESS = "Upload succeeded.";
const QString TIMEOUT = "Error: timeout";

QJsonObject at_block_100(QJsonObject fault)
{
    fault.insert("at_block", 100);
    return fault;
}

QJsonObject raw(const QByteArray &bytes)
{
    return at_block_100({{"strike", "raw"}, {"base64", QString::fromLatin1(bytes.toBase64())}});
}

} // namespace

class FleetUploadTest : public QObject
{
    Q_OBJECT

    QTemporaryDir store;
    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<FleetWindow> window;
    std::map<Device *, QString> ends; // how each transfer has ended

    WindowHandle &gui() { return *window->gui; }

    // Starts an upload to the devices as "Update" does, and keeps how each transfer ends.
    void update(const std::vector<Device *> &devices, const QByteArray &image)
    {
        const QString path = window->folder.filePath("image");
        write_test_file(path, image);
        window->select(devices);
        QPushButton *button = gui().row("firmware_version").button;
        QVERIFY(button);
        QTRY_VERIFY(!button->rect().isEmpty()); // the row has just come up
        DialogProbe probe;
        probe.choose_file(path);
        QTest::mouseClick(button, Qt::LeftButton);
        QCOMPARE(probe.titles.size(), 1);
        for (Device *device : devices)
            if (QTFTPFileUploader *uploader = gui().transfer(device))
                connect(uploader, &QTFTPFileUploader::done, this,
                        [this, device, uploader] { ends[device] = uploader->status(); });
    }

    // Those that the image is for: a large fleet has bridges, too, which take another.
    QList<int> all_updatable()
    {
        QList<int> indexes;
        for (int index = 0; indexes.size() < device_count(); ++index)
            if (window->devices({index}).front()->fw_magic == MODULE_MAGIC)
                indexes.append(index);
        return indexes;
    }

    QByteArray last_file(int index)
    {
        const QJsonArray uploads = window->uploads(index);
        if (uploads.isEmpty())
            return "none";
        return file_content(uploads.last().toObject().value("stored").toString());
    }

    QString end_of(Device *device)
    {
        const auto end = ends.find(device);
        return end == ends.end() ? QString() : end->second;
    }

    // Empty when it does not come in time.
    QString await_end(Device *device)
    {
        runs_until([this, device] { return !end_of(device).isEmpty(); });
        return end_of(device);
    }

    // Silence ends a transfer after 20 s and not sooner; an answer without use ends the repeating,
    // and with it the wait.
    void await_end_of_silence(Device *device, const QString &expected,
                              const QElapsedTimer &since_start)
    {
        QCOMPARE(runs_until([this, device] { return !end_of(device).isEmpty(); }, 25000),
                 !expected.isEmpty());
        QVERIFY(since_start.elapsed() > 20000);
        QCOMPARE(end_of(device), expected);
    }

private slots:
    void initTestCase()
    {
        fleet = std::make_unique<SimulatedFleet>(QStringList{
            "--count", QString::number(fleet_size()), "--store", store.path(), "--flash-time",
            QString::number(FLASH_TIME), "--reboot-time", "300", "--metering-rate", "0"});
        QCOMPARE(fleet->count, fleet_size());
        window = std::make_unique<FleetWindow>(*fleet);
    }
    void init()
    {
        QVERIFY(runs_until([this] { return window->is_settled(); }));
    }
    // Transfers that would go on for their 20 s end here.
    void cleanup()
    {
        ends.clear();
        for (const auto &[id, device] : gui().all_devices())
            gui().drop_transfer(device);
        fleet->fault("all", "tftp", {{"clear", true}});
        fleet->fault("all", "return");
        fleet->fault("all", "loss", {{"percent", 0}});
    }
    void cleanupTestCase()
    {
        window.reset();
        fleet.reset();
    }

    void twelve_devices_at_once_get_the_same_bytes()
    {
        const QList<int> all = all_updatable();
        const std::vector<Device *> devices = window->devices(all);
        update(devices, stand_in_image());
        for (Device *device : devices) {
            QCOMPARE(await_end(device), SUCCESS);
            QVERIFY(device->upload_ok);
            QVERIFY(!device->upload);
        }
        for (const int index : all) {
            QCOMPARE(window->uploads(index).size(), 1);
            QCOMPARE(window->uploads(index).last().toObject().value("file").toString(),
                     QString("firmware.bin"));
            QCOMPARE(last_file(index), stand_in_image());
        }
        // Each restarts by itself and reports the image's version.
        for (Device *device : devices)
            QTRY_COMPARE_WITH_TIMEOUT(device->value("firmware_version").toString(),
                                      QString("v1.5.5.8d"), 10000);
    }

    void one_that_fails_among_all_stops_no_other()
    {
        fleet->fault(STRUCK, "tftp",
                     at_block_100({{"strike", "error"}, {"code", 1}, {"text", "full"}}));
        const QList<int> all = all_updatable();
        const std::vector<Device *> devices = window->devices(all);
        update(devices, stand_in_image());
        const auto all_have_ended = [this, &devices] { return ends.size() == devices.size(); };
        QVERIFY2(runs_until(all_have_ended, 60000 + 10000 * device_count()),
                 qPrintable(QString::number(ends.size())));
        for (size_t i = 0; i < devices.size(); ++i) {
            const Device *device = devices[i];
            const int index = all[static_cast<int>(i)];
            QCOMPARE(end_of(devices[i]),
                     index == STRUCK ? QString("Error: got TFTP ERROR packet, code=256, msg='full'")
                                     : SUCCESS);
            QCOMPARE(device->upload_ok, index != STRUCK);
            if (index != STRUCK)
                QCOMPARE(last_file(index), stand_in_image());
        }
        qInfo("%d devices updated, one failed", device_count() - 1);
    }

    void lost_datagrams_in_both_directions_are_made_good_for()
    {
        // Should the last ACK get lost, the last block comes again: no restart before that.
        fleet->ask({{"options", QJsonObject{{"flash_time", 1500}}}});
        fleet->fault(QJsonArray{0, 1, 2}, "loss", {{"percent", 5}, {"direction", "both"}});
        const std::vector<Device *> devices = window->devices({0, 1, 2});
        const QByteArray image = image_section(MODULE_MAGIC, QByteArray(20000, 'x'));
        update(devices, image);
        for (Device *device : devices)
            QCOMPARE(await_end(device), SUCCESS);
        for (const int index : {0, 1, 2})
            QCOMPARE(last_file(index), image);
        fleet->ask({{"options", QJsonObject{{"flash_time", FLASH_TIME}}}});
    }

    void in_a_mixed_selection_exactly_the_right_devices_receive_data()
    {
        enum
        {
            RIGHT = 4,
            WRONG,
            GONE,
            UNKNOWN,
            RUNNING,
        };
        const std::vector<Device *> devices
            = window->devices({RIGHT, WRONG, GONE, UNKNOWN, RUNNING});
        std::vector<int> had;
        for (const int index : {RIGHT, WRONG, GONE, UNKNOWN, RUNNING})
            had.push_back(window->uploads(index).size());
        const QJsonValue usual = qint64{devices[0]->fw_magic};
        fleet->fault(WRONG, "set", {{"state", QJsonObject{{"fw_magic", qint64{OTHER_MAGIC}}}}});
        fleet->fault(UNKNOWN, "set", {{"state", QJsonObject{{"fw_magic", 0}}}});
        fleet->fault(GONE, "silent");
        fleet->fault(RUNNING, "tftp", {{"ack_delay", 5}});
        QTRY_VERIFY_WITH_TIMEOUT(devices[1]->fw_magic == OTHER_MAGIC && devices[3]->fw_magic == 0
                                     && !devices[2]->online,
                                 10000);
        update({devices[4]}, stand_in_image());
        QVERIFY(runs_until([&devices] { return devices[4]->upload->percent >= 1; }));
        fleet->fault(RUNNING, "tftp", {{"clear", true}});
        update(devices, stand_in_image());
        QCOMPARE(await_end(devices[0]), SUCCESS);
        QCOMPARE(await_end(devices[4]), SUCCESS);
        QCOMPARE(window->status(devices[1]), QString("Online / device not supported by image"));
        QCOMPARE(window->status(devices[2]), QString("Offline / not updating"));
        QCOMPARE(window->status(devices[3]), QString("Online / unknown device"));
        const std::vector<int> expected = {1, 0, 0, 0, 1};
        for (size_t i = 0; i < expected.size(); ++i) {
            const int index = RIGHT + static_cast<int>(i);
            QCOMPARE(window->uploads(index).size(), had[i] + expected[i]);
        }
        QCOMPARE(last_file(RIGHT), stand_in_image());
        QCOMPARE(last_file(RUNNING), stand_in_image());
        for (const int index : {WRONG, UNKNOWN})
            fleet->fault(index, "set", {{"state", QJsonObject{{"fw_magic", usual}}}});
    }

    // A device in the middle of a selection of three is struck; its neighbours notice nothing.
    void a_fault_ends_one_transfer_at_most_data()
    {
        QTest::addColumn<QJsonObject>("fault");
        QTest::addColumn<QString>("expected"); // the end; empty: none comes
        const auto wrong = [](int offset) {
            return at_block_100({{"strike", "wrong_ack"}, {"offset", offset}});
        };
        QTest::newRow("no ACK to the request")
            << QJsonObject{{"strike", "lose"}, {"at_block", 0}} << SUCCESS;
        QTest::newRow("lost ACK") << at_block_100({{"strike", "lose"}}) << SUCCESS;
        QTest::newRow("two ACKs lost in a row")
            << at_block_100({{"strike", "lose"}, {"times", 2}}) << SUCCESS;
        QTest::newRow("late ACK") << at_block_100({{"strike", "late"}, {"ms", 300}}) << SUCCESS;
        QTest::newRow("ACK after its block was repeated")
            << at_block_100({{"strike", "late"}, {"ms", 520}}) << SUCCESS;
        QTest::newRow("doubled ACKs")
            << QJsonObject{{"strike", "double"}, {"times", 50}} << SUCCESS;
        QTest::newRow("slow") << QJsonObject{{"ack_delay", 1}} << SUCCESS;
        QTest::newRow("ACK ahead")
            << wrong(1) << "Error: bad TFTP ACK sequence NR (expected 100 got 101";
        QTest::newRow("stale ACK") << wrong(-1) << "";
        QTest::newRow("ERROR packet")
            << at_block_100({{"strike", "error"}, {"code", 1}, {"text", "full"}})
            << "Error: got TFTP ERROR packet, code=256, msg='full'";
        QTest::newRow("ERROR to the request")
            << QJsonObject{{"strike", "error"}, {"code", 2}, {"text", "x"}, {"at_block", 0}}
            << "Error: got TFTP ERROR packet, code=512, msg='x'";
        QTest::newRow("ERROR without end")
            << raw(QByteArray("\0\5\0\1full", 8)) << "Error: bad TFTP ERROR packet";
        QTest::newRow("ERROR without text")
            << raw(QByteArray("\0\5\0\1", 4)) << "Error: bad TFTP ERROR packet";
        QTest::newRow("one byte") << raw(QByteArray(1, '\0'))
                                  << "Error: bad TFTP packet (size too small)";
        QTest::newRow("600 bytes")
            << raw(QByteArray(600, '\4')) << "Error: bad TFTP packet (size too large)";
        QTest::newRow("short ACK")
            << raw(QByteArray("\0\4\0", 3)) << "Error: bad TFTP ACK packet (size too small)";
        QTest::newRow("unknown opcode") << raw(QByteArray("\0\6\0\1", 4)) << "";
        QTest::newRow("no TFTP server") << QJsonObject{{"silent", true}} << TIMEOUT;
        QTest::newRow("offline in the middle") << at_block_100({{"strike", "offline"}}) << TIMEOUT;
    }
    void a_fault_ends_one_transfer_at_most()
    {
        QFETCH(QJsonObject, fault);
        QFETCH(QString, expected);
        fleet->fault(STRUCK, "tftp", fault);
        const std::vector<Device *> devices = window->devices({STRUCK - 1, STRUCK, STRUCK + 1});
        Device *struck = devices[1];
        QElapsedTimer since_start;
        since_start.start();
        update(devices, stand_in_image());
        for (const int index : {0, 2})
            QCOMPARE(await_end(devices[size_t(index)]), SUCCESS);
        QCOMPARE(last_file(STRUCK - 1), stand_in_image());
        QCOMPARE(last_file(STRUCK + 1), stand_in_image());
        if (expected.isEmpty() || expected == TIMEOUT) {
            QVERIFY(struck->upload && struck->upload->is_active);
            QVERIFY(window->status(struck).contains(", updating "));
            if (qEnvironmentVariableIsSet("VELMARK_LONG_TESTS"))
                await_end_of_silence(struck, expected, since_start);
            return;
        }
        QCOMPARE(await_end(struck), expected);
        QCOMPARE(struck->upload_ok, expected == SUCCESS);
        QVERIFY(!struck->upload);
        QVERIFY(!window->status(struck).contains("updating"));
        if (expected == SUCCESS)
            QCOMPARE(last_file(STRUCK), stand_in_image());
    }

    void a_device_that_went_offline_can_be_updated_when_it_is_back()
    {
        fleet->fault(STRUCK, "tftp", at_block_100({{"strike", "offline"}}));
        Device *device = window->device(STRUCK);
        update({device}, stand_in_image());
        QTRY_VERIFY_WITH_TIMEOUT(!device->online, 10000);
        QCOMPARE(window->status(device), QString("Offline, updating 5%"));
        update({device}, stand_in_image());
        QCOMPARE(window->status(device), QString("Offline, updating 5% / not updating"));
        fleet->fault(STRUCK, "return");
        QTRY_VERIFY_WITH_TIMEOUT(device->online, 10000);
        QCOMPARE(window->status(device), QString("Online, updating 5%"));
        update({device}, stand_in_image());
        QCOMPARE(await_end(device), SUCCESS);
        QCOMPARE(last_file(STRUCK), stand_in_image());
    }

    void what_a_device_says_of_a_refused_image_stands_in_its_status()
    {
        fleet->fault(STRUCK, "tftp", {{"refuse", "flash worn out"}});
        Device *device = window->device(STRUCK);
        const std::vector<Device *> devices = window->devices({STRUCK, STRUCK + 1});
        update(devices, stand_in_image());
        for (Device *one : devices)
            QCOMPARE(await_end(one), SUCCESS);
        QTRY_VERIFY_WITH_TIMEOUT(window->status(device).contains(" / flash worn out"), 10000);
        QVERIFY(!window->status(devices[1]).contains("flash worn out"));
        fleet->fault(STRUCK, "tftp", {{"clear", true}});
        update({device}, stand_in_image());
        QTRY_VERIFY_WITH_TIMEOUT(!window->status(device).contains("flash worn out"), 10000);
    }

    void closing_in_the_middle_of_twelve_transfers_is_clean()
    {
        fleet->fault("all", "tftp", {{"ack_delay", 2}});
        const QList<int> all = all_updatable();
        const std::vector<Device *> devices = window->devices(all);
        update(devices, stand_in_image());
        for (Device *device : devices)
            QVERIFY(runs_until([device] { return device->upload->percent >= 1; }));
        gui().close();
        QVERIFY(gui().all_devices().empty());
        QTest::qWait(50); // what is on its way arrives now
    }
};

WINDOW_TEST_MAIN(FleetUploadTest)
#include "fleet_upload_test.moc"
