// What simulated devices hear and say: requests, commands, faults of the network, reboots.
#include "support/played_fleet.h"

using simulator::SimulatorOptions;

namespace {

constexpr const char *BLINK = R"({"command":"blink_leds","seq":1})";

QByteArray many(int count)
{
    return R"({"product": "e5", "count": )" + QByteArray::number(count) + "}";
}

// The latest value of a member that stands in another one.
QJsonValue reported(const PlayedFleet &fleet, const char *from, const char *outer,
                    const char *inner)
{
    const QList<Sent> reports = fleet.sent_by(from, &Heard::is_report);
    if (reports.isEmpty())
        return {};
    return reports.last()
        .heard.object.value(QLatin1String(outer))
        .toObject()
        .value(QLatin1String(inner));
}

} // namespace

class SimulatorTrafficTest : public QObject
{
    Q_OBJECT

private slots:
    void all_answer_a_request_to_all_and_one_a_request_to_one()
    {
        PlayedFleet fleet(TWO);
        fleet.request_reports();
        QCOMPARE(fleet.sent.size(), 2);
        fleet.request_reports(SECOND);
        QCOMPARE(fleet.sent.size(), 3);
        for (const Sent &report : fleet.sent) {
            QVERIFY(report.heard.is_report() && report.heard.is_right);
            QCOMPARE(report.to, ip(PlayedFleet::MANAGER));
            QCOMPARE(report.port, MANAGER_PORT);
        }
        QCOMPARE(fleet.told(0, "requests"), 1);
        QCOMPARE(fleet.told(1, "requests"), 2);
        QCOMPARE(fleet.told(1, "reports_sent"), 2);
    }

    void what_is_for_nobody_here_is_answered_by_nobody()
    {
        PlayedFleet fleet(TWO);
        fleet.request_reports("10.71.0.99");
        fleet.hear("10.71.255.255", BLINK);
        fleet.hear("10.71.255.255", "{");
        fleet.hear("10.71.255.255", R"({"command":"set_params","ui":{"name":"All"}})");
        QVERIFY(fleet.sent.isEmpty());
        QCOMPARE(fleet.told(0, "commands_received"), 0);
        QCOMPARE(fleet.told(0, "requests"), 0);
    }

    void devices_do_not_answer_each_other()
    {
        PlayedFleet fleet(TWO);
        fleet.request_reports("10.71.255.255", SECOND);
        fleet.request_reports(FIRST, SECOND);
        fleet.hear(FIRST, BLINK, SECOND);
        fleet.hear(FIRST, R"({"command":"set_params","status":"ok"})");
        fleet.hear(FIRST, R"({"product":"KESTA"})");
        QVERIFY(fleet.sent.isEmpty());
        QVERIFY(fleet.events.isEmpty());
        QCOMPARE(fleet.told(0, "requests"), 0);
    }

    void a_request_to_all_is_heard_on_the_fleets_interface_only()
    {
        SimulatorOptions options = PlayedFleet::quiet();
        options.interface = "lo"; // the first interface of each system
        options.addresses_exist = true;
        PlayedFleet fleet(TWO, options);
        QCOMPARE(fleet.start_error, QString());
        const QByteArray request = R"({"command":"device_info"})";
        fleet.hear("10.71.255.255", request, PlayedFleet::MANAGER, 2);
        QVERIFY(fleet.sent.isEmpty());
        fleet.hear("10.71.255.255", request, PlayedFleet::MANAGER, 1);
        QCOMPARE(fleet.sent.size(), 2);
        fleet.hear(FIRST, request, PlayedFleet::MANAGER, 2); // to one it finds its way
        QCOMPARE(fleet.sent.size(), 3);
        PlayedFleet everywhere(TWO);
        everywhere.hear("10.71.255.255", request, PlayedFleet::MANAGER, 2);
        QCOMPARE(everywhere.sent.size(), 2);
    }

    void an_interface_that_does_not_exist_is_told()
    {
        SimulatorOptions options = PlayedFleet::quiet();
        options.interface = "none";
        QCOMPARE(PlayedFleet(TWO, options).start_error,
                 QString("there is no network interface \"none\""));
    }

