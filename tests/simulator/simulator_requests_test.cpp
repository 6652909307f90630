// What a person at the fleet asks of it while it runs.
#include "support/played_fleet.h"

#include <QSignalSpy>

using simulator::SimulatorOptions;

namespace {

constexpr const char *FOUR = R"({"product": "Y6", "name": "One", "device_id": "id1"},
    {"product": 1000, "name": "Two", "device_id": "id2"},
    {"product": "e5", "name": "3", "device_id": "id3"},
    {"product": "e5", "name": "Four", "device_id": "id4"})";

QStringList ids(const QJsonObject &answer)
{
    QStringList found;
    for (const QJsonValue &state : answer.value("states").toArray())
        found.append(state.toObject().value("device_id").toString());
    return found;
}

} // namespace

class SimulatorRequestsTest : public QObject
{
    Q_OBJECT

private slots:
    void devices_are_named_in_many_ways_data()
    {
        QTest::addColumn<QJsonValue>("which");
        QTest::addColumn<QStringList>("found");
        QTest::newRow("an index") << QJsonValue(1) << QStringList{"id2"};
        QTest::newRow("the first index") << QJsonValue(0) << QStringList{"id1"};
        QTest::newRow("the last index") << QJsonValue(3) << QStringList{"id4"};
        QTest::newRow("an index beyond the last") << QJsonValue(4) << QStringList{};
        QTest::newRow("a negative index") << QJsonValue(-1) << QStringList{};
        QTest::newRow("half an index") << QJsonValue(0.5) << QStringList{};
        QTest::newRow("an id") << QJsonValue("id3") << QStringList{"id3"};
        QTest::newRow("a name") << QJsonValue("Two") << QStringList{"id2"};
        QTest::newRow("an index as a text") << QJsonValue("1") << QStringList{"id2"};
        QTest::newRow("a name that is a number") << QJsonValue("3") << QStringList{"id3"};
        QTest::newRow("nobody's name") << QJsonValue("Five") << QStringList{};
        QTest::newRow("no name") << QJsonValue("") << QStringList{};
        QTest::newRow("all") << QJsonValue("all") << QStringList{"id1", "id2", "id3", "id4"};
        QTest::newRow("a list") << QJsonValue(QJsonArray{3, "Two", "id1"})
                                << QStringList{"id4", "id2", "id1"};
        QTest::newRow("a list with a stranger")
            << QJsonValue(QJsonArray{3, "Five"}) << QStringList{};
        QTest::newRow("nothing") << QJsonValue(QJsonValue::Undefined) << QStringList{};
        QTest::newRow("true") << QJsonValue(true) << QStringList{};
    }

    void devices_are_named_in_many_ways()
    {
        QFETCH(QJsonValue, which);
        QFETCH(QStringList, found);
        PlayedFleet fleet(FOUR);
        const QJsonObject answer = fleet.ask({{"state", true}, {"device", which}});
        QCOMPARE(ids(answer), found);
        QCOMPARE(answer.value("error").toString(),
                 found.isEmpty() ? QString("there is no such device") : QString());
    }

    void no_name_is_nobodys_even_when_a_device_has_none()
    {
        PlayedFleet fleet(R"({"product": 0}, {"product": 0})");
        QVERIFY(fleet.ask({{"state", true}, {"device", ""}}).contains("error"));
    }

    void equal_seeds_make_equal_fleets_and_others_others()
    {
        const auto first_id = [](uint64_t seed) {
            SimulatorOptions options = PlayedFleet::quiet();
            options.seed = seed;
            PlayedFleet fleet(R"({"product": "e5"}, {"product": "e5"})", options);
            return fleet.state(0).value("device_id").toString();
        };
        QCOMPARE(first_id(7), first_id(7));
        QVERIFY(first_id(7) != first_id(8));
    }

    void an_answer_brings_the_id_back_and_says_whether_all_went_well()
    {
        PlayedFleet fleet(FOUR);
        const QJsonObject silent{{"fault", "silent"}, {"device", 0}, {"id", "mine"}};
        QCOMPARE(fleet.ask(silent), (QJsonObject{{"devices", 1}, {"id", "mine"}, {"ok", true}}));
        const QJsonObject wrong{{"state", true}, {"device", 9}, {"id", 7}};
        QCOMPARE(fleet.ask(wrong), (QJsonObject{{"error", "there is no such device"}, {"id", 7}}));
        QVERIFY(!fleet.ask({{"nothing", 1}}).contains("id"));
        QCOMPARE(fleet.fault("all", "silent"), QString());
        QCOMPARE(fleet.ask({{"fault", "return"}, {"device", "all"}}).value("devices").toInt(), 4);
    }

