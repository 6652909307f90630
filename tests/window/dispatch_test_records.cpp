// What arrives concerns the device that it names and leaves in its record just what it says.
#include "gui/device_list_view.h"
#include "meter/log_window.h"
#include "model/registry_limit.h"
#include "support/window_main.h"

#include <QComboBox>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QPlainTextEdit>

#include <vector>

namespace {

QStringList told; // to the debug log

// A message of a device's log, from the beginning of its stream.
QByteArray log_message(const QByteArray &id, const QByteArray &more, const QByteArray &text)
{
    return "{\"command\":\"raw_log\",\"device_id\":\"" + id + "\",\"pos\":0" + more + "}" + '\0'
        + static_cast<char>(text.size()) + '\0' + text;
}

} // namespace

class DispatchRecordsTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<WindowCase> window;
    const QHostAddress address{"10.0.0.1"};

    WindowHandle &gui() { return *window->gui; }

    Device *deliver_report(const QString &id)
    {
        gui().deliver(address, bytes_of(loudspeaker_report(id)));
        return gui().find_device(id);
    }

    // The members beside the usual ones make a frame one that is read the long way.
    static void add_ways_of_reading()
    {
        QTest::addColumn<QByteArray>("more");
        QTest::newRow("as devices write it") << QByteArray();
        QTest::newRow("with more than they write") << QByteArray(",\"colour\":\"red\"");
    }

