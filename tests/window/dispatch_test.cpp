// What arrives changes what it should, and nothing else.
#include "gui/device_list_view.h"
#include "link/crc32.h"
#include "model/registry_limit.h"
#include "support/window_main.h"

#include <QRegularExpression>

namespace {

QStringList debug_lines;

void keep_debug_line(QtMsgType, const QMessageLogContext &, const QString &text)
{
    debug_lines.append(text);
}

} // namespace

class DispatchTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<WindowCase> window;

    WindowHandle &gui() { return *window->gui; }

    void receive(const QString &address, const QByteArray &datagram)
    {
        gui().deliver(QHostAddress(address), datagram);
    }

    void reply(const QString &address) { receive(address, R"({"seq":1,"status":"ok"})"); }

private slots:
    void init()
    {
        window = std::make_unique<WindowCase>();
        debug_lines.clear();
        qInstallMessageHandler(keep_debug_line);
    }
    void cleanup()
    {
        qInstallMessageHandler(nullptr);
        window.reset();
    }

    void only_reports_make_devices()
    {
        QJsonObject object = loudspeaker_report("a");
        for (const QJsonValue &seq : {QJsonValue(1), QJsonValue("0"), QJsonValue()}) {
            object.insert("seq", seq);
            receive("10.0.0.1", bytes_of(object));
        }
        object = loudspeaker_report("a");
        object.insert("product", "OTHER");
        receive("10.0.0.1", bytes_of(object));
        receive("10.0.0.1", bytes_of(loudspeaker_report("")));
        QVERIFY(gui().all_devices().empty());
        receive("10.0.0.1", bytes_of(loudspeaker_report("a")));
        QCOMPARE(gui().all_devices().size(), size_t(1));
        QCOMPARE(debug_lines.filter("Found new device").size(), 1);
    }

    void a_sender_of_ever_new_ids_fills_no_memory()
    {
        receive("10.0.0.1", bytes_of(loudspeaker_report("a")));
        while (gui().all_devices().size() < size_t{MOST_DEVICES})
            gui().all_devices()[QString::number(gui().all_devices().size())] = new Device;
        debug_lines.clear();
        receive("10.0.0.2", bytes_of(loudspeaker_report("b")));
        QCOMPARE(gui().all_devices().size(), size_t(8192));
        QCOMPARE(gui().model().rowCount(), 1);
        QCOMPARE(debug_lines.filter("too many devices").size(), 1);
        // Those that are known go on as before.
        gui().find_device("a")->online = false;
        receive("10.0.0.1", bytes_of(loudspeaker_report("a")));
        QVERIFY(gui().find_device("a")->online);
    }

    void early_and_unknown_metering_is_dropped()
    {
        receive("10.0.0.1",
                R"({"command":"broadcast_info","device_id":"a","metering":{"channel_peaks":[1]}})");
        QVERIFY(gui().all_devices().empty());
    }

    void metering_keeps_no_device_online()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"));
        device->last_seen = 5;
        receive("10.0.0.1",
                R"({"command":"broadcast_info","device_id":"a","metering":{"channel_peaks":[1]}})");
        QCOMPARE(device->last_seen, qint64(5));
        gui().discover();
        QVERIFY(!device->online);
    }

    void two_unanswered_reports_read_broken_net_until_a_reply()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"));
        gui().send_to_device(device, {{"command", "blink_leds"}, {"seq", 1}}, false);
        QVERIFY(device->awaiting_reply);
        window->report("10.0.0.1", loudspeaker_report("a"));
        QCOMPARE(window->cell(device, "status"), QString("Online"));
        window->report("10.0.0.1", loudspeaker_report("a"));
        QCOMPARE(window->cell(device, "status"), QString("Broken net"));
        reply("10.0.0.2");
        QCOMPARE(window->cell(device, "status"), QString("Broken net"));
        reply("10.0.0.1");
        QCOMPARE(window->cell(device, "status"), QString("Online"));
    }

    void a_reply_from_an_offline_device_changes_nothing()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"));
        device->broken_net = true;
        device->online = false;
        reply("10.0.0.1");
        QVERIFY(device->broken_net);
    }

    void a_reply_on_another_network_changes_nothing()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"));
        device->interface = "elsewhere";
        device->awaiting_reply = true;
        reply("10.0.0.1");
        QVERIFY(device->awaiting_reply);
    }

    void two_devices_behind_one_address_both_count_as_answered()
    {
        Device *first = window->report("10.0.0.1", loudspeaker_report("a"));
        Device *second = window->report("10.0.0.1", loudspeaker_report("b"));
        first->awaiting_reply = second->awaiting_reply = true;
        reply("10.0.0.1");
        QVERIFY(!first->awaiting_reply && !second->awaiting_reply);
    }

    void a_failed_send_still_counts_as_a_question()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"));
        device->interface = "gone";
        QCOMPARE(gui().send_to_device(device, {{"command", "x"}}, false),
                 QString("network not found"));
        QVERIFY(device->awaiting_reply);
        QCOMPARE(debug_lines.filter("can't send to unknown network").size() > 0, true);
    }

    void an_address_that_moves_stays_one_device_with_a_line_per_move()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"));
        window->report("10.0.0.2", loudspeaker_report("a"));
        window->report("10.0.0.1", loudspeaker_report("a"));
        QCOMPARE(gui().all_devices().size(), size_t(1));
        QCOMPARE(device->address, QHostAddress("10.0.0.1"));
        QCOMPARE(debug_lines.filter("apparently changing fromaddress").size(), 2);
    }

    void a_cached_device_is_taken_up_again()
    {
        Device *cached = window->report("10.0.0.1", loudspeaker_report("a", 3, "Old"), false);
        cached->upload_error = "not updating";
        gui().update(cached);
        QCOMPARE(window->cell(cached, "status"), QString("Offline / not updating"));
        Device *live = window->report("10.0.0.9", loudspeaker_report("a", 3, "Old"));
        QCOMPARE(live, cached);
        QCOMPARE(window->cell(live, "status"), QString("Online"));
        QCOMPARE(window->cell(live, "ip"), QString("10.0.0.9"));
    }

    void firmware_numbers_follow_the_report()
    {
        QJsonObject report = loudspeaker_report("a");
        QCOMPARE(window->report("10.0.0.1", report)->fw_magic, 894052661U);
        report.insert("fw_magic", "894052662");
        QCOMPARE(window->report("10.0.0.1", report)->fw_magic, 0U);
        report.insert("fw_magic", 1e300);
        QCOMPARE(window->report("10.0.0.1", report)->fw_magic, 0U);
    }

    void a_silent_device_goes_offline_and_comes_back()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"));
        device->last_seen -= 1500;
        gui().discover();
        QVERIFY(device->online);
        device->last_seen -= 600;
        gui().discover();
        QCOMPARE(window->cell(device, "status"), QString("Offline"));
        window->report("10.0.0.1", loudspeaker_report("a"));
        QCOMPARE(window->cell(device, "status"), QString("Online"));
    }

    void warnings_and_errors_go_to_the_debug_log_for_every_kind()
    {
        receive("10.0.0.1", R"({"command":"raw_log","warning":"hot","error":"too hot"})");
        receive("10.0.0.1", R"({"command":"broadcast_info","warning":"","error":5})");
        QCOMPARE(debug_lines.size(), 2);
        QVERIFY(debug_lines.at(0).contains("warning") && debug_lines.at(0).contains("hot"));
        QVERIFY(debug_lines.at(1).contains("error"));
    }

    void texts_of_senders_are_escaped_and_five_a_second()
    {
        for (int i = 0; i < 400; ++i)
            receive("10.0.0.1", "{\"warning\":\"\\u001b[2J red\"}");
        receive("10.0.0.2", "{\"error\":\"line\\nend\"}");
        const QStringList loud = debug_lines.filter("10.0.0.1");
        // Usually five: the second may end in between.
        QVERIFY2(loud.size() >= 5 && loud.size() <= 15, qPrintable(QString::number(loud.size())));
        QCOMPARE(loud.front(), QString("warning from  10.0.0.1 : \"\\u001B[2J red\""));
        QCOMPARE(debug_lines.filter("10.0.0.2"),
                 QStringList{"error from  10.0.0.2 : \"line\\nend\""});
        for (int i = 0; i < 400; ++i)
            receive("10.0.0.3", "{}\n//#12345678");
        QVERIFY(debug_lines.filter("10.0.0.3").size() <= 15);
    }

    void a_wrong_checksum_is_told_as_the_number_it_carried()
    {
        receive("10.0.0.1", bytes_of(loudspeaker_report("a")) + "\n//#000000ff");
        QVERIFY(gui().all_devices().empty());
        QCOMPARE(debug_lines.size(), 1);
        QVERIFY(debug_lines.front().contains("invalid CRC"));
        QVERIFY(debug_lines.front().contains("255"));
    }

    void strangers_change_nothing_and_print_at_most_a_line_each_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("64 KiB") << QByteArray(65507, 'x');
        QTest::newRow("no UTF-8") << QByteArray("{\"device_id\":\"\xff\xfe\"}");
        QTest::newRow("nested") << QByteArray("{\"a\":").repeated(5000);
        QTest::newRow("deep but whole")
            << QByteArray("{\"a\":").repeated(500) + "1" + QByteArray(500, '}');
        QTest::newRow("wrong types")
            << QByteArray(R"({"command":[],"device_id":{},"seq":"x","product":7,"warning":{}})");
        QTest::newRow("report of nothing but lies") << QByteArray(
            R"({"product":"KESTA","seq":0,"device_id":[],"fw_magic":1e300,"streams":5})");
        QTest::newRow("wrong checksum") << QByteArray("{}\n//#12345678");
        QTest::newRow("metering of lies")
            << QByteArray(R"({"command":"broadcast_info","device_id":"known","metering":[1]})");
        QTest::newRow("log without attachment")
            << QByteArray(R"({"command":"raw_log","device_id":"known","pos":1e300})");
    }
    void strangers_change_nothing_and_print_at_most_a_line_each()
    {
        QFETCH(QByteArray, datagram);
        Device *known = window->report("10.0.0.1", loudspeaker_report("known"));
        const QJsonObject report = known->last_report;
        debug_lines.clear();
        receive("10.0.0.66", datagram);
        QCOMPARE(gui().all_devices().size(), size_t(1));
        QCOMPARE(known->last_report.object(), report);
        QCOMPARE(known->address, QHostAddress("10.0.0.1"));
        QVERIFY(debug_lines.size() <= 1);
    }

    void hostile_values_in_a_report_are_survived()
    {
        QJsonObject report = loudspeaker_report("a");
        report.insert("product_id", QJsonArray{QJsonObject()});
        report.insert("ui", QJsonObject{{"name", 5}, {"order", 1e300}});
        report.insert("dsp",
                      QJsonObject{{"bank", -1e300},
                                  {"preset", QJsonArray{1, 2}},
                                  {"level", "nan"},
                                  {"eq_en", 7},
                                  {"eq0", QJsonObject{{"freq", 1e38}, {"q", -1e300}}}});
        report.insert("stream", QJsonObject{{"name", 9}, {"ch0", "x"}, {"rtp", 5}});
        report.insert("rtp", QJsonObject{{"lock", 3.5}});
        report.insert("streams", QJsonObject{{"list", QJsonArray{1, "x", QJsonArray()}}});
        Device *device = window->report("10.0.0.1", report);
        QCOMPARE(window->cell(device, "status"), QString("Online"));
        for (size_t column = 0; column < gui().column_ids().size(); ++column)
            gui().view()->setColumnHidden(static_cast<int>(column), false);
        gui().update(device);
        QCOMPARE(gui().model().rowCount(), 1);
    }

    void a_change_of_network_takes_all_offline()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"));
        gui().network_changed();
        QVERIFY(!device->online);
        QCOMPARE(window->cell(device, "status"), QString("Offline"));
    }

    void a_dummy_is_an_ordinary_offline_device_and_each_is_new()
    {
        gui().add_dummy_device();
        gui().add_dummy_device();
        QCOMPARE(gui().all_devices().size(), size_t(2));
        Device *dummy = gui().all_devices().begin()->second;
        QVERIFY(!dummy->online);
        QVERIFY(QRegularExpression("^[0-9a-f]{32}$").match(dummy->device_id).hasMatch());
        QCOMPARE(window->cell(dummy, "ui/name"), QString("Offline dummy device"));
        QCOMPARE(window->cell(dummy, "status"), QString("Offline"));
        QCOMPARE(dummy->value("product_id"), QVariant(0));
    }

    void a_deleted_online_device_comes_back_as_new()
    {
        window->report("10.0.0.1", loudspeaker_report("a"));
        window->report("10.0.0.2", loudspeaker_report("b"));
        window->report("10.0.0.3", loudspeaker_report("c"));
        gui().view()->selectAll();
        gui().view()->selectionModel()->select(
            gui().model().index(1, 0), QItemSelectionModel::Deselect | QItemSelectionModel::Rows);
        gui().delete_selected();
        QCOMPARE(gui().all_devices().size(), size_t(1));
        QCOMPARE(gui().model().rowCount(), 1);
        QCOMPARE(gui().all_devices().begin()->first, QString("b"));
        debug_lines.clear();
        window->report("10.0.0.1", loudspeaker_report("a"));
        QCOMPARE(debug_lines.filter("Found new device").size(), 1);
        QCOMPARE(gui().model().rowCount(), 2);
    }

    void a_window_may_go_without_having_been_closed()
    {
        window->report("10.0.0.1", loudspeaker_report("a"));
        window->gui.reset();
        QVERIFY(!QFile::exists(window->folder.filePath("no such file")));
    }
};

WINDOW_TEST_MAIN(DispatchTest)
#include "dispatch_test.moc"
