// Only the first of several copies may write the kept files.
#include "gui/copy_lock.h"

#include <QFile>
#include <QTemporaryDir>
#include <QtTest>

class CopyLockTest : public QObject
{
    Q_OBJECT

    const QTemporaryDir folder;
    const QString file = folder.filePath("devicecache.json");

private slots:
    void a_copy_is_second_while_the_first_lives()
    {
        auto first = std::make_unique<CopyLock>();
        first->take(file);
        QVERIFY(!first->is_second_copy());
        CopyLock second;
        QTest::ignoreMessage(QtDebugMsg,
                             "another copy of the program is running: this one saves nothing");
        second.take(file);
        QVERIFY(second.is_second_copy());
        first.reset();
        QVERIFY(second.is_second_copy()); // what it has read is old by now
        CopyLock third;
        third.take(file);
        QVERIFY(!third.is_second_copy());
    }

    void what_a_crashed_copy_left_is_taken_over()
    {
        QFile left(file + ".lock");
        QVERIFY(left.open(QIODevice::WriteOnly));
        left.write("999999999\nProgram\n" + QSysInfo::machineHostName().toUtf8() + "\n");
        left.close();
        CopyLock lock;
        lock.take(file);
        QVERIFY(!lock.is_second_copy());
    }

    void without_a_place_for_a_lock_every_copy_is_the_first()
    {
        CopyLock lock;
        lock.take(folder.filePath("missing/devicecache.json"));
        QVERIFY(!lock.is_second_copy());
    }
};

QTEST_GUILESS_MAIN(CopyLockTest)
#include "copy_lock_test.moc"