private slots:
    void init()
    {
        window = std::make_unique<WindowCase>();
        gui().discovery_timer().stop();
        told.clear();
        qInstallMessageHandler(
            [](QtMsgType, const QMessageLogContext &, const QString &text) { told.append(text); });
    }
    void cleanup()
    {
        qInstallMessageHandler(nullptr);
        window.reset();
    }

    void levels_are_those_of_the_device_that_the_frame_names_data() { add_ways_of_reading(); }

    // Whoever else was heard last from its address.
    void levels_are_those_of_the_device_that_the_frame_names()
    {
        QFETCH(QByteArray, more);
        const Device *first = deliver_report("a");
        const Device *last = deliver_report("b");
        const auto frame = [more](const QByteArray &id) {
            return "{\"command\":\"broadcast_info\",\"device_id\":\"" + id
                + "\",\"metering\":{\"channel_peaks\":[35]}" + more + "}";
        };
        gui().deliver(address, frame("a"));
        QCOMPARE(first->meter.levels.size(), size_t{1});
        QVERIFY(last->meter.levels.empty());
        gui().deliver(address, frame("c"));
        QVERIFY(last->meter.levels.empty());
        gui().deliver(QHostAddress("10.0.0.9"), frame("b")); // from where nobody reported
        QCOMPARE(last->meter.levels.size(), size_t{1});
    }

    void a_log_is_that_of_the_device_that_the_message_names_data() { add_ways_of_reading(); }

    void a_log_is_that_of_the_device_that_the_message_names()
    {
        QFETCH(QByteArray, more);
        Device *first = deliver_report("a");
        Device *last = deliver_report("b");
        for (Device *device : {first, last}) {
            gui().open_log(device);
            QTRY_VERIFY(gui().log_view(device) != nullptr);
        }
        gui().deliver(address, log_message("a", more, "one\n"));
        gui().deliver(address, log_message("c", more, "two\n"));
        QCOMPARE(gui().log_view(first)->toPlainText(), QString("one\n"));
        QCOMPARE(gui().log_view(last)->toPlainText(), QString());
        QCOMPARE(first->log_pos, 4U);
        QCOMPARE(last->log_pos, 0U);
    }

    void the_title_of_a_log_follows_what_the_device_says()
    {
        Device *device = deliver_report("a");
        gui().open_log(device);
        QTRY_VERIFY(gui().log_window(device) != nullptr);
        const LogWindow *log = gui().log_window(device);
        const QString product
            = QString::fromStdString(find_product(device->value("product_id").toInt()).name);
        QVERIFY(!product.isEmpty());
        QCOMPARE(log->windowTitle(), "Firmware log (" + product + " at 10.0.0.1 'Left')");
        window->report("10.0.0.2", loudspeaker_report("a", 3, "Right"));
        QCOMPARE(log->windowTitle(), "Firmware log (" + product + " at 10.0.0.2 'Right')");
    }

    // They are read into a buffer that the next ones overwrite.
    void what_is_kept_of_a_report_is_its_own()
    {
        const QByteArray original = bytes_of(loudspeaker_report("a"));
        QByteArray buffer(original.constData(), original.size());
        gui().deliver(address, QByteArray::fromRawData(buffer.constData(), buffer.size()));
        const Device *device = gui().find_device("a");
        buffer.fill('x');
        QCOMPARE(device->last_payload, original);
        QCOMPARE(device->last_report.object(), loudspeaker_report("a"));
    }

    void only_who_was_heard_is_found_by_his_address()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"), false);
        QCOMPARE(gui().known_senders(), size_t{0});
        QCOMPARE(device->address, address);
        QCOMPARE(deliver_report("a"), device);
        QCOMPARE(gui().known_senders(), size_t{1});
    }

    void of_devices_too_many_five_a_second_are_told()
    {
        deliver_report("a");
        while (gui().all_devices().size() < size_t{MOST_DEVICES})
            gui().all_devices()[QString::number(gui().all_devices().size())] = new Device;
        told.clear();
        QElapsedTimer time;
        time.start();
        for (int i = 0; i < 400; ++i)
            gui().deliver(QHostAddress("10.0.0.2"),
                          bytes_of(loudspeaker_report(QString("new %1").arg(i))));
        const int lines = told.filter("too many devices").size();
        // Five in each second that was touched.
        QVERIFY2(lines >= 5 && lines <= 5 * (time.elapsed() / 1000 + 2),
                 qPrintable(QString::number(lines)));
        QVERIFY(told.first().contains("\"new 0\"") && told.first().contains("10.0.0.2"));
    }

    void a_quiet_command_is_asked_and_leaves_no_line_in_the_log()
    {
        Device *device = deliver_report("a");
        gui().open_log(device);
        QTRY_VERIFY(gui().log_view(device) != nullptr);
        gui().send_to_device(device, {{"command", "blink_leds"}}, true);
        QCOMPARE(gui().log_view(device)->toPlainText(), QString());
        QVERIFY(device->awaiting_reply);
        gui().send_to_device(device, {{"command", "blink_leds"}}, false);
        QVERIFY(gui().log_view(device)->toPlainText().startsWith("Sending JSON: "));
    }

    void each_command_begins_the_wait_for_an_answer_anew()
    {
        Device *device = deliver_report("a");
        for (int times = 0; times < 3; ++times) {
            gui().send_to_device(device, {{"command", "blink_leds"}}, false);
            deliver_report("a");
            QVERIFY(!device->broken_net);
        }
        deliver_report("a");
        QVERIFY(device->broken_net);
        gui().deliver(address, R"({"seq":1,"status":"ok"})");
        for (int times = 0; times < 3; ++times)
            deliver_report("a");
        QVERIFY(!device->broken_net);
    }

    void what_cannot_be_read_is_no_answer()
    {
        Device *device = deliver_report("a");
        device->awaiting_reply = true;
        for (const QByteArray &bytes : {QByteArray(), QByteArray("{"), QByteArray("[1]"),
                                        QByteArray("{\"seq\":1,\"status\":\"ok\"}\n//#12345678")})
            gui().deliver(address, bytes);
        QVERIFY(device->awaiting_reply);
        gui().deliver(address, "{\"seq\":1,\"status\":\"ok\"}");
        QVERIFY(!device->awaiting_reply);
    }

    void an_answer_counts_on_the_network_that_is_chosen()
    {
        gui().network_box()->addItem("near");
        gui().network_box()->addItem("far");
        QCOMPARE(gui().network(), QString("near"));
        Device *device = deliver_report("a");
        device->awaiting_reply = true;
        gui().network_box()->setCurrentIndex(1);
        device->online = true; // as one that is heard on both
        gui().deliver(address, R"({"seq":1,"status":"ok"})");
        QVERIFY(device->awaiting_reply);
        gui().network_box()->setCurrentIndex(0);
        device->online = true;
        gui().deliver(address, R"({"seq":1,"status":"ok"})");
        QVERIFY(!device->awaiting_reply);
    }

    // Choosing columns writes the rows of all, and what hangs on a state follows.
    void a_column_that_is_chosen_tells_each_state_again()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("a"), false);
        device->meter.set_levels({35}, {});
        device->assistant_dismissed = true;
        gui().column_actions()[static_cast<size_t>(window->column("ui/memo"))]->toggle();
        QVERIFY(device->meter.levels.empty());
        QVERIFY(!device->assistant_dismissed);
    }

    void identify_needs_any_of_the_selected_to_be_online()
    {
        deliver_report("a");
        window->report("10.0.0.2", loudspeaker_report("b"), false);
        gui().view()->selectAll();
        QVERIFY(gui().identify_button()->isEnabled());
        gui().find_device("a")->last_seen -= 5000;
        gui().discover();
        QVERIFY(!gui().identify_button()->isEnabled());
        gui().deliver(QHostAddress("10.0.0.2"), bytes_of(loudspeaker_report("b")));
        QVERIFY(gui().identify_button()->isEnabled());
        gui().network_changed();
        QVERIFY(!gui().identify_button()->isEnabled());
    }

    void the_panel_follows_a_selected_device_that_becomes_another_product()
    {
        deliver_report("a");
        gui().view()->selectAll();
        QVERIFY(gui().row("dsp/level").desc.kind != PROP_NONE);
        QJsonObject report = loudspeaker_report("a", 2001);
        report.remove("dsp");
        gui().deliver(address, bytes_of(report));
        QCOMPARE(gui().row("dsp/level").desc.kind, PROP_NONE);
        deliver_report("a");
        QVERIFY(gui().row("dsp/level").desc.kind != PROP_NONE);
        QCOMPARE(gui().row("dsp/level").value, QVariant(4));
    }

    void the_panel_shows_nothing_of_a_device_that_the_search_hides()
    {
        deliver_report("a");
        gui().view()->selectAll();
        QCOMPARE(gui().row("ui/name").value, QVariant("Left"));
        gui().search_box()->lineEdit()->setText("nobody is called so");
        gui().refresh_search();
        QVERIFY(gui().selected_devices().empty());
        QCOMPARE(gui().row("ui/name").desc.kind, PROP_NONE);
        gui().search_box()->lineEdit()->clear();
        gui().refresh_search();
        QCOMPARE(gui().row("ui/name").value, QVariant("Left"));
    }
};

TEST_PART(DispatchRecordsTest)
#include "dispatch_test_records.moc"
