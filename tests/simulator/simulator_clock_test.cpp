// The simulator's alarm, and the numbers that it draws.
#include "simulator/alarm_clock.h"
#include "simulator/random_source.h"
#include "simulator/schedule.h"

#include <QSignalSpy>
#include <QtTest>

using namespace simulator;

class SimulatorClockTest : public QObject
{
    Q_OBJECT

private slots:
    void an_alarm_rings_once_and_not_before_its_time()
    {
        AlarmClock alarm;
        QSignalSpy rings(&alarm, &AlarmClock::rings);
        const int64_t due = steady_time() + 20'000;
        alarm.set(due);
        QTRY_COMPARE(rings.size(), 1);
        QVERIFY(steady_time() >= due);
    }

    // Work that renews itself is due at the same time again.
    void the_same_time_rings_again_when_it_is_set_again()
    {
        AlarmClock alarm;
        QSignalSpy rings(&alarm, &AlarmClock::rings);
        const int64_t past = steady_time() - 1000;
        for (int times = 1; times <= 3; ++times) {
            alarm.set(past);
            QTRY_COMPARE(rings.size(), times);
        }
    }

    void a_time_that_has_passed_rings_at_once_however_long_ago()
    {
        for (const int64_t due : {int64_t{0}, int64_t{1}, int64_t{-5}}) {
            AlarmClock alarm;
            QSignalSpy rings(&alarm, &AlarmClock::rings);
            alarm.set(due);
            QTRY_COMPARE(rings.size(), 1);
        }
    }

    void the_earlier_setting_is_forgotten()
    {
        AlarmClock first;
        AlarmClock second;
        QSignalSpy first_rings(&first, &AlarmClock::rings);
        QSignalSpy second_rings(&second, &AlarmClock::rings);
        first.set(1);
        first.set(Schedule::NEVER);
        second.set(1);
        QTRY_COMPARE(second_rings.size(), 1);
        QCOMPARE(first_rings.size(), 0);
    }

    // A fleet of a seed is the same on each machine, and after each change of the simulator.
    void the_numbers_are_those_of_the_generator()
    {
        RandomSource random(0);
        QCOMPARE(random.next(), uint64_t{0xE220A8397B1DCDAF});
        QCOMPARE(random.next(), uint64_t{0x6E789E6AA1B965F4});
        QCOMPARE(random.next(), uint64_t{0x06C45D188009454F});
    }

    void numbers_between_two_include_both()
    {
        RandomSource random(1);
        QSet<int> drawn;
        for (int i = 0; i < 200; ++i)
            drawn.insert(random.between(-1, 2));
        QCOMPARE(drawn, (QSet<int>{-1, 0, 1, 2}));
        QCOMPARE(random.between(7, 7), 7);
        QCOMPARE(random.below(0), 0);
        QCOMPARE(random.below(-3), 0);
        QCOMPARE(random.below(1), 0);
    }

    void a_share_of_all_happens()
    {
        RandomSource random(1);
        int happened = 0;
        for (int i = 0; i < 20'000; ++i) {
            QVERIFY(!random.happens(0));
            QVERIFY(random.happens(100));
            happened += random.happens(2.5) ? 1 : 0;
        }
        QVERIFY2(happened > 400 && happened < 600, qPrintable(QString::number(happened)));
    }
};

QTEST_GUILESS_MAIN(SimulatorClockTest)
#include "simulator_clock_test.moc"
