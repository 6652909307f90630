// Log windows of simulated devices: when the stream is on, what it shows and notes as lost over
// time, and messages of any content. VELMARK_LOG_SECONDS=600 makes the count of bytes a long one.
#include "meter/log_window.h"
#include "support/fleet_window.h"

#include <QLineEdit>
#include <QPlainTextEdit>
#include <QRegularExpression>
#include <QScrollBar>

namespace {

constexpr int COUNT = 4;
// Every line of the simulated firmware has four colour codes of this length in all.
constexpr qint64 CODES_PER_LINE = 17;
const QString LAST_LINE = "that is all";

int seconds_to_count()
{
    return qMax(8, qEnvironmentVariableIntValue("VELMARK_LOG_SECONDS"));
}

// The test library ends a test that takes longer than five minutes, unless told before it starts.
const bool has_patience
    = qputenv("QTEST_FUNCTION_TIMEOUT", QByteArray::number((seconds_to_count() + 300) * 1000));

// A "raw_log" message; `length` is what the length field says.
QByteArray log_message(const QString &id, const QByteArray &members, const QByteArray &bytes,
                       int length)
{
    const char field[2] = {static_cast<char>(length & 0xFF), static_cast<char>(length >> 8)};
    return "{\"command\":\"raw_log\",\"device_id\":\"" + id.toUtf8() + "\"" + members + "}"
        + QByteArray(1, '\0') + QByteArray(field, 2) + bytes;
}

struct Counted
{
    qint64 shown = 0; // bytes, those of the filtered colour codes included
    qint64 lost = 0;  // bytes, as noted
};

// What a log window says about its stream; echoes of JSON traffic are left out.
Counted count_bytes(const QString &text)
{
    static const QRegularExpression note("^\\[lost (\\d+) log bytes( or reboot happened)?\\]$");
    Counted counted;
    for (const QString &line : text.split('\n')) {
        const QRegularExpressionMatch match = note.match(line);
        if (match.hasMatch())
            counted.lost += match.captured(1).toLongLong();
        else if (line == LAST_LINE)
            counted.shown += line.size() + 1;
        else if (!line.isEmpty() && !line.startsWith("Sending ") && !line.startsWith("Received "))
            counted.shown += line.toUtf8().size() + 1 + CODES_PER_LINE;
    }
    return counted;
}

} // namespace

class FleetLogsTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<SimulatedFleet> fleet;
    std::unique_ptr<FleetWindow> window;

    WindowHandle &gui() { return *window->gui; }

    QJsonObject stats(int index) { return fleet->stats().at(index).toObject(); }

    bool is_logging(int index)
    {
        const QJsonObject answer = fleet->ask({{"state", true}, {"device", index}});
        const QJsonObject state = answer.value("states").toArray().at(0).toObject();
        return state.value("logging").toObject().value("en").toBool();
    }

    bool becomes_logging(int index, bool wanted)
    {
        return runs_until([this, index, wanted] { return is_logging(index) == wanted; }, 10000);
    }

    // Lets the device report a few times more.
    bool reports_again(int index)
    {
        const int sent = stats(index).value("reports_sent").toInt();
        return runs_until(
            [this, index, sent] { return stats(index).value("reports_sent").toInt() >= sent + 3; });
    }

    void open(const QList<int> &indexes)
    {
        window->select(window->devices(indexes));
        gui().enable_logging();
    }

    QString text(int index) { return gui().log_view(window->device(index))->toPlainText(); }

    // The bytes leave device `index` as they are.
    void send_raw(int index, const QByteArray &bytes)
    {
        fleet->fault(index, "send_raw", {{"base64", QString::fromLatin1(bytes.toBase64())}});
    }