    void a_fault_of_a_fleet_file_strikes_its_own_device()
    {
        PlayedFleet fleet(R"({"product": "e5"},
            {"product": "e5", "faults": [{"fault": "silent"}, {"fault": "delay", "ms": 5}]},
            {"product": "e5"})");
        QCOMPARE(fleet.start_error, QString());
        for (int device = 0; device < 3; ++device)
            QCOMPARE(fleet.stats(device).value("reachable").toBool(), device != 1);
    }

    void a_fleet_file_that_cannot_be_played_is_told_with_its_device_data()
    {
        QTest::addColumn<QByteArray>("second");
        QTest::addColumn<QString>("error");
        QTest::newRow("an unknown fault") << QByteArray(R"("faults": [{"fault": "sulk"}])")
                                          << "device 2: fault: unknown fault \"sulk\"";
        QTest::newRow("a state that fits no report")
            << QByteArray("\"memo\": \"" + QByteArray(65'000, 'x') + '"') << "device 2: ";
    }

    void a_fleet_file_that_cannot_be_played_is_told_with_its_device()
    {
        QFETCH(QByteArray, second);
        QFETCH(QString, error);
        const PlayedFleet fleet(R"({"product": "e5"}, {"product": "e5", )" + second + "}");
        QVERIFY2(fleet.start_error.startsWith(error), qPrintable(fleet.start_error));
    }

    void a_fault_comes_exactly_when_it_was_asked_for()
    {
        PlayedFleet fleet(FOUR);
        QCOMPARE(fleet.fault(QJsonArray{0, 1}, "silent", {{"after", 2.5}}), QString());
        fleet.pass(2499);
        QVERIFY(fleet.stats(0).value("reachable").toBool());
        fleet.pass(1);
        QVERIFY(!fleet.stats(0).value("reachable").toBool());
        QVERIFY(!fleet.stats(1).value("reachable").toBool());
        QVERIFY(fleet.stats(2).value("reachable").toBool());
        QVERIFY(fleet.events.isEmpty());
    }

    void a_fault_that_turns_out_wrong_later_makes_an_event()
    {
        PlayedFleet fleet(FOUR);
        QCOMPARE(fleet.fault(0, "sulk", {{"after", 1}}), QString());
        fleet.pass(1000);
        QCOMPARE(fleet.events,
                 (QList<QJsonObject>{{{"event", "fault"}, {"error", "unknown fault \"sulk\""}}}));
    }

    void later_lies_ahead()
    {
        PlayedFleet fleet(FOUR);
        for (const QJsonValue &after : {QJsonValue(-1), QJsonValue(1'000'001), QJsonValue("soon")})
            QVERIFY(fleet.fault(0, "silent", {{"after", after}}).contains("\"after\""));
        QCOMPARE(fleet.fault(0, "silent", {{"after", 1'000'000}}), QString());
        QVERIFY(fleet.stats(0).value("reachable").toBool());
    }

    void the_first_of_several_devices_that_refuses_ends_a_fault()
    {
        PlayedFleet fleet(FOUR);
        QVERIFY(!fleet.fault("all", "silent", {{"ms", 5}}).isEmpty());
        for (int device = 0; device < 4; ++device)
            QVERIFY(fleet.stats(device).value("reachable").toBool());
    }

    void a_report_that_nobody_asked_for_goes_to_who_listens()
    {
        PlayedFleet fleet(FOUR);
        QCOMPARE(fleet.fault(0, "report"), QString());
        QVERIFY(fleet.sent.isEmpty()); // nobody listens yet
        fleet.request_reports();
        fleet.sent.clear();
        QCOMPARE(fleet.fault(0, "report"), QString());
        const QList<Sent> reports = fleet.sent_by("10.71.0.10", &Heard::is_report);
        QCOMPARE(reports.size(), 1);
        QCOMPARE(fleet.sent.size(), 1);
        QCOMPARE(reports[0].to, ip("10.71.0.1"));
        QCOMPARE(reports[0].port, MANAGER_PORT);
        QVERIFY(!fleet.fault(0, "report", {{"to", "10.71.0.2"}}).isEmpty());
    }

    void raw_bytes_go_where_they_are_told()
    {
        PlayedFleet fleet(FOUR);
        const QJsonObject bytes{{"base64", "AAEC"}};
        QVERIFY(fleet.fault(0, "send_raw", bytes).contains("no manager has asked yet"));
        QJsonObject away = bytes;
        away.insert("to", "10.71.0.9");
        away.insert("port", 4000);
        away.insert("times", 2);
        QCOMPARE(fleet.fault(0, "send_raw", away), QString());
        fleet.request_reports("10.71.0.10");
        QCOMPARE(fleet.sent.size(), 3);
        QCOMPARE(fleet.fault(0, "send_raw", bytes), QString());
        QCOMPARE(fleet.sent.size(), 4);
        for (const int one : {0, 1, 3})
            QCOMPARE(fleet.sent[one].bytes, QByteArray("\0\1\2", 3));
        QCOMPARE(fleet.sent[1].to, ip("10.71.0.9"));
        QCOMPARE(fleet.sent[1].port, uint16_t{4000});
        QCOMPARE(fleet.sent[3].to, ip("10.71.0.1"));
        QCOMPARE(fleet.sent[3].port, MANAGER_PORT);
    }

    void raw_bytes_have_bounds_data()
    {
        QTest::addColumn<QJsonObject>("members");
        QTest::newRow("port 0") << QJsonObject{{"to", "10.71.0.9"}, {"port", 0}};
        QTest::newRow("port 65536") << QJsonObject{{"to", "10.71.0.9"}, {"port", 65'536}};
        QTest::newRow("no time") << QJsonObject{{"to", "10.71.0.9"}, {"times", 0}};
        QTest::newRow("100,001 times") << QJsonObject{{"to", "10.71.0.9"}, {"times", 100'001}};
        QTest::newRow("IPv6") << QJsonObject{{"to", "fe80::1"}};
        QTest::newRow("a name") << QJsonObject{{"to", "there"}};
        QTest::newRow("no base64") << QJsonObject{{"to", "10.71.0.9"}, {"base64", "*"}};
    }

    void raw_bytes_have_bounds()
    {
        QFETCH(QJsonObject, members);
        PlayedFleet fleet(FOUR);
        QVERIFY(!fleet.fault(0, "send_raw", members).isEmpty());
        QVERIFY(fleet.sent.isEmpty());
    }

    void a_wrong_address_is_no_new_address()
    {
        PlayedFleet fleet(FOUR);
        for (const char *text : {"fe80::1", "there", ""})
            QCOMPARE(fleet.fault(0, "change_address", {{"address", text}}),
                     QString("\"address\" must be an IPv4 address"));
        QCOMPARE(fleet.stats(0).value("address").toString(), QString("10.71.0.10"));
        QCOMPARE(fleet.fault(0, "change_address", {{"address", "10.71.0.99"}}), QString());
        QCOMPARE(fleet.stats(0).value("address").toString(), QString("10.71.0.99"));
        const QJsonObject net = fleet.state(0).value("net").toObject();
        QCOMPARE(net.value("ip").toString(), QString("10.71.0.99"));
    }

    void counting_starts_again_after_a_reset()
    {
        PlayedFleet fleet(FOUR, {.first_address = ip("10.71.0.10"), .spread = 0, .log_rate = 50});
        fleet.log_from("10.71.0.10");
        for (int i = 0; i < 3; ++i)
            fleet.hear("10.71.0.10", R"({"command":"blink_leds"})");
        fleet.request_reports();
        fleet.pass(1000);
        fleet.fault(0, "reboot");
        const QStringList counters{"requests",     "commands_received", "replies_sent",
                                   "reports_sent", "frames_sent",       "blinks",
                                   "reboots",      "log_messages_sent", "log_bytes_sent"};
        const QJsonObject before = fleet.stats(0);
        QCOMPARE(before.value("device_id"), QJsonValue("id1"));
        QCOMPARE(before.value("name"), QJsonValue("One"));
        QCOMPARE(before.value("blinks"), QJsonValue(3));
        QCOMPARE(before.value("commands_received"), QJsonValue(4));
        QCOMPARE(before.value("replies_sent"), QJsonValue(4));
        QCOMPARE(before.value("reboots"), QJsonValue(1));
        QCOMPARE(before.value("requests"), QJsonValue(1));
        for (const QString &counter : counters)
            QVERIFY2(before.value(counter).toInt() > 0, qPrintable(counter));
        const QJsonObject told = fleet.ask({{"stats", true}, {"device", 0}, {"reset", true}});
        QCOMPARE(told.value("stats").toArray().at(0).toObject(), before); // as it was until now
        const QJsonObject after = fleet.stats(0);
        for (const QString &counter : counters)
            QCOMPARE(after.value(counter), QJsonValue(0));
        QVERIFY(after.value("commands").toArray().isEmpty());
        QCOMPARE(fleet.told(1, "requests"), 1); // another device
    }

    void stats_without_a_device_tell_of_all()
    {
        PlayedFleet fleet(FOUR);
        QCOMPARE(fleet.ask({{"stats", true}}).value("stats").toArray().size(), 4);
        QVERIFY(fleet.ask({{"stats", true}, {"device", 4}}).contains("error"));
    }

    void an_option_is_in_force_from_its_request_on_data()
    {
        QTest::addColumn<QJsonObject>("options");
        QTest::addColumn<int>("frames"); // in a second
        QTest::addColumn<int>("lines");
        QTest::addColumn<int>("last_report"); // ms after the request
        QTest::addColumn<int>("away");        // ms after a reboot
        QTest::newRow("as it was") << QJsonObject{} << 10 << 5 << 0 << 3000;
        QTest::newRow("metering_rate")
            << QJsonObject{{"metering_rate", 20}} << 20 << 5 << 0 << 3000;
        QTest::newRow("log_rate") << QJsonObject{{"log_rate", 50}} << 10 << 50 << 0 << 3000;
        QTest::newRow("spread") << QJsonObject{{"spread", 60'000}} << 10 << 5 << 60'000 << 3000;
        QTest::newRow("reboot_time") << QJsonObject{{"reboot_time", 70}} << 10 << 5 << 0 << 70;
    }

    void an_option_is_in_force_from_its_request_on()
    {
        QFETCH(QJsonObject, options);
        QFETCH(int, frames);
        QFETCH(int, lines);
        QFETCH(int, last_report);
        QFETCH(int, away);
        PlayedFleet fleet(FOUR, {.first_address = ip("10.71.0.10"), .spread = 0});
        fleet.log_from("10.71.0.10");
        QCOMPARE(fleet.ask({{"options", options}}), (QJsonObject{{"ok", true}}));
        fleet.request_reports();
        QCOMPARE(fleet.count("10.71.0.10", &Heard::is_report), last_report == 0 ? 1 : 0);
        fleet.pass(1000);
        QCOMPARE(fleet.told(0, "frames_sent"), frames);
        const int boot_lines = 3;
        QCOMPARE(fleet.log_text("10.71.0.10").count('\n'), boot_lines + lines);
        fleet.pass(last_report + 5);
        QCOMPARE(fleet.count("10.71.0.10", &Heard::is_report), 1);
        fleet.fault(0, "reboot");
        fleet.pass(away - 1);
        QVERIFY(!fleet.stats(0).value("reachable").toBool());
        fleet.pass(1);
        QVERIFY(fleet.stats(0).value("reachable").toBool());
    }

    void each_option_has_bounds_data()
    {
        QTest::addColumn<int>("largest");
        QTest::newRow("metering_rate") << 1000;
        QTest::newRow("log_rate") << 1'000'000;
        QTest::newRow("reports_change") << 100;
        QTest::newRow("spread") << 60'000;
        QTest::newRow("reboot_time") << 600'000;
        QTest::newRow("flash_time") << 600'000;
    }

    void each_option_has_bounds()
    {
        QFETCH(int, largest);
        PlayedFleet fleet(FOUR);
        const auto is_taken = [&fleet](int value) {
            const QJsonObject options{{QTest::currentDataTag(), value}};
            return fleet.ask({{"options", options}}).contains("ok");
        };
        QVERIFY(is_taken(0));
        QVERIFY(is_taken(largest));
        QVERIFY(!is_taken(-1));
        QVERIFY(!is_taken(largest + 1));
    }

    void one_wrong_option_leaves_all_as_they_were()
    {
        PlayedFleet fleet(FOUR);
        const QJsonObject options{{"reboot_time", 1}, {"colour", "red"}};
        QCOMPARE(fleet.ask({{"options", options}}).value("error").toString(),
                 QString("unknown member \"colour\""));
        fleet.fault(0, "reboot");
        fleet.pass(2999);
        QVERIFY(!fleet.stats(0).value("reachable").toBool());
    }

    void quit_is_answered_and_passed_on()
    {
        PlayedFleet fleet(FOUR);
        QSignalSpy quits(&fleet.fleet, &simulator::Fleet::quit_asked);
        QCOMPARE(fleet.ask({{"quit", true}}), (QJsonObject{{"ok", true}}));
        QCOMPARE(quits.size(), 1);
    }

    void an_event_tells_whose_it_is()
    {
        PlayedFleet fleet(FOUR);
        fleet.hear("10.71.0.11", R"({"command":"blink_leds"})");
        QCOMPARE(fleet.events,
                 (QList<QJsonObject>{
                     {{"event", "blink"}, {"index", 1}, {"device_id", "id2"}, {"name", "Two"}}}));
    }
};

QTEST_GUILESS_MAIN(SimulatorRequestsTest)
#include "simulator_requests_test.moc"
