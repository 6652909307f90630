// Work that is asked for without a pause is done once per frame, and never lost.
#include "support/frame_throttle.h"

#include <QSignalSpy>
#include <QtTest>

class frame_throttle_test : public QObject
{
    Q_OBJECT

    qint64 now = 1000; // what the throttle takes for the time
    std::unique_ptr<FrameThrottle> throttle;
    std::unique_ptr<QSignalSpy> due;

private slots:
    void init()
    {
        now = 1000;
        throttle = std::make_unique<FrameThrottle>([this] { return now; });
        due = std::make_unique<QSignalSpy>(throttle.get(), &FrameThrottle::due);
    }

    void nothing_is_due_unasked()
    {
        QCoreApplication::processEvents();
        QVERIFY(!throttle->is_waiting());
        QCOMPARE(due->count(), 0);
    }

    void the_first_comes_in_the_next_turn_and_not_inside_the_question()
    {
        throttle->ask();
        QCOMPARE(due->count(), 0);
        QCOMPARE(throttle->wait(), 0);
        QTRY_COMPARE(due->count(), 1);
        QVERIFY(!throttle->is_waiting());
    }

    void a_thousand_questions_in_one_frame_are_one()
    {
        for (int i = 0; i < 1000; ++i)
            throttle->ask();
        QTRY_COMPARE(due->count(), 1);
        for (int i = 0; i < 1000; ++i)
            throttle->ask();
        QCOMPARE(throttle->wait(), 16);
        QTRY_COMPARE(due->count(), 2);
        QCoreApplication::processEvents();
        QCOMPARE(due->count(), 2);
    }

    void the_next_one_waits_for_the_rest_of_the_frame_data()
    {
        QTest::addColumn<int>("passed");
        QTest::addColumn<int>("rest");
        QTest::newRow("none") << 0 << 16;
        QTest::newRow("a part") << 5 << 11;
        QTest::newRow("nearly all") << 15 << 1;
        QTest::newRow("all") << 16 << 0;
        QTest::newRow("much more") << 100000 << 0;
        QTest::newRow("a clock that went back") << -50 << 16;
    }

    void the_next_one_waits_for_the_rest_of_the_frame()
    {
        QFETCH(const int, passed);
        throttle->note_done();
        now += passed;
        QTEST(throttle->rest_of_frame(), "rest");
        throttle->ask();
        QTEST(throttle->wait(), "rest");
    }

    void questions_without_a_pause_push_nothing_back()
    {
        throttle->note_done();
        throttle->ask();
        now += 3;
        throttle->ask();
        QCOMPARE(throttle->wait(), 16); // as it was started, 3 ms ago
        now += 20;
        throttle->ask();
        QCOMPARE(throttle->wait(), 16);
    }

    void work_done_otherwise_counts_and_begins_the_frame()
    {
        throttle->ask();
        throttle->note_done();
        QVERIFY(!throttle->is_waiting());
        QCoreApplication::processEvents();
        QCOMPARE(due->count(), 0);
        QCOMPARE(throttle->rest_of_frame(), 16);
    }

    void who_asks_while_it_is_done_gets_the_next_frame()
    {
        const auto again = [this] {
            if (due->count() == 1)
                throttle->ask();
        };
        connect(throttle.get(), &FrameThrottle::due, throttle.get(), again);
        throttle->ask();
        QTRY_COMPARE(due->count(), 1);
        QCOMPARE(throttle->wait(), 16);
        QTRY_COMPARE(due->count(), 2);
    }

    void the_rest_of_cut_up_work_waits_for_no_frame()
    {
        throttle->note_done();
        throttle->ask();
        QCOMPARE(throttle->wait(), 16);
        throttle->ask_next_turn();
        QCOMPARE(throttle->wait(), 0);
        QTRY_COMPARE(due->count(), 1);
    }

    void a_longer_frame_holds_until_it_is_set_back()
    {
        throttle->note_done();
        throttle->set_frame(32);
        now += 10;
        QCOMPARE(throttle->rest_of_frame(), 22);
        throttle->ask();
        QCOMPARE(throttle->wait(), 22);
        throttle->note_done();
        QCOMPARE(throttle->rest_of_frame(), 32);
        throttle->set_frame(FrameThrottle::FRAME);
        QCOMPARE(throttle->rest_of_frame(), 16);
    }

    void what_is_cancelled_never_comes()
    {
        throttle->ask();
        throttle->cancel();
        QCoreApplication::processEvents();
        QVERIFY(!throttle->is_waiting());
        QCOMPARE(due->count(), 0);
    }

    void without_a_clock_of_ones_own_it_takes_a_steady_one()
    {
        FrameThrottle real;
        real.note_done();
        QVERIFY(real.rest_of_frame() <= FrameThrottle::FRAME);
        QTRY_COMPARE(real.rest_of_frame(), 0);
    }
};

QTEST_GUILESS_MAIN(frame_throttle_test)
#include "frame_throttle_test.moc"
