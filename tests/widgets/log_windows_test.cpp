// The pace of the log windows, without a main window around them, at times that the test sets.
#include "gui/idle_pixels.h"
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

    QString shown() const { return shown_of(device.get()); }
    QString shown_of(const Device *one) const { return logs->window(one)->log()->toPlainText(); }

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

    // Most of what arrives is no text for a log.
    void a_frame_begins_with_a_text_and_not_without()
    {
        logs->show_soon();
        say("first\n");
        QCOMPARE(shown(), QString("first\n"));
    }

    // No more is read while so much waits.
    void plenty_is_shown_within_the_frame()
    {
        say("first\n");
        logs->append(device.get(), false, QString("line\n").repeated(13108));
        QVERIFY(logs->is_full());
        logs->show_soon();
        QVERIFY(shown().size() > 1000);
    }

    void what_is_opened_while_others_wait_comes_behind_them()
    {
        Device second;
        Device third;
        Device fourth;
        QList<Device *> opened;
        connect(logs.get(), &LogWindows::opened, this,
                [&opened](Device *one) { opened.append(one); });
        logs->open({&second, &third});
        logs->open({&fourth});
        QCOMPARE(opened, QList<Device *>({&second}));
        QTRY_COMPARE(opened, QList<Device *>({&second, &third, &fourth}));
        for (const Device *one : {&second, &third, &fourth})
            logs->drop(one);
    }

    void a_turn_that_finds_nothing_to_open_is_harmless()
    {
        Device second;
        Device third;
        logs->open({&second, &third});
        logs->drop(&third);
        QCoreApplication::processEvents();
        QVERIFY(logs->is_open(&second) && !logs->is_open(&third));
        logs->drop(&second);
    }

    void what_is_meant_for_a_window_that_is_not_there_is_dropped()
    {
        const Device other;
        logs->append(&other, false, "text");
        logs->set_title(&other, "title");
        QVERIFY(logs->is_empty());
        QVERIFY(!logs->is_open(&other));
    }

    // What it is answered with is no text for a window that goes.
    void who_hears_of_a_closing_finds_no_window()
    {
        QList<bool> was_open;
        connect(logs.get(), &LogWindows::closed, this,
                [this, &was_open](Device *one) { was_open.append(logs->is_open(one)); });
        logs->window(device.get())->close();
        QCOMPARE(was_open, QList<bool>({false}));
    }

    // Painting all of it anew for each message would cost more than its memory.
    void a_window_that_gets_texts_keeps_its_pixels_for_five_seconds()
    {
        const auto *patience
            = logs->window(device.get())->findChild<IdlePixels *>()->findChild<QTimer *>();
        QCOMPARE(patience->interval(), 250);
        say("first\n");
        QCOMPARE(patience->interval(), 5000);
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
        QCOMPARE(shown_of(&second), QString());
        QCOMPARE(logs->wait(), 0);
        logs->append(device.get(), false, "c");
        logs->flush();
        QCOMPARE(shown_of(&second), QString("b"));
        QCOMPARE(shown(), QString("a"));
        QCOMPARE(logs->wait(), FrameThrottle::FRAME);
        logs->drop(&second);
    }

    void a_window_that_is_cleared_gives_up_its_turn()
    {
        Device second;
        logs->open({&second});
        const auto say_to_both = [this, &second] {
            for (const Device *one : std::initializer_list<const Device *>{device.get(), &second})
                logs->append(one, false, "a");
            logs->flush();
        };
        say_to_both();
        QVERIFY(!shown().isEmpty() && shown_of(&second).isEmpty());
        emit logs->window(&second)->clear_pressed();
        QVERIFY(logs->is_empty());
        say_to_both();
        QCOMPARE(logs->wait(), 0); // for the second, in this frame
        logs->flush();
        QCOMPARE(shown_of(&second), QString("a"));
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
        QVERIFY(frame_passes());
        QVERIFY(logs->is_open(&second));
        QVERIFY(!logs->is_open(&third));
        QCOMPARE(shown(), QString("first\n"));
        logs->drop(&second);
    }
};

QTEST_MAIN(LogWindowsTest)
#include "log_windows_test.moc"
