// Log windows in the real program: the stream, echoes, console, pause, and what goes with a
// clearing.
#include "support/log_case.h"
#include "support/log_view.h"

class LogWindowTextsTest : public LogCase
{
    Q_OBJECT

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    void the_stream_shows_and_losses_are_noted()
    {
        FakeDevice &device = device_with_log();
        stream(device, 0, "boot\n");
        stream(device, 5, "\x1b[32mready\x1b[0m\n");
        stream(device, 1000, "late\n");
        QCOMPARE(gui().log_view(device.record())->toPlainText(),
                 QString("boot\nready\n\n[lost 980 log bytes]\nlate\n"));
    }

    // Where in one it stands, and how long it is already, counts on from message to message.
    void a_terminal_code_may_be_cut_by_the_end_of_a_message()
    {
        FakeDevice &device = device_with_log();
        stream(device, 0, "a\x1b[3");
        stream(device, 4, "2mb");
        const QByteArray half("0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;0;");
        stream(device, 7, "\x1b[" + half);
        stream(device, 41, half + "cd\n"); // without an end it ends after 64
        QCOMPARE(gui().log_view(device.record())->toPlainText(), QString("abcd\n"));
    }

    void what_comes_without_a_window_is_not_counted()
    {
        FakeDevice &device = device_with_log();
        stream(device, 0, "one\n");
        gui().log_window(device.record())->close();
        stream(device, 4, "missed\n");
        QCOMPARE(device.record()->log_pos, 4U);
    }

    void logging_is_switched_on_again_also_when_the_same_bytes_come_again()
    {
        FakeDevice &device = device_with_log();
        const QByteArray bytes = QJsonDocument(device.state).toJson(QJsonDocument::Compact);
        const auto count_of_sent = [&device, this] {
            return gui().log_view(device.record())->toPlainText().count("Sending JSON: ");
        };
        const int before = count_of_sent();
        for (int i = 0; i < 3; ++i)
            gui().deliver(device.address, bytes);
        QCOMPARE(count_of_sent(), before + 3);
    }

    void json_traffic_is_echoed()
    {
        FakeDevice &device = device_with_log();
        gui().identify_selected();
        QVERIFY(
            gui()
                .log_view(device.record())
                ->toPlainText()
                .startsWith(
                    "Sending JSON: {\"api_version\":6,\"command\":\"blink_leds\",\"seq\":1}\n"));
        gui().deliver(device.address, R"({"seq":1,"status":"ok"})");
        // Replies count on the selected network only; this device was heard on another.
        device.record()->interface = gui().network();
        gui().deliver(device.address, R"({"seq":1,"status":"ok"})");
        QVERIFY(gui()
                    .log_view(device.record())
                    ->toPlainText()
                    .endsWith("Received JSON: {\"seq\":1,\"status\":\"ok\"}\n"));
    }

    void every_command_that_a_device_gets_stands_in_its_log()
    {
        FakeDevice &device = device_with_log();
        gui().purge_sessions();
        gui().set_edit_mode(true);
        window->type("ui/name", "Stage left");
        window->press_confirm();
        device.report("logging", "en", false); // it has restarted, and is asked anew
        const QList<QJsonObject> sent = window->sent_to(0);
        QCOMPARE(sent.size(), 3);
        QList<QJsonObject> echoed;
        const QString label = "Sending JSON: ";
        for (const QString &line : gui().log_view(device.record())->toPlainText().split('\n'))
            if (line.startsWith(label))
                echoed.append(QJsonDocument::fromJson(line.mid(label.size()).toUtf8()).object());
        for (QJsonObject &object : echoed)
            object.remove("api_version");
        QCOMPARE(echoed.mid(0, sent.size()), sent); // behind them stands the mark of the end
    }

