// Log windows in the real program: how they open, what they look like, and every way to go.
#include "support/log_case.h"
#include "support/sanitized.h"

#include <QBackingStore>
#include <QFontDatabase>
#include <QProcess>
#include <QScopeGuard>
#include <QStandardPaths>
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

} // namespace

class LogWindowTest : public LogCase
{
    Q_OBJECT

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
        QCOMPARE(log->parentWidget(), &gui().widget()); // stays above it, and is minimised with it
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
        if (QStandardPaths::findExecutable("Xvfb").isEmpty())
            QSKIP("There is no Xvfb: scripts/setup.sh screen");
        QProcess screen;
        screen.start("Xvfb", {"-displayfd", "1", "-nolisten", "tcp"});
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
