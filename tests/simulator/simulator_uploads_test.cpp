// What simulated devices do with the files that are uploaded to them.
#include "support/played_fleet.h"
#include "support/tftp_packets.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>

using simulator::SimulatorOptions;

namespace {

constexpr const char *PAIR = R"({"product": "Y6", "name": "One", "device_id": "id1",
    "firmware_version": "1.1"}, {"product": "Y6", "name": "Two", "device_id": "a/../id 2"})";

QByteArray stand_in_image()
{
    QFile file(STAND_IN_IMAGE);
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no stand-in image");
    return file.readAll();
}

// Whether each step was acknowledged.
bool upload(PlayedFleet &fleet, const char *to, const QByteArray &file,
            const QByteArray &name = "firmware.bin")
{
    if (fleet.upload_packet(to, write_request(name)) != QList<QByteArray>{ack(0)})
        return false;
    for (int block = 1; block <= last_block(file); ++block)
        if (fleet.upload_packet(to, block_of(file, block)) != QList<QByteArray>{ack(block)})
            return false;
    return true;
}

QString version_of(PlayedFleet &fleet, int device)
{
    return fleet.state(device).value("firmware_version").toString();
}

} // namespace

class SimulatorUploadsTest : public QObject
{
    Q_OBJECT

private slots:
    void an_image_runs_after_flashing_and_a_reboot()
    {
        PlayedFleet fleet(PAIR);
        const QByteArray image = stand_in_image();
        QVERIFY(upload(fleet, FIRST, image));
        const QJsonObject told{{"file", "firmware.bin"},
                               {"size", image.size()},
                               {"blocks", last_block(image)},
                               {"ok", true},
                               {"refused", ""},
                               {"stored", ""}};
        QCOMPARE(fleet.stats(0).value("uploads").toArray(), QJsonArray{QJsonValue(told)});
        QJsonObject event = fleet.events.at(0);
        for (const char *of_the_device : {"event", "index", "device_id", "name"})
            event.remove(of_the_device);
        QCOMPARE(event, told);
        fleet.pass(1499);
        QCOMPARE(fleet.event_names(), QStringList{"upload"});
        fleet.pass(1);
        QCOMPARE(fleet.event_names(), (QStringList{"upload", "reboot"}));
        QCOMPARE(version_of(fleet, 0), QString("1.1"));
        fleet.pass(3000);
        QCOMPARE(fleet.event_names(), (QStringList{"upload", "reboot", "boot"}));
        QCOMPARE(version_of(fleet, 0), QString("v1.5.5.8d"));
        fleet.pass(60'000);
        QCOMPARE(fleet.told(0, "reboots"), 1);
        QCOMPARE(fleet.told(1, "reboots"), 0);
    }

    void what_runs_is_what_was_flashed_last_or_set_since()
    {
        PlayedFleet fleet(PAIR);
        upload(fleet, FIRST, stand_in_image());
        fleet.pass(5000);
        fleet.fault(0, "set", {{"state", QJsonObject{{"firmware_version", "9"}}}});
        fleet.fault(0, "reboot");
        fleet.pass(5000);
        QCOMPARE(version_of(fleet, 0), QString("9"));
    }

    void a_repeated_last_block_is_answered_and_puts_the_reboot_off()
    {
        PlayedFleet fleet(PAIR);
        const QByteArray image = stand_in_image();
        upload(fleet, FIRST, image);
        for (int i = 0; i < 3; ++i) {
            fleet.pass(1000);
            const int last = last_block(image);
            QCOMPARE(fleet.upload_packet(FIRST, block_of(image, last)),
                     QList<QByteArray>{ack(last)});
        }
        fleet.pass(1499);
        QCOMPARE(fleet.event_names(), QStringList{"upload"});
        fleet.pass(1);
        QCOMPARE(fleet.event_names(), (QStringList{"upload", "reboot"}));
        fleet.pass(60'000);
        QCOMPARE(fleet.told(0, "reboots"), 1);
    }

    void a_reboot_meanwhile_runs_what_was_flashed_and_is_the_only_one()
    {
        PlayedFleet fleet(PAIR);
        upload(fleet, FIRST, stand_in_image());
        fleet.fault(0, "reboot");
        fleet.pass(60'000);
        QCOMPARE(fleet.told(0, "reboots"), 1);
        QCOMPARE(version_of(fleet, 0), QString("v1.5.5.8d"));
    }

    void the_time_of_flashing_is_an_option()
    {
        PlayedFleet fleet(PAIR);
        fleet.ask({{"options", QJsonObject{{"flash_time", 70}}}});
        upload(fleet, FIRST, stand_in_image());
        fleet.pass(69);
        QCOMPARE(fleet.told(0, "reboots"), 0);
        fleet.pass(1);
        QCOMPARE(fleet.told(0, "reboots"), 1);
    }

    void another_file_is_taken_as_it_is_and_changes_no_version()
    {
        PlayedFleet fleet(PAIR);
        QVERIFY(upload(fleet, FIRST, "no image", "lpi.bin"));
        QCOMPARE(fleet.events.at(0).value("ok"), QJsonValue(true));
        fleet.pass(5000);
        QCOMPARE(fleet.told(0, "reboots"), 1);
        QCOMPARE(version_of(fleet, 0), QString("1.1"));
    }

    void a_refused_image_is_told_until_the_next_upload()
    {
        PlayedFleet fleet(PAIR);
        fleet.fault(0, "tftp", {{"refuse", "worn out"}});
        QVERIFY(upload(fleet, FIRST, stand_in_image()));
        QCOMPARE(fleet.events.at(0).value("ok"), QJsonValue(false));
        QCOMPARE(fleet.events.at(0).value("refused"), QJsonValue("worn out"));
        const auto reported = [&fleet] {
            fleet.request_reports(FIRST);
            const Heard heard = fleet.sent_by(FIRST, &Heard::is_report).last().heard;
            return heard.object.value("firmware_update_error").toString();
        };
        QCOMPARE(reported(), QString("worn out"));
        fleet.pass(60'000);
        QCOMPARE(fleet.told(0, "reboots"), 0);
        fleet.upload_packet(FIRST, data_block(9, "")); // no request
        QCOMPARE(reported(), QString("worn out"));
        fleet.upload_packet(FIRST, write_request());
        QCOMPARE(reported(), QString());
    }

    void what_is_no_image_is_refused()
    {
        PlayedFleet fleet(PAIR);
        QVERIFY(upload(fleet, FIRST, "no image"));
        QCOMPARE(fleet.state(0).value("firmware_update_error"), QJsonValue("image too short"));
        QCOMPARE(fleet.events.at(0).value("refused"), QJsonValue("image too short"));
        fleet.pass(60'000);
        QCOMPARE(fleet.told(0, "reboots"), 0);
    }

    void a_reboot_forgets_an_upload()
    {
        PlayedFleet fleet(PAIR);
        fleet.upload_packet(FIRST, write_request());
        QVERIFY(fleet.stats(0).value("upload").toObject().value("running").toBool());
        fleet.fault(0, "reboot");
        QVERIFY(!fleet.stats(0).value("upload").toObject().value("running").toBool());
        fleet.pass(5000);
        QVERIFY(fleet.upload_packet(FIRST, data_block(1, "x")).isEmpty());
    }

    void the_progress_of_an_upload_is_told()
    {
        PlayedFleet fleet(PAIR);
        const QByteArray image = stand_in_image();
        fleet.upload_packet(FIRST, write_request());
        for (int block = 1; block <= 3; ++block)
            fleet.upload_packet(FIRST, block_of(image, block));
        QCOMPARE(fleet.stats(0).value("upload").toObject(),
                 (QJsonObject{{"running", true}, {"file", "firmware.bin"}, {"blocks", 3}}));
    }

    void a_device_that_goes_offline_says_nothing_until_it_returns()
    {
        PlayedFleet fleet(PAIR);
        fleet.fault(0, "tftp", {{"strike", "offline"}, {"at_block", 1}});
        QCOMPARE(fleet.upload_packet(FIRST, write_request()).size(), 1);
        QVERIFY(fleet.upload_packet(FIRST, data_block(1, QByteArray(512, 'x'))).isEmpty());
        QCOMPARE(fleet.event_names(), QStringList{"offline"});
        fleet.request_reports(FIRST);
        QVERIFY(fleet.sent.isEmpty());
        QVERIFY(fleet.upload_packet(FIRST, write_request()).isEmpty());
        fleet.fault(0, "return");
        fleet.request_reports(FIRST);
        QCOMPARE(fleet.sent.size(), 1);
    }

    void uploads_suffer_from_silence_and_loss_as_all_else_does_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<QJsonObject>("members");
        QTest::addColumn<bool>("is_heard");
        QTest::newRow("silent") << "silent" << QJsonObject{} << false;
        QTest::newRow("lost on the way in")
            << "loss" << QJsonObject{{"percent", 100}, {"direction", "in"}} << false;
        QTest::newRow("lost on the way out")
            << "loss" << QJsonObject{{"percent", 100}, {"direction", "out"}} << true;
        QTest::newRow("a server that is silent")
            << "tftp" << QJsonObject{{"silent", true}} << false;
    }

    void uploads_suffer_from_silence_and_loss_as_all_else_does()
    {
        QFETCH(QString, name);
        QFETCH(QJsonObject, members);
        QFETCH(bool, is_heard);
        PlayedFleet fleet(PAIR);
        QCOMPARE(fleet.fault(0, name.toLatin1().constData(), members), QString());
        QVERIFY(fleet.upload_packet(FIRST, write_request()).isEmpty());
        const QJsonObject upload = fleet.stats(0).value("upload").toObject();
        QCOMPARE(upload.value("running").toBool(), is_heard);
        QVERIFY(!fleet.upload_packet(SECOND, write_request()).isEmpty());
    }

    void a_late_answer_comes_when_it_is_due_unless_the_device_is_gone()
    {
        for (const bool goes : {false, true}) {
            PlayedFleet fleet(PAIR);
            fleet.fault(0, "tftp", {{"ack_delay", 300}});
            QVERIFY(fleet.upload_packet(FIRST, write_request()).isEmpty());
            fleet.pass(299);
            QVERIFY(fleet.uploads.isEmpty());
            if (goes)
                fleet.fault(0, "silent");
            const int64_t due = fleet.clock / 1000 + 1;
            fleet.pass(5);
            QCOMPARE(fleet.uploads.size(), goes ? 0 : 1);
            if (goes)
                continue;
            QCOMPARE(fleet.uploads[0].time, due);
            QCOMPARE(fleet.uploads[0].bytes, ack(0));
            QCOMPARE(fleet.uploads[0].heard.from, QHostAddress(QString(FIRST)));
            QCOMPARE(fleet.uploads[0].to, ip(PlayedFleet::MANAGER));
            QCOMPARE(fleet.uploads[0].port, uint16_t{50'000}); // where the request came from
        }
    }

    void files_are_stored_under_names_that_lead_nowhere_else_data()
    {
        QTest::addColumn<int>("device");
        QTest::addColumn<QByteArray>("remote");
        QTest::addColumn<QString>("stored");
        QTest::newRow("plain") << 0 << QByteArray("lpi-2.bin") << "id1-lpi-2.bin";
        QTest::newRow("letters at the ends") << 0 << QByteArray("azAZ09") << "id1-azAZ09";
        QTest::newRow("a way out") << 0 << QByteArray("../../etc/x y") << "id1-.._.._etc_x_y";
        QTest::newRow("neighbours of letters and digits")
            << 0 << QByteArray("`{@[/:\\,") << "id1-________";
        QTest::newRow("an id of its own") << 1 << QByteArray("a") << "a_.._id_2-a";
        QTest::newRow("long") << 0 << QByteArray(300, 'x') << "id1-" + QString("x").repeated(64);
    }

    void files_are_stored_under_names_that_lead_nowhere_else()
    {
        QFETCH(int, device);
        QFETCH(QByteArray, remote);
        QFETCH(QString, stored);
        const QTemporaryDir folder;
        SimulatorOptions options = PlayedFleet::quiet();
        options.store_folder = folder.filePath("made/when/needed");
        PlayedFleet fleet(PAIR, options);
        const QByteArray file(700, 'x');
        QVERIFY(upload(fleet, device == 0 ? FIRST : SECOND, file, remote));
        const QDir store(options.store_folder);
        QCOMPARE(store.entryList(QDir::Files), QStringList{stored});
        QCOMPARE(fleet.events.at(0).value("stored").toString(), store.filePath(stored));
        QFile kept(store.filePath(stored));
        QVERIFY(kept.open(QIODevice::ReadOnly));
        QCOMPARE(kept.readAll(), file);
    }

    void a_file_that_cannot_be_stored_is_taken_all_the_same()
    {
        SimulatorOptions options = PlayedFleet::quiet();
        options.store_folder = "/dev/null/none";
        PlayedFleet fleet(PAIR, options);
        QVERIFY(upload(fleet, FIRST, "abc", "lpi.bin"));
        QCOMPARE(fleet.events.at(0).value("stored"), QJsonValue(""));
        QCOMPARE(fleet.events.at(0).value("ok"), QJsonValue(true));
    }
};

QTEST_GUILESS_MAIN(SimulatorUploadsTest)
#include "simulator_uploads_test.moc"
