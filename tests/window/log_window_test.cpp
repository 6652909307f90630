// Log windows in the real program: switching the stream, echoes, console, pause, and every way to
// go.
#include "gui/main_window_with_close_signal.h"
#include "support/panel_case.h"

#include <QPlainTextEdit>

namespace {

const QJsonObject LOGGING_ON{
    {"command", "set_params"}, {"seq", 1}, {"logging", QJsonObject{{"en", true}}}};
const QJsonObject LOGGING_OFF{
    {"command", "set_params"}, {"seq", 1}, {"logging", QJsonObject{{"en", false}}}};

QByteArray log_datagram(const QString &id, double position, const QByteArray &text)
{
    const QJsonObject head{{"command", "raw_log"}, {"device_id", id}, {"pos", position}};
    const char length[2]
        = {static_cast<char>(text.size() & 0xFF), static_cast<char>(text.size() >> 8)};
    return QJsonDocument(head).toJson(QJsonDocument::Compact) + '\0' + QByteArray(length, 2) + text;
}

} // namespace

class LogWindowTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<PanelCase> window;

    WindowHandle &gui() { return *window->gui; }

    FakeDevice &device_with_log()
    {
        FakeDevice &device = window->add({});
        window->select({0});
        gui().enable_logging();
        // Keys go to the active window's shortcuts.
        QApplication::setActiveWindow(device.record()->log_window);
        return device;
    }

    void stream(FakeDevice &device, double position, const QByteArray &text)
    {
        gui().deliver(device.address, log_datagram(device.record()->device_id, position, text));
    }

    QLineEdit *console(FakeDevice &device)
    {
        return device.record()->log_window->findChild<QLineEdit *>();
    }

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    void opening_sends_nothing_and_closing_tells_the_device()
    {
        FakeDevice &device = device_with_log();
        QVERIFY(device.record()->log_view != nullptr);
        QCoreApplication::processEvents();
        QVERIFY(device.commands().isEmpty());
        device.report();
        QTRY_COMPARE(device.commands(), QList<QJsonObject>({LOGGING_ON}));
        device.record()->log_window->close();
        QVERIFY(device.record()->log_view == nullptr);
        QVERIFY(device.record()->log_window == nullptr);
        QTRY_COMPARE(device.commands(), QList<QJsonObject>({LOGGING_ON, LOGGING_OFF}));
    }

    void logging_is_switched_on_again_until_the_device_shows_it()
    {
        FakeDevice &device = device_with_log();
        device.report();
        device.report();
        QTRY_COMPARE(device.commands().size(), 2);
        device.report("logging", "en", true);
        device.report("logging", "en", true);
        QCOMPARE(device.commands().size(), 2);
        device.report("logging", "en", false); // it has restarted
        QTRY_COMPARE(device.commands().size(), 3);
    }

    void opening_again_raises_the_one_window()
    {
        FakeDevice &device = device_with_log();
        MainWindowWithCloseSignal *first = device.record()->log_window;
        gui().open_log(device.record());
        QCOMPARE(device.record()->log_window, first);
    }

    void the_stream_shows_and_losses_are_noted()
    {
        FakeDevice &device = device_with_log();
        stream(device, 0, "boot\n");
        stream(device, 5, "\x1b[32mready\x1b[0m\n");
        stream(device, 1000, "late\n");
        QCOMPARE(device.record()->log_view->toPlainText(),
                 QString("boot\nready\n\n[lost 980 log bytes]\nlate\n"));
    }

    void json_traffic_is_echoed()
    {
        FakeDevice &device = device_with_log();
        gui().identify_selected();
        QVERIFY(device.record()->log_view->toPlainText().startsWith(
            "Sending JSON: {\"api_version\":6,\"command\":\"blink_leds\",\"seq\":1}\n"));
        gui().deliver(device.address, R"({"seq":1,"status":"ok"})");
        // Replies count on the selected network only; this device was heard on another.
        device.record()->interface = gui().network();
        gui().deliver(device.address, R"({"seq":1,"status":"ok"})");
        QVERIFY(device.record()->log_view->toPlainText().endsWith(
            "Received JSON: {\"seq\":1,\"status\":\"ok\"}\n"));
    }

    // The echo comes first, then the mark of a question, then the sending, which may fail.
    void a_command_that_cannot_be_sent_is_echoed_all_the_same()
    {
        FakeDevice &device = device_with_log();
        device.record()->interface = "gone";
        device.record()->awaiting_reply = false;
        gui().identify_selected();
        QCOMPARE(
            device.record()->log_view->toPlainText(),
            QString("Sending JSON: {\"api_version\":6,\"command\":\"blink_leds\",\"seq\":1}\n"));
        QVERIFY(device.record()->awaiting_reply);
        QVERIFY(device.commands().isEmpty());
    }

    void the_console_sends_the_typed_bytes_as_they_are()
    {
        FakeDevice &device = device_with_log();
        QUdpSocket ears;
        QVERIFY(
            ears.bind(QHostAddress("127.0.0.77"), DEVICE_PORT, QAbstractSocket::ReuseAddressHint));
        device.record()->address = QHostAddress("127.0.0.77");
        device.record()->awaiting_reply = false;
        console(device)->setText("{\"gr\u00fc\u00df\": not json"); // keys know ASCII only here
        QTest::keyClick(console(device), Qt::Key_Return);
        QTRY_VERIFY(ears.hasPendingDatagrams());
        QCOMPARE(ears.receiveDatagram().data(), QString("{\"gr\u00fc\u00df\": not json").toUtf8());
        QCOMPARE(console(device)->text(), QString());
        QVERIFY(!device.record()->awaiting_reply);
        QCOMPARE(device.record()->log_view->toPlainText(),
                 QString("Sending: {\"gr\u00fc\u00df\": not json\n"));
    }

    void a_console_line_that_cannot_be_sent_is_cleared_all_the_same()
    {
        FakeDevice &device = device_with_log();
        device.record()->interface = "gone";
        QTest::keyClicks(console(device), "x");
        QTest::keyClick(console(device), Qt::Key_Return);
        QCOMPARE(console(device)->text(), QString());
    }

    void ctrl_p_pauses_and_what_was_dropped_counts_as_lost()
    {
        FakeDevice &device = device_with_log();
        MainWindowWithCloseSignal *log = device.record()->log_window;
        QVERIFY(log->windowTitle().startsWith("Firmware log ("));
        QCOMPARE(QApplication::activeWindow(), log);
        stream(device, 0, "one\n");
        QTest::keyClick(device.record()->log_view, Qt::Key_P, Qt::ControlModifier);
        QVERIFY(device.record()->log_paused);
        QVERIFY(log->windowTitle().endsWith(" [PAUSED]"));
        stream(device, 4, "two\n");
        QCOMPARE(device.record()->log_pos, 4U);
        QTest::keyClick(device.record()->log_view, Qt::Key_P, Qt::ControlModifier);
        stream(device, 8, "three\n");
        QCOMPARE(device.record()->log_view->toPlainText(),
                 QString("one\n\n[lost 4 log bytes]\nthree\n"));
    }

    void ctrl_k_clears_the_window()
    {
        FakeDevice &device = device_with_log();
        QCOMPARE(QApplication::activeWindow(), device.record()->log_window);
        stream(device, 0, "one\n");
        QTest::keyClick(device.record()->log_view, Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(device.record()->log_view->toPlainText(), QString());
    }

    void position_and_pause_outlive_the_window()
    {
        FakeDevice &device = device_with_log();
        stream(device, 0, "one\n");
        device.record()->log_paused = true;
        device.record()->log_window->close();
        stream(device, 4, "missed\n");
        gui().open_log(device.record());
        QCOMPARE(device.record()->log_pos, 4U);
        QVERIFY(device.record()->log_paused);
        QVERIFY(device.record()->log_window->windowTitle().endsWith(" [PAUSED]"));
    }

    void hostile_log_messages_are_dropped_or_survived()
    {
        FakeDevice &device = device_with_log();
        const QByteArray id = device.record()->device_id.toUtf8();
        for (const char *position : {"-5", "1.5", "1e300", "-1e300", "\"x\"", "null", "[1]"})
            for (const QByteArray &attachment :
                 {QByteArray(), QByteArray("\x05", 1), QByteArray("\xff\xff!", 3),
                  QByteArray("\x01\x00!", 3), QByteArray("\x00\x00", 2)})
                gui().deliver(device.address,
                              "{\"command\":\"raw_log\",\"device_id\":\"" + id + "\",\"pos\":"
                                  + position + "}" + QByteArray(1, '\0') + attachment);
        QVERIFY(device.record()->log_view->toPlainText().contains("!"));
    }

    // 65,000 line ends in one insertion would hold the window up for 150 ms.
    void a_message_of_line_ends_is_shown_in_slices_and_in_order()
    {
        FakeDevice &device = device_with_log();
        QPlainTextEdit *view = device.record()->log_view;
        view->document()->setMaximumBlockCount(0);
        const QByteArray text(65000, '\n');
        stream(device, 0, text);
        QVERIFY(view->document()->blockCount() < 10000);
        stream(device, text.size(), "later\n");
        QTest::keyClicks(console(device), "x");
        QTest::keyClick(console(device), Qt::Key_Return);
        device.record()->log_paused = true; // what has arrived is shown all the same
        QTRY_COMPARE(view->toPlainText(), QString(65000, '\n') + "later\nSending: x\n");
    }

    void clearing_takes_along_what_still_waits_to_be_shown()
    {
        FakeDevice &device = device_with_log();
        QCOMPARE(QApplication::activeWindow(), device.record()->log_window);
        stream(device, 0, QByteArray(65000, '\n'));
        QVERIFY(!gui().are_logs_shown());
        QTest::keyClick(device.record()->log_view, Qt::Key_K, Qt::ControlModifier);
        QVERIFY(gui().are_logs_shown());
        stream(device, 65000, "new\n");
        QCOMPARE(device.record()->log_view->toPlainText(), QString("new\n"));
    }

    void closing_takes_along_what_still_waits_to_be_shown()
    {
        FakeDevice &device = device_with_log();
        stream(device, 0, QByteArray(65000, '\n'));
        device.record()->log_window->close();
        QTRY_VERIFY(gui().are_logs_shown());
        gui().open_log(device.record());
        stream(device, 65000, "new\n");
        QCOMPARE(device.record()->log_view->toPlainText(), QString("new\n"));
    }

    void deleting_a_device_takes_its_log_along_without_a_command()
    {
        FakeDevice &device = device_with_log();
        QPointer<QWidget> log = device.record()->log_window;
        stream(device, 0, "one\n");
        gui().delete_selected();
        QVERIFY(log.isNull());
        QCoreApplication::processEvents();
        QVERIFY(device.commands().isEmpty());
    }

    void closing_the_program_with_logs_open_is_clean_and_sends_nothing()
    {
        FakeDevice &first = window->add({});
        FakeDevice &second = window->add({});
        window->select({0, 1});
        gui().enable_logging();
        QVERIFY(first.record()->log_view && second.record()->log_view);
        second.record()->log_paused = true;
        gui().close();
        QApplication::closeAllWindows();
        QCoreApplication::processEvents();
        QVERIFY(first.commands().isEmpty() && second.commands().isEmpty());
        QVERIFY(gui().all_devices().empty());
    }

    void a_window_destroyed_unclosed_with_logs_open_is_clean()
    {
        FakeDevice &device = device_with_log();
        stream(device, 0, "one\n");
        window->gui.reset();
        QVERIFY(device.commands().isEmpty());
    }
};

WINDOW_TEST_MAIN(LogWindowTest)
#include "log_window_test.moc"
