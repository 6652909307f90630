// When simulated devices send metering frames and their logs, how many, and to whom.
#include "support/played_fleet.h"

using simulator::SimulatorOptions;

namespace {

constexpr int TICK = 5; // ms; what is due by a moment has left at the tick after it

SimulatorOptions talkative()
{
    SimulatorOptions options = PlayedFleet::quiet();
    options.log_rate = 10;
    return options;
}

void set_logging(PlayedFleet &fleet, bool on)
{
    fleet.fault(0, "set", {{"state", QJsonObject{{"logging", QJsonObject{{"en", on}}}}}});
}

} // namespace

class SimulatorPlayedStreamsTest : public QObject
{
    Q_OBJECT

private slots:
    void frames_come_at_their_rate_to_who_asked()
    {
        PlayedFleet fleet(TWO);
        fleet.request_reports();
        fleet.pass(2000 + TICK);
        for (const char *device : {FIRST, SECOND}) {
            const QList<Sent> frames = fleet.sent_by(device, &Heard::is_frame);
            QCOMPARE(frames.size(), 20);
            for (const Sent &frame : frames) {
                QCOMPARE(frame.to, ip(PlayedFleet::MANAGER));
                QCOMPARE(frame.port, MANAGER_PORT);
                QVERIFY(frame.heard.is_right);
            }
        }
        QCOMPARE(fleet.told(0, "frames_sent"), 20);
    }

    void the_frames_of_a_fleet_are_spread_evenly()
    {
        PlayedFleet fleet(R"({"product": "e5", "count": 100})");
        fleet.request_reports();
        fleet.pass(1000);
        QMap<int64_t, int> frames;
        for (const Sent &one : fleet.sent)
            frames[one.time] += one.heard.is_frame() ? 1 : 0;
        for (const int at_once : frames)
            QVERIFY2(at_once <= 6, qPrintable(QString::number(at_once)));
        for (int device = 0; device < 100; ++device)
            QCOMPARE(fleet.told(device, "frames_sent"), 10);
    }

    void who_does_not_ask_for_frames_gets_none()
    {
        PlayedFleet fleet(TWO);
        fleet.hear(FIRST, R"({"command":"device_info","add_crc":true})");
        QCOMPARE(fleet.pass(1000), 0);
        QCOMPARE(fleet.count(FIRST, &Heard::is_frame), 0);
    }

    void the_last_who_asked_gets_the_frames()
    {
        PlayedFleet fleet(TWO);
        fleet.request_reports();
        fleet.request_reports(FIRST, "10.71.0.2");
        fleet.pass(1000 + TICK);
        for (const Sent &frame : fleet.sent_by(FIRST, &Heard::is_frame))
            QCOMPARE(frame.to, ip("10.71.0.2"));
        for (const Sent &frame : fleet.sent_by(SECOND, &Heard::is_frame))
            QCOMPARE(frame.to, ip(PlayedFleet::MANAGER));
        for (const char *device : {FIRST, SECOND})
            QCOMPARE(fleet.count(device, &Heard::is_frame), 10);
    }

    void frames_end_ten_seconds_after_the_last_request()
    {
        PlayedFleet fleet(TWO);
        fleet.request_reports();
        fleet.pass(5000);
        fleet.request_reports(FIRST);
        fleet.pass(4900 + TICK);
        const int first = fleet.told(0, "frames_sent");
        QCOMPARE(first, 99);
        QCOMPARE(fleet.told(1, "frames_sent"), 99);
        fleet.pass(5000);
        QCOMPARE(fleet.told(0, "frames_sent"), 149);
        QVERIFY(fleet.told(1, "frames_sent") <= 100);
        fleet.pass(100);
        QVERIFY(fleet.told(0, "frames_sent") <= 150);
        QCOMPARE(fleet.pass(60'000), 0); // an unused fleet costs nothing
    }

    void a_fleet_wakes_up_no_more_often_however_many_ask()
    {
        PlayedFleet fleet(TWO);
        for (int i = 0; i < 4; ++i) {
            fleet.request_reports();
            fleet.pass(1);
        }
        QCOMPARE(fleet.pass(100), 20);
        fleet.sent.clear();
        fleet.pass(1000);
        QCOMPARE(fleet.count(FIRST, &Heard::is_frame), 10);
    }

    void a_device_without_frames_leaves_the_others_theirs()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "drop_frames");
        fleet.request_reports();
        fleet.pass(1000 + TICK);
        QCOMPARE(fleet.told(0, "frames_sent"), 0);
        QCOMPARE(fleet.told(1, "frames_sent"), 10);
        fleet.fault(0, "keep_frames");
        fleet.fault(1, "silent");
        fleet.pass(1000);
        QCOMPARE(fleet.told(0, "frames_sent"), 10);
        QCOMPARE(fleet.told(1, "frames_sent"), 10);
    }

