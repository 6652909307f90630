// Records that have gone are freed in turns of the event loop.
#include "model/device.h"
#include "model/late_release.h"
#include "support/idle_loop.h"

#include <QPointer>
#include <QtTest>

class LateReleaseTest : public QObject
{
    Q_OBJECT

private slots:
    void a_thousand_are_freed_in_many_turns()
    {
        LateRelease release;
        for (int i = 0; i < 1000; ++i)
            release.take(new Device);
        QCOMPARE(release.waiting(), size_t(1000)); // none inside the call
        int turns = 0;
        while (release.waiting() > 0 && turns < 10000) {
            const size_t before = release.waiting();
            QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
            QVERIFY(before - release.waiting() <= 64);
            ++turns;
        }
        QCOMPARE(release.waiting(), size_t(0));
        QVERIFY2(turns >= 16, qPrintable(QString::number(turns)));
    }

    void what_waits_at_the_end_is_freed()
    {
        auto release = std::make_unique<LateRelease>();
        auto *device = new Device;
        const QPointer<QObject> part(&device->meter);
        release->take(device);
        QVERIFY(part);
        release.reset();
        QVERIFY(!part);
    }

    void later_ones_are_freed_too()
    {
        LateRelease release;
        for (int round = 0; round < 3; ++round) {
            release.take(new Device);
            QTRY_COMPARE(release.waiting(), size_t(0));
        }
    }

    void it_rests_when_all_are_freed()
    {
        LateRelease release;
        release.take(new Device);
        QTRY_COMPARE(release.waiting(), size_t(0));
        const int turns = turns_at_rest();
        QVERIFY2(turns < 100, qPrintable(QString::number(turns)));
    }
};

QTEST_GUILESS_MAIN(LateReleaseTest)
#include "late_release_test.moc"
