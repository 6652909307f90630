// The pace of the log windows, without a main window around them, at times that the test sets.
#include "meter/log_window.h"
#include "meter/log_windows.h"
#include "model/device.h"
#include "support/idle_loop.h"

#include <QPlainTextEdit>
#include <QtTest>

class LogWindowsTest : public QObject
{
    Q_OBJECT

    qint64 now = 1000; // ms
    std::unique_ptr<Device> device;
    std::unique_ptr<LogWindows> logs;

    QString shown() const { return logs->window(device.get())->log()->toPlainText(); }

    void say(const QString &text)
    {
        logs->append(device.get(), false, text);
        logs->show_soon();
    }

    // What is said next does not show before `ms` have passed, and does then.
    void expect_rest(int ms)
    {
        const QString before = shown();
        now += ms - 1;
        say("early\n");
        QCOMPARE(shown(), before);
        now += 1;
        logs->show_soon();
        QVERIFY(shown().endsWith("early\n"));
    }

private slots:
    void init()
    {
        now = 1000;
        device = std::make_unique<Device>();
        logs = std::make_unique<LogWindows>(nullptr, [this] { return now; });
        logs->open({device.get()});
    }
    void cleanup()
    {
        logs->drop(device.get());
        logs.reset();
    }

    void it_rests_when_all_windows_are_open()
    {
        Device other;
        logs->open({&other, device.get()});
        QTRY_VERIFY(logs->window(&other));
        say("first\n");
        QCoreApplication::processEvents();
        const int turns = turns_at_rest();
        QVERIFY2(turns < 100, qPrintable(QString::number(turns)));
        logs->drop(&other);
    }

    void the_first_line_is_shown_at_once()
    {
        say("first\n");
        QCOMPARE(shown(), QString("first\n"));
    }

    void what_follows_waits_for_the_next_frame()
    {
        say("first\n");
        expect_rest(FrameThrottle::FRAME);
    }

    void a_flood_waits_for_two_frames()
    {
        say(QString("a line of a flood\n").repeated(200));
        QVERIFY(logs->is_empty());
        expect_rest(2 * FrameThrottle::FRAME);
    }

    void after_a_flood_the_pace_is_the_usual_one_again()
    {
        say(QString("a line of a flood\n").repeated(200));
        expect_rest(2 * FrameThrottle::FRAME);
        expect_rest(FrameThrottle::FRAME);
    }

    // Twenty that are written to in turn would otherwise be painted for each line.
    void each_window_has_one_turn_in_a_frame()
    {
        Device second;
        logs->open({&second});
        logs->append(device.get(), false, "a");
        logs->append(&second, false, "b");
        logs->flush();
        QCOMPARE(shown(), QString("a"));
        QCOMPARE(logs->window(&second)->log()->toPlainText(), QString());
        QCOMPARE(logs->wait(), 0);
        logs->append(device.get(), false, "c");
        logs->flush();
        QCOMPARE(logs->window(&second)->log()->toPlainText(), QString("b"));
        QCOMPARE(shown(), QString("a"));
        QCOMPARE(logs->wait(), FrameThrottle::FRAME);
        logs->drop(&second);
    }

    void what_is_left_of_a_huge_message_comes_in_the_next_turn()
    {
        logs->append(device.get(), false, QString("a line of a flood\n").repeated(10000));
        logs->flush();
        QVERIFY(!logs->is_empty());
        QCOMPARE(logs->wait(), 0);
    }

    void nothing_is_opened_or_shown_after_the_end()
    {
        Device second;
        Device third;
        logs->open({&second, &third}); // the third in the next turn
        say("first\n");
        say("waits\n");
        logs->stop();
        now += 1000;
        QTest::qWait(0);
        QCoreApplication::processEvents();
        QVERIFY(logs->is_open(&second));
        QVERIFY(!logs->is_open(&third));
        QCOMPARE(shown(), QString("first\n"));
        logs->drop(&second);
    }
};

QTEST_MAIN(LogWindowsTest)
#include "log_windows_test.moc"
