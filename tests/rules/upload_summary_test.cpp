// What the status bar says of uploads.
#include "firmware/upload_summary.h"

#include <QtTest>

namespace {

UploadSummary with_failures(int count)
{
    UploadSummary summary{.total = 25, .succeeded = 25 - count};
    for (int i = 1; i <= count; ++i)
        summary.failures.push_back(
            {.device = "PA " + QString::number(i), .reason = i == 1 ? "timeout" : "not updating"});
    return summary;
}

} // namespace

class upload_summary_test : public QObject
{
    Q_OBJECT

private slots:
    void nothing_is_told_before_the_first_upload() { QCOMPARE(upload_message({}), QString()); }

    void running_ones_are_counted()
    {
        QCOMPARE(upload_message({.total = 30, .running = 25, .succeeded = 5, .percent = 42}),
                 QString("Updating 25 devices, 42 %"));
        QCOMPARE(upload_message({.total = 1, .running = 1}), QString("Updating 1 device, 0 %"));
    }

    void failures_wait_for_the_end()
    {
        UploadSummary summary = with_failures(3);
        summary.running = 1;
        QCOMPARE(upload_message(summary), QString("Updating 1 device, 0 %"));
    }

    void the_end_names_up_to_five_failures_data()
    {
        QTest::addColumn<int>("failures");
        QTest::addColumn<QString>("message");
        QTest::newRow("none") << 0 << "25 of 25 uploads succeeded.";
        QTest::newRow("one") << 1 << "24 of 25 uploads succeeded; failed: PA 1";
        QTest::newRow("three") << 3 << "22 of 25 uploads succeeded; failed: PA 1, PA 2, PA 3";
        QTest::newRow("five") << 5
                              << "20 of 25 uploads succeeded; failed: PA 1, PA 2, PA 3, PA 4, PA 5";
        QTest::newRow("six") << 6
                             << "19 of 25 uploads succeeded; failed: PA 1, PA 2, PA 3, PA 4, PA 5, "
                                "and 1 more";
        QTest::newRow("fourteen") << 14
                                  << "11 of 25 uploads succeeded; failed: PA 1, PA 2, PA 3, PA 4, "
                                     "PA 5, and 9 more";
    }
    void the_end_names_up_to_five_failures()
    {
        QFETCH(const int, failures);
        QTEST(upload_message(with_failures(failures)), "message");
    }

    void the_list_names_all_with_their_reasons()
    {
        QCOMPARE(upload_failure_list(with_failures(0)), QString());
        QCOMPARE(upload_failure_list(with_failures(2)),
                 QString("PA 1: timeout\nPA 2: not updating"));
        QCOMPARE(upload_failure_list(with_failures(14)).split('\n').size(), 14);
    }
};

QTEST_GUILESS_MAIN(upload_summary_test)
#include "upload_summary_test.moc"
