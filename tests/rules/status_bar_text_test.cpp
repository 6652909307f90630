// The words of the status bar, letter for letter.
#include "gui/status_bar_text.h"

#include <QtTest>

class StatusBarTextTest : public QObject
{
    Q_OBJECT

private slots:
    void the_counts_name_what_applies_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QList<int>>("numbers");
        QTest::newRow("none") << "0 devices, 0 online" << QList<int>{0, 0, 0, 0};
        QTest::newRow("one") << "1 device, 1 online" << QList<int>{1, 1, 0, 0};
        QTest::newRow("many") << "60 devices, 58 online" << QList<int>{60, 58, 0, 0};
        QTest::newRow("selected") << "60 devices, 58 online, 12 selected"
                                  << QList<int>{60, 58, 12, 0};
        QTest::newRow("hidden") << "60 devices, 58 online, 6 hidden by the search"
                                << QList<int>{60, 58, 0, 6};
        QTest::newRow("one each") << "2 devices, 1 online, 1 selected, 1 hidden by the search"
                                  << QList<int>{2, 1, 1, 1};
        QTest::newRow("all") << "60 devices, 58 online, 12 selected, 6 hidden by the search"
                             << QList<int>{60, 58, 12, 6};
    }
    void the_counts_name_what_applies()
    {
        QFETCH(QString, text);
        QFETCH(QList<int>, numbers);
        QCOMPARE(counts_text({.devices = numbers[0],
                              .online = numbers[1],
                              .selected = numbers[2],
                              .hidden = numbers[3]}),
                 text);
    }

    void an_edit_says_that_nothing_is_sent_yet()
    {
        QCOMPARE(editing_text(12, 0),
                 QString("Editing 12 devices. Nothing is sent before Confirm."));
        QCOMPARE(editing_text(1, 0), QString("Editing 1 device. Nothing is sent before Confirm."));
        QCOMPARE(editing_text(12, 7),
                 QString("Editing 12 devices. Nothing is sent before Confirm. "
                         "7 properties are not shared by all."));
        QCOMPARE(editing_text(2, 1),
                 QString("Editing 2 devices. Nothing is sent before Confirm. "
                         "1 property is not shared by all."));
    }

    void a_confirm_says_how_many_got_it()
    {
        QCOMPARE(confirmed_text(9, 12, true), QString("Sent to 9 of 12 devices."));
        QCOMPARE(confirmed_text(0, 1, true), QString("Sent to 0 of 1 device."));
        QCOMPARE(confirmed_text(0, 12, false),
                 QString("Nothing sent: all 12 devices have these values already."));
        QCOMPARE(confirmed_text(0, 1, false),
                 QString("Nothing sent: the device has these values already."));
    }

    void commands_are_told_in_singular_and_plural()
    {
        QCOMPARE(identify_text(12), QString("Asked 12 devices to identify themselves."));
        QCOMPARE(identify_text(1), QString("Asked 1 device to identify itself."));
        QCOMPARE(purge_text(60), QString("Asked 60 devices to purge their sessions."));
        QCOMPARE(purge_text(1), QString("Asked 1 device to purge its sessions."));
    }
};

QTEST_GUILESS_MAIN(StatusBarTextTest)
#include "status_bar_text_test.moc"
