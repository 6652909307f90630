// Log windows in the real program: switching the stream, echoes, console, pause, and every way to
// go.
#include "meter/log_window.h"
#include "support/log_view.h"
#include "support/panel_case.h"
#include "support/sanitized.h"

#include <QBackingStore>
#include <QFontDatabase>
#include <QPlainTextEdit>
#include <QProcess>
#include <QScopeGuard>
#include <QTextBlock>

#include <algorithm>
#include <unistd.h>

namespace {

double resident_megabytes()
{
    QFile file("/proc/self/statm");
    if (!file.open(QIODevice::ReadOnly))
        qFatal("no figures");
    return file.readAll().split(' ').at(1).toDouble() * double(sysconf(_SC_PAGESIZE)) / 1e6;
}

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
        QApplication::setActiveWindow(gui().log_window(device.record()));
        return device;
    }

    void stream(FakeDevice &device, double position, const QByteArray &text)
    {
        gui().deliver(device.address, log_datagram(device.record()->device_id, position, text));
    }

    QLineEdit *console(FakeDevice &device)
    {
        return gui().log_window(device.record())->findChild<QLineEdit *>();
    }

private slots:
    void init() { window = std::make_unique<PanelCase>(); }
    void cleanup() { window.reset(); }

    void opening_sends_nothing_and_closing_tells_the_device()
    {
        FakeDevice &device = device_with_log();
        QVERIFY(gui().log_view(device.record()) != nullptr);
        QCoreApplication::processEvents();
        QVERIFY(device.commands().isEmpty());
        device.report();
        QTRY_COMPARE(device.commands(), QList<QJsonObject>({LOGGING_ON}));
        gui().log_window(device.record())->close();
        QVERIFY(gui().log_view(device.record()) == nullptr);
        QVERIFY(gui().log_window(device.record()) == nullptr);
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
        LogWindow *first = gui().log_window(device.record());
        QVERIFY(QTest::qWaitForWindowActive(first));
        gui().widget().activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&gui().widget()));
        QCoreApplication::processEvents(); // nothing else is on its way
        QCOMPARE(QApplication::activeWindow(), &gui().widget());
        gui().open_log(device.record());
        QCOMPARE(gui().log_window(device.record()), first);
        QTRY_COMPARE(QApplication::activeWindow(), first);
    }

    void a_window_that_was_minimised_shows_when_opened_again()
    {
        FakeDevice &device = device_with_log();
        gui().log_window(device.record())->hide();
        gui().open_log(device.record());
        QVERIFY(gui().log_window(device.record())->isVisible());
    }

    void the_window_looks_as_it_should()
    {
        const LogWindow *log = gui().log_window(device_with_log().record());
        QCOMPARE(log->size(), QSize(1000, 700));
        const QPlainTextEdit *view = log->log();
        QVERIFY(view->isReadOnly());
        QCOMPARE(view->font().pointSize(), 11);
        QCOMPARE(view->font().styleHint(), QFont::Monospace);
        QCOMPARE(view->font().styleStrategy(), QFont::PreferDefault);
        QVERIFY(view->verticalScrollBar()->isVisible()); // though nothing is there to scroll
        QCOMPARE(view->document()->maximumBlockCount(), 30000);
        const QLineEdit *console = log->findChild<QLineEdit *>();
        QCOMPARE(console->placeholderText(), QString("Enter JSON commands here."));
        // Text above, console below, one pixel between them and none around them.
        QCOMPARE(view->geometry().topLeft(), QPoint(0, 0));
        QCOMPARE(view->width(), 1000);
        QCOMPARE(console->geometry().top(), view->geometry().bottom() + 2);
        QCOMPARE(console->geometry().bottomRight(), QPoint(999, 699));
    }

    void the_font_is_the_fixed_one_of_the_system()
    {
        const QString fixed = QFontDatabase::systemFont(QFontDatabase::FixedFont).family();
        if (QGuiApplication::platformName() == "xcb")
            QVERIFY(fixed != QFontDatabase::systemFont(QFontDatabase::GeneralFont).family());
        const QFont usual = QApplication::font();
        const auto restore = qScopeGuard([usual] { QApplication::setFont(usual); });
        QApplication::setFont(QFont("No font of the system"));
        QCOMPARE(gui().log_window(device_with_log().record())->log()->font().family(), fixed);
    }

    // Without a screen the toolkit's platform has one font for all purposes.
    void on_a_screen_the_font_is_the_fixed_one_of_the_system_too()
    {
        QProcess screen;
        screen.start("Xvfb", {"-displayfd", "1", "-nolisten", "tcp"});
        QVERIFY2(screen.waitForStarted(), "scripts/setup.sh screen");
        QVERIFY(screen.waitForReadyRead());
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_QPA_PLATFORM", "xcb");
        environment.insert("DISPLAY", ':' + QString::fromLatin1(screen.readLine().trimmed()));
        environment.insert("ASAN_OPTIONS",
                           "detect_leaks=0"); // what a screen's platform keeps is not ours
        QProcess test;
        test.setProcessEnvironment(environment);
        test.start(QCoreApplication::applicationFilePath(),
                   {"the_font_is_the_fixed_one_of_the_system"});
        const bool has_ended = test.waitForFinished(60000);
        screen.terminate();
        screen.waitForFinished();
        QVERIFY(has_ended);
        QVERIFY2(test.exitCode() == 0, test.readAllStandardOutput().constData());
    }

    void old_lines_go_at_the_cap_of_30000()
    {
        FakeDevice &device = device_with_log();
        QByteArray lines;
        for (int i = 0; i < 6000; ++i)
            lines += QByteArray::number(i % 10) + "\n";
        for (int message = 0; message < 5; ++message)
            stream(device, message * lines.size(), lines);
        stream(device, 5 * lines.size(), "the 30,001st\nthe last");
        QTRY_VERIFY(gui().are_logs_shown());
        const QTextDocument *document = gui().log_view(device.record())->document();
        QCOMPARE(document->blockCount(), 30000);
        QCOMPARE(document->firstBlock().text(), QString("2"));
        QCOMPARE(document->lastBlock().text(), QString("the last"));
    }

    void ctrl_w_closes_the_window_and_tells_the_device()
    {
        FakeDevice &device = device_with_log();
        QPointer<LogWindow> log = gui().log_window(device.record());
        console(device)->setFocus(); // it is no key of the text alone
        QTest::keyClick(console(device), Qt::Key_W, Qt::ControlModifier);
        QVERIFY(!gui().log_window(device.record()));
        QTRY_VERIFY(log.isNull());
        QTRY_COMPARE(device.commands(), QList<QJsonObject>({LOGGING_OFF}));
        QVERIFY(gui().widget().isVisible());
    }

    // Three hundred at once would hold the window up for seconds.
    void many_windows_open_in_turns_of_the_event_loop_and_in_order()
    {
        for (int i = 0; i < 6; ++i)
            window->add({});
        window->select({4, 1, 0, 5, 2, 3});
        gui().enable_logging();
        std::vector<int> order;
        const auto look = [this, &order] {
            for (int i = 0; i < 6; ++i)
                if (gui().log_window(window->devices[size_t(i)]->record())
                    && std::find(order.begin(), order.end(), i) == order.end())
                    order.push_back(i);
        };
        look();
        QCOMPARE(order, std::vector<int>({4}));
        size_t most = 0;
        for (int turn = 0; turn < 1000 && order.size() < 6; ++turn) {
            const size_t before = order.size();
            QCoreApplication::processEvents();
            look();
            most = std::max(most, order.size() - before);
        }
        QCOMPARE(order, std::vector<int>({4, 1, 0, 5, 2, 3}));
        QCOMPARE(most, size_t(1));
    }

    void what_waits_to_be_opened_may_go_before()
    {
        for (int i = 0; i < 4; ++i)
            window->add({});
        window->select({0, 1, 2, 3});
        gui().enable_logging();
        Device *last = window->devices[3]->record();
        window->select({1, 2});
        gui().delete_selected();
        QTRY_VERIFY(gui().log_window(last));
        QCOMPARE(gui().all_devices().size(), size_t(2));
        // And with the program.
        window->select({0, 3});
        window->add({});
        window->select({0, 3, 4});
        gui().enable_logging();
        gui().close();
        QApplication::processEvents();
        QVERIFY(gui().all_devices().empty());
    }

    void a_window_that_is_opened_again_at_once_is_not_closed_by_the_first()
    {
        FakeDevice &device = device_with_log();
        QPointer<LogWindow> first = gui().log_window(device.record());
        first->close();
        gui().open_log(device.record());
        first->close();
        LogWindow *second = gui().log_window(device.record());
        QVERIFY(second && second != first);
        QTRY_VERIFY(first.isNull());
        QCOMPARE(gui().log_window(device.record()), second);
    }

    // Each window is painted on 2.8 MB, which it gives back while nothing in it changes.
    void an_empty_log_costs_at_most_half_a_megabyte()
    {
#ifdef ADDRESS_SANITIZED
        QSKIP("The sanitizers keep freed memory, and guards around each piece.");
#endif
        constexpr int COUNT = 60;
        for (int i = 0; i < COUNT + 1; ++i)
            window->add({});
        gui().open_log(window->devices[COUNT]->record()); // fonts and styles are loaded with it
        const LogWindow *first = gui().log_window(window->devices[COUNT]->record());
        QTRY_VERIFY(first->backingStore() && first->backingStore()->size() == first->size());
        const double before = resident_megabytes();
        for (int i = 0; i < COUNT; ++i)
            gui().open_log(window->devices[size_t(i)]->record());
        const auto are_released = [this] {
            int released = 0;
            for (int i = 0; i < COUNT; ++i)
                released += gui()
                                .log_window(window->devices[size_t(i)]->record())
                                ->backingStore()
                                ->size()
                                .width()
                    == 1;
            return released >= COUNT - 1; // one has the focus
        };
        QTRY_VERIFY(are_released());
        const double each = (resident_megabytes() - before) / COUNT;
        qInfo("%.3f MB each", each);
        QVERIFY2(each <= 0.5, qPrintable(QString::number(each)));
    }

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

    void deleting_a_device_takes_its_log_along_without_a_command()
    {
        FakeDevice &device = device_with_log();
        QPointer<QWidget> log = gui().log_window(device.record());
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
        QTRY_VERIFY(gui().log_view(first.record()) && gui().log_view(second.record()));
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