    void a_silent_device_hears_nothing()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "silent");
        fleet.request_reports();
        fleet.request_reports(FIRST);
        fleet.hear(FIRST, BLINK);
        fleet.fault(0, "return");
        QCOMPARE(fleet.count(FIRST, &Heard::is_report), 0);
        for (const char *counter : {"requests", "commands_received", "blinks", "reports_sent"})
            QVERIFY2(fleet.told(0, counter) == 0, counter);
    }

    void loss_on_the_way_in_takes_what_was_said()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "loss", {{"percent", 100}, {"direction", "in"}});
        fleet.request_reports();
        fleet.request_reports(FIRST);
        fleet.hear(FIRST, BLINK);
        QCOMPARE(fleet.told(0, "requests"), 0);
        QCOMPARE(fleet.told(0, "commands_received"), 0);
        QVERIFY(fleet.stats(0).value("reachable").toBool());
        fleet.fault(0, "loss", {{"percent", 0}});
        fleet.request_reports(FIRST);
        QCOMPARE(fleet.count(FIRST, &Heard::is_report), 1);
    }

    void loss_on_the_way_out_takes_what_was_done()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "loss", {{"percent", 100}, {"direction", "out"}});
        fleet.request_reports(FIRST);
        fleet.hear(FIRST, BLINK);
        QVERIFY(fleet.sent.isEmpty());
        QCOMPARE(fleet.told(0, "requests"), 1);
        QCOMPARE(fleet.told(0, "blinks"), 1);
    }

    void loss_takes_about_its_share()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "loss", {{"percent", 20}, {"direction", "out"}});
        for (int i = 0; i < 1000; ++i)
            fleet.request_reports(FIRST);
        const int arrived = fleet.count(FIRST, &Heard::is_report);
        QVERIFY2(arrived > 740 && arrived < 860, qPrintable(QString::number(arrived)));
    }

    void dropped_reports_leave_the_replies_and_dropped_replies_the_reports()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "drop_reports");
        fleet.fault(1, "drop_replies");
        for (const char *device : {FIRST, SECOND}) {
            fleet.request_reports(device);
            fleet.hear(device, BLINK);
            fleet.hear(device, "{");
        }
        QCOMPARE(fleet.count(FIRST, &Heard::is_report), 0);
        QCOMPARE(fleet.count(FIRST, &Heard::is_reply), 2);
        QCOMPARE(fleet.count(SECOND, &Heard::is_report), 1);
        QCOMPARE(fleet.count(SECOND, &Heard::is_reply), 0);
        QCOMPARE(fleet.told(0, "reports_sent"), 0);
        QCOMPARE(fleet.told(0, "replies_sent"), 2);
        QCOMPARE(fleet.told(1, "replies_sent"), 0);
    }

    void answers_are_spread_over_the_time_that_was_asked_for()
    {
        SimulatorOptions options = PlayedFleet::quiet();
        options.spread = 250;
        PlayedFleet fleet(many(200), options);
        const int64_t start = fleet.clock / 1000;
        fleet.request_reports();
        fleet.pass(1000);
        QList<int64_t> times;
        for (const Sent &one : fleet.sent)
            if (one.heard.is_report()) {
                QCOMPARE(one.exact % 5000, 0); // what leaves in one slot is one call to the system
                times.append(one.time - start);
            }
        QCOMPARE(times.size(), 200);
        std::sort(times.begin(), times.end());
        QVERIFY(times.first() >= 1 && times.first() < 30);
        QVERIFY(times.last() > 220 && times.last() <= 255);
        QVERIFY(times[100] > 75 && times[100] < 175);
    }

    void a_delay_makes_reports_and_replies_late()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "delay", {{"ms", 800}});
        const int64_t start = fleet.clock / 1000;
        fleet.request_reports();
        fleet.hear(FIRST, BLINK);
        QCOMPARE(fleet.count(SECOND, &Heard::is_report), 1);
        fleet.pass(799);
        QCOMPARE(fleet.count(FIRST, &Heard::is_reply), 0);
        QCOMPARE(fleet.count(FIRST, &Heard::is_report), 0);
        fleet.pass(6);
        QCOMPARE(fleet.sent_by(FIRST, &Heard::is_reply).at(0).time, start + 800);
        const int64_t late = fleet.sent_by(FIRST, &Heard::is_report).at(0).time - start;
        QVERIFY(late >= 800 && late <= 805);
        fleet.fault(0, "delay", {{"ms", 0}});
        fleet.hear(FIRST, BLINK);
        QCOMPARE(fleet.count(FIRST, &Heard::is_reply), 2);
    }

    void a_command_may_have_8192_bytes()
    {
        PlayedFleet fleet(TWO);
        const QByteArray command = BLINK;
        fleet.hear(FIRST, command + QByteArray(8192 - command.size(), ' '));
        QCOMPARE(fleet.told(0, "blinks"), 1);
        QCOMPARE(fleet.event_names(), QStringList{"blink"});
        fleet.hear(FIRST, command + QByteArray(8193 - command.size(), ' '));
        QCOMPARE(fleet.told(0, "blinks"), 1);
        const QJsonObject reply = fleet.sent_by(FIRST, &Heard::is_reply).last().heard.object;
        const QString error = "8193 bytes, and at most 8192 are read";
        QCOMPARE(reply, (QJsonObject{{"device_id", "id1"}, {"status", "error"}, {"error", error}}));
        QCOMPARE(fleet.event_names(), (QStringList{"blink", "refused"}));
        QCOMPARE(fleet.events.last().value("error").toString(), error);
    }

    void a_command_that_is_refused_tells_reply_and_event_why()
    {
        PlayedFleet fleet(TWO);
        fleet.hear(FIRST, R"({"command":"dance","seq":5})");
        QCOMPARE(fleet.sent_by(FIRST, &Heard::is_reply).at(0).heard.object,
                 (QJsonObject{{"command", "dance"},
                              {"device_id", "id1"},
                              {"seq", 5},
                              {"status", "error"},
                              {"error", "unknown command"}}));
        QCOMPARE(fleet.events.at(0).value("command").toString(), QString("dance"));
        QCOMPARE(fleet.events.at(0).value("error").toString(), QString("unknown command"));
    }

    void a_changed_report_shows_the_clock_and_the_mute_in_turn()
    {
        SimulatorOptions options = PlayedFleet::quiet();
        options.reports_change = 100;
        PlayedFleet fleet(TWO, options);
        int mute_changes = 0;
        bool last_mute = fleet.state(0).value("dsp").toObject().value("mute").toBool();
        int last_lock = fleet.state(0).value("rtp").toObject().value("lock").toInt();
        for (int i = 0; i < 50; ++i) {
            fleet.request_reports(FIRST);
            const int lock = reported(fleet, FIRST, "rtp", "lock").toInt();
            QCOMPARE(lock, last_lock == 3 ? 2 : 3);
            last_lock = lock;
            const bool mute = reported(fleet, FIRST, "dsp", "mute").toBool();
            mute_changes += mute != last_mute ? 1 : 0;
            last_mute = mute;
        }
        QVERIFY2(mute_changes > 10 && mute_changes < 40, "half of the time");
    }

    void reports_change_as_often_as_was_asked_for()
    {
        SimulatorOptions options = PlayedFleet::quiet();
        options.reports_change = 20;
        PlayedFleet fleet(TWO, options);
        int changes = 0;
        QByteArray before;
        for (int i = 0; i < 500; ++i) {
            fleet.request_reports(FIRST);
            const QByteArray now = fleet.sent_by(FIRST, &Heard::is_report).last().bytes;
            changes += now != before ? 1 : 0;
            before = now;
            fleet.sent.clear();
        }
        QVERIFY2(changes > 60 && changes < 140, qPrintable(QString::number(changes)));
    }

    void a_reboot_is_silent_for_its_time_and_tells_both_ends()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "reboot");
        QCOMPARE(fleet.event_names(), QStringList{"reboot"});
        fleet.request_reports();
        fleet.pass(2999);
        QCOMPARE(fleet.event_names(), QStringList{"reboot"});
        QVERIFY(!fleet.stats(0).value("reachable").toBool());
        fleet.pass(1);
        QCOMPARE(fleet.event_names(), (QStringList{"reboot", "boot"}));
        QVERIFY(fleet.stats(0).value("reachable").toBool());
        QCOMPARE(fleet.told(0, "reboots"), 1);
        QCOMPARE(fleet.count(FIRST, &Heard::is_report), 0);
        QVERIFY(!fleet.fault(0, "reboot", {{"ms", 5}}).isEmpty());
        QCOMPARE(fleet.told(0, "reboots"), 1);
    }

    void a_device_that_reboots_again_meanwhile_boots_once()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "reboot");
        fleet.pass(2000);
        fleet.fault(0, "reboot");
        fleet.pass(2999);
        QVERIFY(!fleet.stats(0).value("reachable").toBool());
        fleet.pass(1);
        QVERIFY(fleet.stats(0).value("reachable").toBool());
        QCOMPARE(fleet.event_names(), (QStringList{"reboot", "reboot", "boot"}));
    }

    void what_was_to_leave_during_a_reboot_does_not()
    {
        PlayedFleet fleet(TWO);
        fleet.fault(0, "delay", {{"ms", 100}});
        fleet.request_reports(FIRST);
        fleet.hear(FIRST, BLINK);
        fleet.fault(0, "reboot");
        fleet.pass(5000);
        QCOMPARE(fleet.count(FIRST, &Heard::is_report), 0);
        QCOMPARE(fleet.count(FIRST, &Heard::is_reply), 0);
    }

    void a_reboot_brings_back_what_a_device_finds_by_itself()
    {
        PlayedFleet fleet(TWO);
        const QJsonValue sessions = fleet.state(0).value("streams").toObject().value("list");
        QCOMPARE(sessions.toArray().size(), 5);
        fleet.hear(FIRST, R"({"command":"sap_purge"})");
        fleet.fault(0, "set",
                    {{"state",
                      QJsonObject{{"firmware_update_error", "worn out"},
                                  {"firmware_version", "9"},
                                  {"logging", QJsonObject{{"en", true}}},
                                  {"ui", QJsonObject{{"memo", "stays"}}}}}});
        QVERIFY(fleet.state(0).value("streams").toObject().value("list").toArray().isEmpty());
        fleet.fault(0, "reboot");
        QCOMPARE(fleet.state(0).value("logging").toObject().value("en"), QJsonValue(false));
        fleet.pass(3000);
        const QJsonObject state = fleet.state(0);
        QCOMPARE(state.value("streams").toObject().value("list"), sessions);
        QCOMPARE(state.value("firmware_update_error"), QJsonValue(""));
        QCOMPARE(state.value("firmware_version"), QJsonValue("9"));
        QCOMPARE(state.value("ui").toObject().value("memo"), QJsonValue("stays"));
        fleet.request_reports(FIRST);
        QCOMPARE(reported(fleet, FIRST, "streams", "list"), sessions);
    }

    void what_fits_no_datagram_is_an_event_with_its_size()
    {
        PlayedFleet fleet(TWO);
        const auto send_raw = [&fleet](int size) {
            const QString text = QString::fromLatin1(QByteArray(size, 'x').toBase64());
            fleet.fault(0, "send_raw", {{"base64", text}, {"to", "10.71.0.1"}});
        };
        send_raw(65'507);
        QCOMPARE(fleet.sent.size(), 1);
        QVERIFY(fleet.events.isEmpty());
        send_raw(65'508);
        QCOMPARE(fleet.sent.size(), 1);
        QCOMPARE(fleet.event_names(), QStringList{"too_large"});
        QCOMPARE(fleet.events.at(0).value("bytes").toInt(), 65'508);
    }

    void checksums_are_sent_to_who_asks_for_them()
    {
        PlayedFleet fleet(TWO);
        fleet.hear(FIRST, BLINK); // as with the last request; before the first with one
        fleet.hear(FIRST, R"({"command":"device_info"})");
        fleet.hear(FIRST, BLINK);
        fleet.request_reports(FIRST);
        fleet.hear(FIRST, BLINK);
        QList<bool> have;
        for (const Sent &one : fleet.sent)
            have.append(one.heard.has_checksum);
        QCOMPARE(have, (QList<bool>{true, false, false, true, true}));
    }
};

QTEST_GUILESS_MAIN(SimulatorTrafficTest)
#include "simulator_traffic_test.moc"
