// Fleet files, the command line, addresses and the schedule of the simulator.
#include "model/meta.h"
#include "simulator/address_range.h"
#include "simulator/fleet_file.h"
#include "simulator/member_reader.h"
#include "simulator/options.h"
#include "simulator/schedule.h"

#include <QHostAddress>
#include <QTemporaryDir>
#include <QtTest>

using namespace simulator;

namespace {

uint32_t ip(const char *text)
{
    return QHostAddress(QString(text)).toIPv4Address();
}

QStringList block_texts(const std::vector<uint32_t> &addresses)
{
    QStringList texts;
    for (const AddressBlock &block : cover_addresses(addresses))
        texts.append(block_text(block));
    return texts;
}

std::vector<uint32_t> range(const char *first, uint32_t count)
{
    std::vector<uint32_t> addresses;
    for (uint32_t i = 0; i < count; ++i)
        addresses.push_back(ip(first) + i);
    return addresses;
}

ParsedOptions parsed(const QStringList &arguments)
{
    return parse_options(QStringList{"loudspeaker-simulator"} + arguments);
}

} // namespace

class SimulatorOptionsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { build_catalogue(); }

    void a_fleet_file_says_what_each_device_is()
    {
        const FleetFile fleet = parse_fleet(R"({"devices": [
            {"product": "VELMARK Y6 dp", "name": "Left", "location": "Stage", "memo": "m",
             "order": 7, "device_id": "abc", "address": "10.71.3.4", "firmware_version": "1.1",
             "fw_magic": 0, "levels": [40, 50], "streams": [{"n": "S", "i": "I", "c": 2}],
             "state": {"dsp": {"level": 1}}, "faults": [{"fault": "silent"}]},
            {"product": 29}]})");
        QCOMPARE(fleet.error, QString());
        QCOMPARE(fleet.plans.size(), size_t{2});
        const DevicePlan &first = fleet.plans[0];
        QCOMPARE(first.product_id, 6);
        QCOMPARE(first.name, QString("Left"));
        QCOMPARE(first.location, QString("Stage"));
        QCOMPARE(first.memo, QString("m"));
        QCOMPARE(first.order, 7);
        QCOMPARE(first.device_id, QString("abc"));
        QCOMPARE(first.address, ip("10.71.3.4"));
        QCOMPARE(first.firmware_version, QString("1.1"));
        QCOMPARE(first.fw_magic, std::optional<uint32_t>(0));
        QCOMPARE(first.levels, (std::vector<int>{40, 50}));
        QCOMPARE(first.sessions->size(), 1);
        QCOMPARE(first.state.size(), 1);
        QCOMPARE(first.faults.size(), 1);
        const DevicePlan &second = fleet.plans[1];
        QCOMPARE(second.product_id, 29);
        QCOMPARE(second.order, 2);
        QCOMPARE(second.firmware_version, QString("v1.5.5.8d"));
        QVERIFY(!second.fw_magic && !second.sessions && second.levels.empty());
    }

    void a_product_is_found_by_a_part_of_its_name()
    {
        QCOMPARE(parse_fleet(R"({"devices": [{"product": "y6"}]})").plans[0].product_id, 6);
        QCOMPARE(parse_fleet(R"({"devices": [{"product": 12345}]})").plans[0].product_id, 12345);
        QCOMPARE(parse_fleet(R"({"devices": [{"product": "velmark Y6 DP"}]})").plans[0].product_id,
                 6);
    }

    void a_fleet_file_has_bounds_that_can_be_reached()
    {
        const FleetFile large = parse_fleet(R"({"devices": [{"product": "e5", "count": 10000}]})");
        QCOMPARE(large.error, QString());
        QCOMPARE(large.plans.size(), size_t{10'000});
        const FleetFile magic
            = parse_fleet(R"({"devices": [{"product": "e5", "fw_magic": 4294967295}]})");
        QCOMPARE(magic.error, QString());
        QCOMPARE(magic.plans[0].fw_magic, std::optional<uint32_t>(4'294'967'295U));
    }

    void one_row_can_stand_for_many_devices()
    {
        const FleetFile fleet = parse_fleet(
            R"({"sessions": [], "devices": [{"product": "e5", "count": 3, "name": "Fill %1"}]})");
        QCOMPARE(fleet.error, QString());
        QCOMPARE(fleet.plans.size(), size_t{3});
        QCOMPARE(fleet.plans[2].name, QString("Fill 3"));
        QCOMPARE(fleet.plans[2].order, 3);
        QVERIFY(fleet.plans[2].sessions && fleet.plans[2].sessions->isEmpty());
    }

    void faults_of_a_fleet_file_are_told_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("error");
        const auto device = [](const char *members) {
            return QByteArray(R"({"devices": [{"product": "e5"}, {)") + members + "}]}";
        };
        QTest::newRow("no JSON") << QByteArray("{\n\n x") << "line 3: ";
        QTest::newRow("empty") << QByteArray() << "line 1: ";
        QTest::newRow("a list") << QByteArray("[]") << "must be an object";
        QTest::newRow("no devices") << QByteArray("{}") << "\"devices\" is missing or empty";
        QTest::newRow("devices no list") << QByteArray(R"({"devices": 5})") << "must be a list";
        QTest::newRow("stray member")
            << QByteArray(R"({"device": []})") << "unknown member \"device\"";
        QTest::newRow("no product") << device("") << "device 2: \"product\" is missing";
        QTest::newRow("unknown product")
            << device(R"("product": "Z9")") << "device 2: unknown product \"Z9\"";
        QTest::newRow("two products")
            << device(R"("product": "N2")") << "VELMARK N20 dp, VELMARK N24 dp";
        QTest::newRow("half a product") << device(R"("product": 1.5)") << "whole number";
        QTest::newRow("typing error")
            << device(R"("product": "e5", "nmae": "x")") << "unknown member \"nmae\"";
        QTest::newRow("name no text")
            << device(R"("product": "e5", "name": 5)") << "\"name\" must be a text";
        QTest::newRow("bad address")
            << device(R"("product": "e5", "address": "here")") << "no IPv4 address";
        QTest::newRow("IPv6") << device(R"("product": "e5", "address": "fe80::1")")
                              << "no IPv4 address";
        for (const char *levels : {"[71]", "71", "[40, -1]", "[1.5]", "1.5", "\"40\"", "[true]"})
            QTest::addRow("levels %s", levels)
                << device((std::string(R"("product": "e5", "levels": )") + levels).c_str())
                << "a whole number from 0 to 70";
        QTest::newRow("streams") << device(R"("product": "e5", "streams": [{"c": 1}])")
                                 << "\"streams\" must hold";
        QTest::newRow("magic") << device(R"("product": "e5", "fw_magic": 5e9)") << "\"fw_magic\"";
        QTest::newRow("count") << device(R"("product": "e5", "count": 0)") << "\"count\"";
        QTest::newRow("count and id")
            << device(R"("product": "e5", "count": 2, "device_id": "x")") << "goes with neither";
        QTest::newRow("too many") << device(R"("product": "e5", "count": 10000)") << "more than";
        QTest::newRow("faults") << device(R"("product": "e5", "faults": ["silent"])")
                                << "\"faults\" must hold";
    }

    void faults_of_a_fleet_file_are_told()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, error);
        const FleetFile fleet = parse_fleet(text);
        QVERIFY(!fleet.error.isEmpty());
        QVERIFY2(fleet.error.contains(error), qPrintable(fleet.error));
    }

    void a_missing_file_is_named()
    {
        const FleetFile fleet = load_fleet("/nowhere/fleet.json");
        QVERIFY(fleet.error.startsWith("/nowhere/fleet.json: "));
    }

    void a_faulty_file_is_named()
    {
        const QTemporaryDir folder;
        QFile file(folder.filePath("f.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("{}");
        file.close();
        QCOMPARE(load_fleet(file.fileName()).error,
                 file.fileName() + ": \"devices\" is missing or empty");
    }

    void options_have_their_usual_values()
    {
        const ParsedOptions result = parsed({"--count", "24", "--interface", "fleet"});
        QCOMPARE(result.error, QString());
        QCOMPARE(result.options.count, 24);
        QCOMPARE(result.options.interface, QString("fleet"));
        QCOMPARE(result.options.first_address, ip("10.71.0.10"));
        QCOMPARE(result.options.spread, 250);
        QCOMPARE(result.options.metering_rate, 10.0);
        QCOMPARE(result.options.reboot_time, 3000);
        QCOMPARE(result.options.flash_time, 1500);
        QCOMPARE(result.options.log_rate, 5.0);
        QCOMPARE(result.options.reports_change, 0.0);
        QCOMPARE(result.options.prefix_length, 16);
        QVERIFY(!result.options.metering_broadcast && !result.options.addresses_exist);
        QVERIFY(result.options.store_folder.isEmpty() && result.options.fleet_file.isEmpty());
        QCOMPARE(result.options.seed, uint64_t{1});
        QVERIFY(!result.options.exit_with_stdin);
    }

    void options_are_read()
    {
        const ParsedOptions result
            = parsed({"--fleet", "f", "--addresses-exist", "--burst", "--metering-rate", "2.5",
                      "--reports-change=10", "--seed", "77", "--first-address", "127.0.0.10"});
        QCOMPARE(result.error, QString());
        QCOMPARE(result.options.spread, 0);
        QCOMPARE(result.options.metering_rate, 2.5);
        QCOMPARE(result.options.reports_change, 10.0);
        QCOMPARE(result.options.seed, uint64_t{77});
        QCOMPARE(result.options.first_address, ip("127.0.0.10"));
    }

    void each_option_reaches_its_place()
    {
        const ParsedOptions result
            = parsed({"--fleet", "f", "--interface", "i", "--metering-broadcast", "--log-rate", "7",
                      "--store", "folder", "--reboot-time", "8", "--flash-time", "9",
                      "--prefix-length", "24", "--spread", "10", "--exit-with-stdin"});
        QCOMPARE(result.error, QString());
        QCOMPARE(result.options.fleet_file, QString("f"));
        QVERIFY(result.options.metering_broadcast);
        QCOMPARE(result.options.log_rate, 7.0);
        QCOMPARE(result.options.store_folder, QString("folder"));
        QCOMPARE(result.options.reboot_time, 8);
        QCOMPARE(result.options.flash_time, 9);
        QCOMPARE(result.options.prefix_length, 24);
        QCOMPARE(result.options.spread, 10);
        QVERIFY(result.options.exit_with_stdin && !result.options.addresses_exist);
    }

    void each_number_has_a_largest_value_data()
    {
        QTest::addColumn<qint64>("largest");
        QTest::newRow("count") << qint64{10'000};
        QTest::newRow("prefix-length") << qint64{30};
        QTest::newRow("spread") << qint64{60'000};
        QTest::newRow("metering-rate") << qint64{1000};
        QTest::newRow("log-rate") << qint64{1'000'000};
        QTest::newRow("reboot-time") << qint64{600'000};
        QTest::newRow("flash-time") << qint64{600'000};
        QTest::newRow("reports-change") << qint64{100};
        QTest::newRow("seed") << qint64{9'000'000'000'000'000};
    }

    void each_number_has_a_largest_value()
    {
        QFETCH(qint64, largest);
        const auto error_of = [](qint64 value) {
            const QString option = QString("--%1=%2").arg(QTest::currentDataTag()).arg(value);
            return parsed({"--count", "1", "--interface", "i", option}).error;
        };
        QCOMPARE(error_of(largest), QString());
        QVERIFY(error_of(largest + 1).contains(QTest::currentDataTag()));
    }

    void wrong_options_are_told_data()
    {
        QTest::addColumn<QStringList>("arguments");
        QTest::addColumn<QString>("error");
        const QStringList good{"--count", "1", "--interface", "x"};
        QTest::newRow("nothing") << QStringList{} << "say which devices";
        QTest::newRow("no interface") << QStringList{"--count", "1"} << "--interface";
        QTest::newRow("both") << good + QStringList{"--fleet", "f"} << "exclude each other";
        QTest::newRow("unknown") << good + QStringList{"--colour"} << "colour";
        QTest::newRow("stray") << good + QStringList{"file"} << "unexpected argument \"file\"";
        QTest::newRow("no number")
            << QStringList{"--count", "many", "--interface", "x"} << "--count";
        QTest::newRow("negative") << good + QStringList{"--spread", "-1"} << "--spread";
        QTest::newRow("fraction") << good + QStringList{"--spread", "1.5"} << "whole";
        QTest::newRow("not finite") << good + QStringList{"--seed", "nan"} << "--seed";
        QTest::newRow("infinite") << good + QStringList{"--log-rate", "inf"} << "--log-rate";
        QTest::newRow("address") << good + QStringList{"--first-address", "x"} << "--first-address";
        QTest::newRow("percent") << good + QStringList{"--reports-change", "101"}
                                 << "--reports-change";
    }

    void wrong_options_are_told()
    {
        QFETCH(QStringList, arguments);
        QFETCH(QString, error);
        const ParsedOptions result = parsed(arguments);
        QVERIFY2(result.error.contains(error), qPrintable(result.error));
        QVERIFY(!result.error.isEmpty());
    }

    void help_is_a_message() { QVERIFY(parsed({"--help"}).message.contains("--first-address")); }

    void addresses_count_upwards_around_those_that_are_taken()
    {
        std::vector<DevicePlan> plans(4);
        plans[1].address = ip("10.71.0.11");
        QCOMPARE(assign_addresses(plans, ip("10.71.0.10")), QString());
        QCOMPARE(plans[0].address, ip("10.71.0.10"));
        QCOMPARE(plans[1].address, ip("10.71.0.11"));
        QCOMPARE(plans[2].address, ip("10.71.0.12"));
        QCOMPARE(plans[3].address, ip("10.71.0.13"));
    }

    void addresses_end_with_the_last()
    {
        std::vector<DevicePlan> plans(3);
        QVERIFY(!assign_addresses(plans, ip("255.255.255.253")).isEmpty());
    }

    void blocks_hold_exactly_the_addresses()
    {
        QCOMPARE(block_texts(range("10.71.0.10", 1)), (QStringList{"10.71.0.10/32"}));
        QCOMPARE(block_texts(range("10.71.0.10", 8)),
                 (QStringList{"10.71.0.10/31", "10.71.0.12/30", "10.71.0.16/31"}));
        QCOMPARE(block_texts(range("10.71.0.0", 256)), (QStringList{"10.71.0.0/24"}));
        QCOMPARE(block_texts({ip("10.0.0.9"), ip("10.0.0.2"), ip("10.0.0.9"), ip("10.0.0.3")}),
                 (QStringList{"10.0.0.2/31", "10.0.0.9/32"}));
        QCOMPARE(block_texts({}), QStringList());
        QVERIFY(block_texts(range("10.71.0.10", 3000)).size() < 20);
    }

    void the_last_address_of_all_is_covered()
    {
        QCOMPARE(block_texts(range("255.255.255.252", 3)),
                 (QStringList{"255.255.255.252/31", "255.255.255.254/32"}));
    }

    void a_broadcast_address_fills_the_host_bits()
    {
        QCOMPARE(broadcast_address(ip("10.71.3.4"), 16), ip("10.71.255.255"));
        QCOMPARE(broadcast_address(ip("10.71.3.4"), 30), ip("10.71.3.7"));
        QCOMPARE(broadcast_address(ip("10.71.3.4"), 0), ip("255.255.255.255"));
    }

    void what_is_added_is_removed_in_turn()
    {
        const AddressBlock host{.address = ip("10.71.0.10"), .prefix_length = 16};
        const std::vector<AddressBlock> blocks = cover_addresses({ip("10.71.0.11")});
        QCOMPARE(address_batch(AddressChange::ADD, "fleet", host, blocks),
                 QByteArray("address replace 10.71.0.10/16 broadcast + dev fleet\n"
                            "route replace local 10.71.0.11/32 dev fleet\n"));
        QCOMPARE(address_batch(AddressChange::REMOVE, "fleet", host, blocks),
                 QByteArray("route del local 10.71.0.11/32 dev fleet\n"
                            "address del 10.71.0.10/16 dev fleet\n"));
        QCOMPARE(address_batch(AddressChange::ADD, "fleet", {}, {}), QByteArray());
    }

    void work_runs_in_order_of_time_and_then_of_adding()
    {
        Schedule schedule;
        QString done;
        schedule.at(20, [&done] { done += "c"; });
        schedule.at(10, [&done] { done += "a"; });
        schedule.at(10, [&done] { done += "b"; });
        schedule.at(30, [&done] { done += "d"; });
        QCOMPARE(schedule.next_due(), int64_t{10});
        schedule.run_due(9);
        QCOMPARE(done, QString());
        schedule.run_due(20);
        QCOMPARE(done, QString("abc"));
        QCOMPARE(schedule.next_due(), int64_t{30});
        schedule.run_due(100);
        QCOMPARE(done, QString("abcd"));
        QCOMPARE(schedule.next_due(), Schedule::NEVER);
    }

    void work_that_renews_itself_ends()
    {
        Schedule schedule;
        int runs = 0;
        std::function<void()> again = [&schedule, &runs, &again] {
            ++runs;
            schedule.at(0, again);
        };
        schedule.at(0, again);
        schedule.run_due(5);
        QCOMPARE(runs, 1);
        schedule.run_due(5);
        QCOMPARE(runs, 2);
    }

    void the_reader_keeps_the_first_fault()
    {
        MemberReader reader({{"a", "x"}, {"b", 5}, {"c", 1.5}, {"s", "*"}, {"stray", 1}});
        QCOMPARE(reader.whole("b", 0, 0, 9), 5);
        QCOMPARE(reader.whole("missing", 3, 0, 9), 3);
        QCOMPARE(reader.finish(), QString("unknown member \"a\""));
        reader.allow({"stray"});
        QCOMPARE(reader.whole("c", 7, 0, 9), 7);
        QCOMPARE(reader.number("a", 7, 0, 9), 7.0);
        reader.base64("s");
        QCOMPARE(reader.finish(), QString("\"c\" must be a whole number"));
    }

    void the_reader_stays_within_bounds()
    {
        MemberReader reader({{"huge", 1e300}, {"negative", -1}});
        QCOMPARE(reader.whole("huge", 1, 0, 9), 1);
        QCOMPARE(reader.whole("negative", 2, 0, 9), 2);
        QCOMPARE(reader.finish(), QString("\"huge\" must be a number from 0 to 9"));
    }
};

QTEST_GUILESS_MAIN(SimulatorOptionsTest)
#include "simulator_options_test.moc"
