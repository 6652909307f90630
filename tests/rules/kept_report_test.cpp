// A report is kept in little memory, and says the same however it is kept.
#include "link/datagram.h"
#include "model/kept_report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

#include <malloc.h>

namespace {

QByteArray many_lists()
{
    return R"({"device_id":"a","x":[)" + QByteArray("[1],").repeated(15000) + "[1]]}";
}

QJsonObject read(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

QJsonObject plain_report()
{
    return {{"device_id", "a"}, {"dsp", QJsonObject{{"level", 4}}}};
}

} // namespace

class KeptReportTest : public QObject
{
    Q_OBJECT

private slots:
    void an_ordinary_report_stays_parsed()
    {
        KeptReport report(plain_report());
        report.settle();
        QVERIFY(!report.is_text());
        QCOMPARE(report.object(), plain_report());
        QCOMPARE(report.value("device_id").toString(), QString("a"));
    }

    void a_report_of_many_lists_is_kept_as_text_and_says_the_same()
    {
        KeptReport report(read(many_lists()));
        QVERIFY(!report.is_text());
        report.settle();
        QVERIFY(report.is_text());
        QCOMPARE(report.object(), read(many_lists()));
        QCOMPARE(report.compact(), many_lists());
    }

    // Attachment and checksum belong to the datagram, not to the report.
    void a_report_kept_as_its_datagram_says_the_same()
    {
        for (const QByteArray &behind : {QByteArray(), QByteArray("\n"), QByteArray("\0more", 5)}) {
            KeptReport report(read(many_lists()));
            report.settle(many_lists() + behind);
            QVERIFY(report.is_text());
            QCOMPARE(report.object(), read(many_lists()));
        }
    }

    // Parsed, each of these takes about as much as the longest datagram.
    void what_takes_more_parsed_than_a_datagram_is_kept_as_text()
    {
        for (const int lists : {300, 700}) {
            KeptReport report(read("{\"x\":[" + QByteArray("[],").repeated(lists) + "1]}"));
            report.settle();
            QCOMPARE(report.is_text(), lists == 700);
        }
    }

    void a_new_report_replaces_one_kept_as_text()
    {
        KeptReport report(read(many_lists()));
        report.settle();
        report = plain_report();
        QVERIFY(!report.is_text());
        QCOMPARE(report.object(), plain_report());
    }

    void copies_are_equal_and_others_are_not()
    {
        KeptReport heavy(read(many_lists()));
        heavy.settle();
        KeptReport other(read(many_lists().replace("[1]]}", "[2]]}")));
        other.settle();
        QVERIFY(heavy == KeptReport(heavy));
        QVERIFY(!(heavy == other));
        QVERIFY(!(heavy == KeptReport(plain_report())));
        QVERIFY(!(KeptReport(plain_report()) == KeptReport(QJsonObject{{"device_id", "a"}})));
        QVERIFY(KeptReport(plain_report()) == KeptReport(plain_report()));
    }

    void memory_stays_near_the_datagram()
    {
        std::vector<KeptReport> reports(20);
        const size_t before = mallinfo2().uordblks;
        for (KeptReport &report : reports) {
            report = read(many_lists());
            report.settle();
        }
        const size_t each = (mallinfo2().uordblks - before) / reports.size();
        QVERIFY2(each < 2 * size_t(many_lists().size()), qPrintable(QString::number(each)));
    }

    void weighing_ends_above_what_is_asked_for()
    {
        QVERIFY(parsed_weight(read(many_lists()), 1000) > 1000);
        QJsonArray lists;
        for (int i = 0; i < 100; ++i)
            lists.append(QJsonArray{1, 2, 3});
        // Of a hundred lists with 96 bytes and three members each no more than one is looked at.
        QCOMPARE(parsed_weight(lists, 96 + 100 * 32), 96 + 100 * 32 + 96 + 3 * 32);
        QVERIFY(parsed_weight(read(many_lists()), 1 << 30) > 15000 * 96);
        QVERIFY(parsed_weight(plain_report(), 1000) < 1000);
        QCOMPARE(parsed_weight(5, 1000), 0);
    }
};

QTEST_GUILESS_MAIN(KeptReportTest)
#include "kept_report_test.moc"