private slots:
    void initTestCase()
    {
        fleet = std::make_unique<SimulatedFleet>(
            QStringList{"--count", QString::number(COUNT), "--reboot-time", "600",
                        "--metering-rate", "0", "--log-rate", "20"});
        window = std::make_unique<FleetWindow>(*fleet);
    }
    // Without log windows, faults and streams; but one message after the other meets open windows.
    void init()
    {
        QVERIFY(runs_until([this] { return window->is_settled(); }));
        if (QTest::currentTestFunction()
            == QByteArray("messages_of_any_content_are_shown_or_dropped"))
            return;
        for (int index = 0; index < COUNT; ++index) {
            Device *device = window->device(index);
            device->log_paused = false;
            gui().open_log(device); // a deleted device is told nothing
            gui().log_window(device)->close();
            fleet->fault(index, "log", {{"clear", true}, {"rate", -1}});
            fleet->fault(index, "loss", {{"percent", 0}});
            QVERIFY(becomes_logging(index, false));
        }
        gui().drain(); // what the devices sent last counts as heard before
        fleet->ask({{"options", QJsonObject{{"log_rate", 20}}}});
        fleet->ask({{"stats", true}, {"reset", true}});
    }
    void cleanupTestCase()
    {
        window.reset();
        fleet.reset();
    }

    void logging_is_on_in_the_device_exactly_while_its_window_is_open()
    {
        for (int index = 0; index < COUNT; ++index)
            QVERIFY(!is_logging(index));
        open({0, 1});
        QVERIFY(becomes_logging(0, true) && becomes_logging(1, true));
        QTRY_VERIFY(text(0).contains("boot: firmware "));

        gui().log_window(window->device(0))->close();
        QVERIFY(becomes_logging(0, false));
        QVERIFY(reports_again(0));
        QVERIFY(!is_logging(0));
        open({0});
        QVERIFY(becomes_logging(0, true));

        // Paused it goes on: what is not shown counts as lost later.
        window->device(1)->log_paused = true;
        QVERIFY(reports_again(1));
        QVERIFY(is_logging(1));
        QVERIFY(!is_logging(2) && !is_logging(3));
    }

    void logging_is_on_again_after_the_device_has_restarted()
    {
        open({0});
        QVERIFY(becomes_logging(0, true));
        QTRY_VERIFY(window->device(0)->log_pos > 500);
        fleet->fault(0, "reboot");
        QVERIFY(runs_until([this] {
            return stats(0).value("reboots").toInt() == 1 && stats(0).value("reachable").toBool();
        }));
        QVERIFY(becomes_logging(0, true));
        QTRY_VERIFY(text(0).contains(" or reboot happened]\n"));

        // Closed while the device restarts: it comes back with its stream off and keeps it so.
        fleet->fault(0, "reboot");
        gui().log_window(window->device(0))->close();
        QVERIFY(runs_until([this] { return stats(0).value("reboots").toInt() == 2; }));
        QVERIFY(reports_again(0));
        QVERIFY(!is_logging(0));
    }

    void a_lost_command_is_given_again()
    {
        fleet->fault(0, "loss", {{"percent", 100}, {"direction", "in"}});
        open({0});
        QVERIFY(!is_logging(0));
        fleet->fault(0, "loss", {{"percent", 0}});
        QVERIFY(becomes_logging(0, true));
    }

    void bytes_shown_and_bytes_noted_as_lost_are_the_bytes_sent()
    {
        QVERIFY(has_patience);
        const int seconds = seconds_to_count();
        const QList<int> rates = {40, 20, 10};
        for (int index = 0; index < rates.size(); ++index)
            fleet->fault(index, "log", {{"rate", rates.at(index)}, {"loss", 5}});
        for (int index = 0; index < COUNT; ++index) {
            fleet->fault(index, "log", {{"pos", 0}});
            window->device(index)->log_pos = 0;
        }
        // The last one loses any datagrams, also the answers that switch logging on.
        fleet->fault(3, "loss", {{"percent", 5}, {"direction", "both"}});
        open({0, 1, 2, 3});
        for (int index = 0; index < COUNT; ++index)
            QVERIFY(becomes_logging(index, true));
        QElapsedTimer elapsed;
        elapsed.start();
        runs_until([&elapsed, seconds] { return elapsed.hasExpired(seconds * 1000); },
                   seconds * 2000);

        // A last message that arrives makes the window note whatever was lost before it.
        for (int index = 0; index < COUNT; ++index) {
            fleet->fault(index, "log", {{"rate", 0}, {"loss", 0}});
            fleet->fault(index, "loss", {{"percent", 0}});
            fleet->fault(index, "log", {{"text", LAST_LINE + "\n"}});
        }
        for (int index = 0; index < COUNT; ++index) {
            QTRY_VERIFY(text(index).contains(LAST_LINE));
            const QJsonObject told = stats(index);
            const Counted counted = count_bytes(text(index));
            qInfo("device %d in %d s: %lld bytes shown, %lld noted as lost", index, seconds,
                  counted.shown, counted.lost);
            QVERIFY(counted.shown > 0);
            QCOMPARE(counted.shown, qint64(told.value("log_bytes_sent").toDouble()));
            QCOMPARE(counted.lost, qint64(told.value("log_bytes_lost").toDouble()));
        }
        const Counted busiest = count_bytes(text(0));
        QVERIFY(busiest.lost > 0);
    }

    void a_console_line_reaches_the_device_as_it_was_typed()
    {
        open({0});
        auto *console = gui().log_window(window->device(0))->findChild<QLineEdit *>();
        console->setText(R"({"command":"set_params","seq":7,"ui":{"name":"From the console"}})");
        QTest::keyClick(console, Qt::Key_Return);
        QTRY_COMPARE(window->device(0)->value("ui/name").toString(), QString("From the console"));
        const QJsonArray commands = stats(0).value("commands").toArray();
        const bool is_there
            = std::any_of(commands.begin(), commands.end(), [](const QJsonValue &one) {
                  return one["seq"].toInt() == 7 && !one.toObject().contains("api_version");
              });
        QVERIFY(is_there);
        QVERIFY(console->text().isEmpty());
    }

    void messages_of_any_content_are_shown_or_dropped_data()
    {
        QTest::addColumn<QByteArray>("members");
        QTest::addColumn<QByteArray>("bytes");
        QTest::addColumn<int>("length");
        QTest::addColumn<QString>("expected");
        const auto position = [](const char *name, const char *value, const char *expected) {
            QTest::newRow(name) << QByteArray(",\"pos\":") + value << QByteArray("x") << 1
                                << QString(expected);
        };
        position("negative", "-5", "\n[lost 4294967291 log bytes]\nx");
        position("fraction", "1.5", "\n[lost 1 log bytes]\nx");
        position("huge", "1e300", "x");
        position("hugely negative", "-1e300", "x");
        position("text", "\"7\"", "x");
        position("null", "null", "x");
        position("array", "[1]", "x");
        const auto lie
            = [](const char *name, const QByteArray &bytes, int length, const char *expected) {
                  QTest::newRow(name) << QByteArray() << bytes << length << QString(expected);
              };
        lie("length beyond the end", "x", 2, "");
        lie("largest length", "x", 65535, "");
        lie("length short of the end", "xyz", 1, "x");
        lie("no length", "xyz", 0, "");
        lie("zero byte", QByteArray("a\0b", 3), 3, "a");
        lie("sequence without end", QByteArray("\x1b[") + QByteArray(64, '0') + "y", 67, "y");
        lie("no UTF-8", "\xff", 1, "\uFFFD");
    }
    void messages_of_any_content_are_shown_or_dropped()
    {
        QFETCH(QByteArray, members);
        QFETCH(QByteArray, bytes);
        QFETCH(int, length);
        QFETCH(QString, expected);
        fleet->ask({{"options", QJsonObject{{"log_rate", 0}}}});
        open({0, 1});
        QVERIFY(becomes_logging(0, true) && becomes_logging(1, true));
        for (const int index : {0, 1})
            fleet->fault(index, "log", {{"text", "ready\n"}});
        QTRY_VERIFY(text(0).contains("ready") && text(1).contains("ready"));
        gui().log_view(window->device(1))->clear();
        Device *device = window->device(0);
        device->log_pos = 0;
        gui().log_view(device)->clear();
        send_raw(0, log_message(device->device_id, members, bytes, length));
        // Comes behind it, in another window.
        fleet->fault(1, "log", {{"text", LAST_LINE}});
        QTRY_VERIFY(text(1).contains(LAST_LINE));
        QCOMPARE(gui().log_view(device)->toPlainText(), expected);
    }

    void devices_can_be_deleted_with_log_windows_in_any_state()
    {
        fleet->ask({{"options", QJsonObject{{"log_rate", 500}}}});
        open({0, 1, 2, 3});
        for (int index = 0; index < COUNT; ++index)
            QTRY_VERIFY(gui().log_view(window->device(index))->blockCount() > 60);
        window->device(1)->log_paused = true;
        gui().log_view(window->device(2))->verticalScrollBar()->setValue(5);
        gui().append_log(window->device(3), false, QString(60000, '\n')); // not all shown yet
        QVERIFY(!gui().are_logs_shown());
        gui().view()->selectAll();
        gui().delete_selected();
        // What is on its way meets devices that are new, without a window.
        QVERIFY(runs_until([this] { return window->online_count() == COUNT; }));
        for (int index = 0; index < COUNT; ++index)
            QVERIFY(!gui().log_view(window->device(index)));
    }

    void the_program_can_be_closed_with_log_windows_in_any_state()
    {
        fleet->ask({{"options", QJsonObject{{"log_rate", 500}}}});
        open({0, 1, 2, 3});
        for (int index = 0; index < COUNT; ++index)
            QTRY_VERIFY(gui().log_view(window->device(index))->blockCount() > 60);
        window->device(0)->log_paused = true;
        gui().log_window(window->device(1))->close();
        open({1});
        gui().log_view(window->device(2))->verticalScrollBar()->setValue(5);
        gui().append_log(window->device(3), false, QString(60000, '\n'));
        QJsonArray commands = stats(0).value("commands").toArray();
        gui().close();
        QApplication::closeAllWindows();
        QVERIFY(gui().all_devices().empty());
        QTest::qWait(50); // what is on its way arrives now
        QCOMPARE(stats(0).value("commands").toArray(), commands);
    }
};

WINDOW_TEST_MAIN(FleetLogsTest)
#include "fleet_logs_test.moc"