    void frames_can_go_to_everybody_on_the_second_port()
    {
        SimulatorOptions options = PlayedFleet::quiet();
        options.metering_broadcast = true;
        PlayedFleet fleet(TWO, options);
        fleet.request_reports();
        fleet.pass(1000);
        const QList<Sent> frames = fleet.sent_by(FIRST, &Heard::is_frame);
        QCOMPARE(frames.size(), 10);
        for (const Sent &frame : frames) {
            QCOMPARE(frame.to, ip("10.71.255.255"));
            QCOMPARE(frame.port, BROADCAST_PORT);
        }
    }

    void frames_move()
    {
        PlayedFleet fleet(TWO);
        fleet.request_reports();
        fleet.pass(2000);
        QSet<QByteArray> different;
        for (const Sent &frame : fleet.sent_by(FIRST, &Heard::is_frame))
            different.insert(frame.bytes);
        QVERIFY(different.size() > 10);
    }

    void a_log_begins_with_the_boot_and_goes_on_at_its_rate()
    {
        PlayedFleet fleet(TWO, talkative());
        fleet.pass(60'000);
        QVERIFY(fleet.sent.isEmpty());
        fleet.log_from(FIRST);
        fleet.pass(2000);
        const QByteArray text = fleet.log_text(FIRST);
        QCOMPARE(text.count('\n'), 3 + 20);
        QCOMPARE(text.count("firmware v1.5.5.8d"), 1);
        QVERIFY(text.indexOf("firmware v1.5.5.8d") < text.indexOf('\n'));
        QCOMPARE(fleet.count(SECOND, &Heard::is_log), 0);
        uint32_t position = 0;
        for (const Sent &message : fleet.sent_by(FIRST, &Heard::is_log)) {
            QCOMPARE(message.to, ip(PlayedFleet::MANAGER));
            QCOMPARE(message.port, MANAGER_PORT);
            QCOMPARE(message.heard.object.value("pos").toInt(), int(position));
            position += static_cast<uint32_t>(message.heard.attachment.size() - 2);
        }
        QCOMPARE(fleet.told(0, "log_bytes_sent"), int(position));
        QCOMPARE(fleet.told(0, "log_messages_sent"), fleet.count(FIRST, &Heard::is_log));
    }

    void a_log_ends_when_it_is_switched_off()
    {
        PlayedFleet fleet(TWO, talkative());
        fleet.log_from(FIRST);
        fleet.pass(1000);
        fleet.log_from(FIRST, false);
        fleet.sent.clear();
        fleet.pass(1000);
        QVERIFY(fleet.sent.isEmpty());
        QCOMPARE(fleet.pass(1000), 0);
    }

    void logging_that_a_fault_switches_ends_and_goes_on()
    {
        PlayedFleet fleet(TWO, talkative());
        fleet.log_from(FIRST);
        fleet.pass(1000);
        set_logging(fleet, false);
        fleet.sent.clear();
        fleet.pass(1000);
        QVERIFY(fleet.sent.isEmpty());
        set_logging(fleet, true);
        fleet.pass(1000);
        QCOMPARE(fleet.log_text(FIRST).count('\n'), 10);
        QCOMPARE(fleet.sent.first().to, ip(PlayedFleet::MANAGER));
    }

    void two_managers_get_the_logs_that_they_switched_on()
    {
        PlayedFleet fleet(TWO, talkative());
        fleet.log_from(FIRST);
        fleet.hear(SECOND, R"({"command":"set_params","logging":{"en":true}})", "10.71.0.2");
        fleet.hear(FIRST, R"({"command":"blink_leds"})", "10.71.0.2"); // says nothing of logs
        fleet.pass(1000);
        for (const Sent &message : fleet.sent_by(FIRST, &Heard::is_log))
            QCOMPARE(message.to, ip(PlayedFleet::MANAGER));
        for (const Sent &message : fleet.sent_by(SECOND, &Heard::is_log))
            QCOMPARE(message.to, ip("10.71.0.2"));
        for (const char *device : {FIRST, SECOND})
            QCOMPARE(fleet.log_text(device).count('\n'), 13);
        fleet.log_from(SECOND, false);
        fleet.sent.clear();
        fleet.pass(1000);
        QCOMPARE(fleet.log_text(FIRST).count('\n'), 10);
        QCOMPARE(fleet.count(SECOND, &Heard::is_log), 0);
    }

    void a_device_can_log_at_a_rate_of_its_own()
    {
        PlayedFleet fleet(TWO, talkative());
        for (const char *device : {FIRST, SECOND})
            fleet.log_from(device);
        fleet.fault(0, "log", {{"rate", 40}});
        fleet.pass(1000);
        QCOMPARE(fleet.log_text(FIRST).count('\n'), 43);
        QCOMPARE(fleet.log_text(SECOND).count('\n'), 13);
        fleet.fault(0, "log", {{"rate", 0}});
        fleet.sent.clear();
        fleet.pass(1000);
        QVERIFY(fleet.log_text(FIRST).isEmpty());
        fleet.fault(0, "log", {{"rate", -1}}); // as the fleet
        fleet.pass(1000);
        QCOMPARE(fleet.log_text(FIRST).count('\n'), 10);
    }

    void a_text_is_logged_once_and_next()
    {
        PlayedFleet fleet(TWO);
        fleet.log_from(FIRST);
        fleet.pass(100);
        fleet.sent.clear();
        fleet.fault(0, "log", {{"text", "hello "}});
        fleet.fault(0, "log", {{"text", "there\n"}});
        fleet.pass(100);
        QCOMPARE(fleet.log_text(FIRST), QByteArray("hello there\n"));
    }

    void lines_tell_the_time_since_the_boot()
    {
        PlayedFleet fleet(TWO, talkative());
        fleet.fault(0, "reboot");
        fleet.pass(3000);
        fleet.pass(62'000);
        fleet.log_from(FIRST);
        fleet.pass(1000);
        const QList<QByteArray> lines = fleet.log_text(FIRST).split('\n');
        QCOMPARE(lines.size(), 13 + 1);
        QVERIFY2(lines[3].startsWith("[    62."), lines[3].constData());
        QVERIFY2(lines[12].startsWith("[    63.000]"), lines[12].constData());
    }

    void a_reboot_ends_the_log_and_the_next_begins_with_the_boot_again()
    {
        PlayedFleet fleet(TWO, talkative());
        fleet.log_from(FIRST);
        fleet.pass(1000);
        fleet.fault(0, "set", {{"state", QJsonObject{{"firmware_version", "v9"}}}});
        fleet.fault(0, "reboot");
        fleet.sent.clear();
        QCOMPARE(fleet.pass(5000), 2); // the tick that was due, and the boot
        QVERIFY(fleet.sent.isEmpty());
        QVERIFY(!fleet.stats(0).value("logging").toBool());
        fleet.log_from(FIRST);
        fleet.pass(1000);
        QCOMPARE(fleet.log_text(FIRST).count("firmware v9"), 1);
        const QList<Sent> messages = fleet.sent_by(FIRST, &Heard::is_log);
        QCOMPARE(messages.first().heard.object.value("pos").toInt(), 0);
        QCOMPARE(fleet.log_text(FIRST).count('\n'), 13);
    }

    void what_does_not_leave_counts_as_lost()
    {
        PlayedFleet fleet(TWO, talkative());
        fleet.log_from(FIRST);
        fleet.fault(0, "loss", {{"percent", 100}, {"direction", "out"}});
        fleet.pass(1000);
        QCOMPARE(fleet.told(0, "log_bytes_sent"), 0);
        QVERIFY(fleet.told(0, "log_bytes_lost") > 500);
    }

    void logs_and_frames_have_the_checksum_that_was_asked_for()
    {
        PlayedFleet fleet(TWO, talkative());
        fleet.fault(0, "wrong_checksum");
        fleet.request_reports();
        fleet.log_from(FIRST);
        fleet.log_from(SECOND);
        fleet.pass(1000);
        QVERIFY(fleet.count(FIRST, &Heard::is_frame) > 0
                && fleet.count(SECOND, &Heard::is_log) > 0);
        for (const Sent &one : fleet.sent) {
            QVERIFY(one.heard.has_checksum);
            QCOMPARE(one.heard.is_right, one.heard.from == QHostAddress(QString(SECOND)));
        }
    }
};

QTEST_GUILESS_MAIN(SimulatorPlayedStreamsTest)
#include "simulator_played_streams_test.moc"