    void echoes_are_red_and_the_devices_own_lines_are_not()
    {
        FakeDevice &device = device_with_log();
        device.record()->interface = gui().network();
        stream(device, 0, "boot\n");
        gui().identify_selected();
        gui().deliver(device.address, R"({"seq":1,"status":"ok"})");
        QTest::keyClicks(console(device), "help");
        QTest::keyClick(console(device), Qt::Key_Return);
        stream(device, 5, "ready\n");
        QStringList lines;
        for (const QString &line : describe(gui().log_view(device.record())->document()))
            lines.append(line.left(line.indexOf(':') + 9)); // colours, and how it begins
        QCOMPARE(lines.mid(0, 5),
                 (QStringList{"[plain] plain:boot", "[#ff0000] #ff0000:Sending ",
                              "[#ff0000] #ff0000:Received",
                              "[#ff0000] #ff0000:Sending:", "[plain] plain:ready"}));
    }

    // The echo comes first, then the mark of a question, then the sending, which may fail.
    void a_command_that_cannot_be_sent_is_echoed_all_the_same()
    {
        FakeDevice &device = device_with_log();
        device.record()->interface = "gone";
        device.record()->awaiting_reply = false;
        gui().identify_selected();
        QCOMPARE(
            gui().log_view(device.record())->toPlainText(),
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
        QCOMPARE(gui().log_view(device.record())->toPlainText(),
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
        LogWindow *log = gui().log_window(device.record());
        QVERIFY(log->windowTitle().startsWith("Firmware log ("));
        QCOMPARE(QApplication::activeWindow(), log);
        stream(device, 0, "one\n");
        QTest::keyClick(gui().log_view(device.record()), Qt::Key_P, Qt::ControlModifier);
        QVERIFY(device.record()->log_paused);
        QVERIFY(log->windowTitle().endsWith(" [PAUSED]"));
        stream(device, 4, "two\n");
        QCOMPARE(device.record()->log_pos, 4U);
        QTest::keyClick(gui().log_view(device.record()), Qt::Key_P, Qt::ControlModifier);
        stream(device, 8, "three\n");
        QCOMPARE(gui().log_view(device.record())->toPlainText(),
                 QString("one\n\n[lost 4 log bytes]\nthree\n"));
    }

    void ctrl_k_clears_the_window()
    {
        FakeDevice &device = device_with_log();
        QCOMPARE(QApplication::activeWindow(), gui().log_window(device.record()));
        stream(device, 0, "one\n");
        QTest::keyClick(gui().log_view(device.record()), Qt::Key_K, Qt::ControlModifier);
        QCOMPARE(gui().log_view(device.record())->toPlainText(), QString());
    }

    void position_and_pause_outlive_the_window()
    {
        FakeDevice &device = device_with_log();
        stream(device, 0, "one\n");
        device.record()->log_paused = true;
        gui().log_window(device.record())->close();
        stream(device, 4, "missed\n");
        gui().open_log(device.record());
        QCOMPARE(device.record()->log_pos, 4U);
        QVERIFY(device.record()->log_paused);
        QVERIFY(gui().log_window(device.record())->windowTitle().endsWith(" [PAUSED]"));
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
        QVERIFY(gui().log_view(device.record())->toPlainText().contains("!"));
    }

    // 65,000 line ends in one insertion would hold the window up for 150 ms.
    void a_message_of_line_ends_is_shown_in_slices_and_in_order()
    {
        FakeDevice &device = device_with_log();
        QPlainTextEdit *view = gui().log_view(device.record());
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
        QCOMPARE(QApplication::activeWindow(), gui().log_window(device.record()));
        stream(device, 0, QByteArray(65000, '\n'));
        QVERIFY(!gui().are_logs_shown());
        QTest::keyClick(gui().log_view(device.record()), Qt::Key_K, Qt::ControlModifier);
        QVERIFY(gui().are_logs_shown());
        stream(device, 65000, "new\n");
        QCOMPARE(gui().log_view(device.record())->toPlainText(), QString("new\n"));
    }

    void closing_takes_along_what_still_waits_to_be_shown()
    {
        FakeDevice &device = device_with_log();
        stream(device, 0, QByteArray(65000, '\n'));
        gui().log_window(device.record())->close();
        QTRY_VERIFY(gui().are_logs_shown());
        gui().open_log(device.record());
        stream(device, 65000, "new\n");
        QCOMPARE(gui().log_view(device.record())->toPlainText(), QString("new\n"));
    }
};

TEST_PART(LogWindowTextsTest)
#include "log_window_test_texts.moc"
