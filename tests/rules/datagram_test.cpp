// Framing in both directions.
#include "link/datagram.h"
#include "support/two_ways.h"
#include "support/vectors.h"

#include <QJsonDocument>
#include <QtTest>

class DatagramTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_cases_data() { add_vector_rows("framing"); }
    void golden_cases()
    {
        QFETCH(QJsonObject, input);
        QFETCH(QJsonObject, expect);
        if (input.value("kind").toString() == "out") {
            QCOMPARE(write_frame(input.value("object").toObject()),
                     QByteArray::fromBase64(expect.value("datagram").toString().toLatin1()));
            return;
        }
        const Frame frame
            = read_frame(QByteArray::fromBase64(input.value("datagram").toString().toLatin1()));
        const QString verdict = expect.value("verdict").toString();
        QCOMPARE(frame.verdict == FrameVerdict::OK, verdict == "ok");
        QCOMPARE(frame.verdict == FrameVerdict::BAD_CHECKSUM, verdict == "bad_crc");
        QCOMPARE(frame.verdict == FrameVerdict::NO_OBJECT, verdict == "no_object");
        if (verdict == "bad_crc")
            QCOMPARE(frame.carried_checksum,
                     static_cast<uint32_t>(expect.value("carried").toDouble()));
        if (verdict != "ok")
            return;
        QCOMPARE(frame.object, expect.value("json").toObject());
        QCOMPARE(frame.attachment,
                 QByteArray::fromBase64(expect.value("attachment").toString().toLatin1()));
    }

    void a_missing_trailer_is_accepted()
    {
        QVERIFY(read_frame("{\"a\":1}").verdict == FrameVerdict::OK);
    }

    void a_trailer_in_upper_case_is_accepted()
    {
        QByteArray datagram = with_checksum("{\"a\":1}");
        datagram = datagram.left(datagram.size() - 8) + datagram.right(8).toUpper();
        QVERIFY(read_frame(datagram).verdict == FrameVerdict::OK);
    }

    void a_wrong_trailer_is_told_with_what_it_carried()
    {
        const Frame frame = read_frame("{\"a\":1}\n//#00000001");
        QVERIFY(frame.verdict == FrameVerdict::BAD_CHECKSUM);
        QCOMPARE(frame.carried_checksum, 1U);
    }

    void the_trailer_covers_the_attachment()
    {
        const QByteArray bytes = QByteArray("{\"a\":1}") + '\0' + "at\n//#tached";
        const Frame frame = read_frame(with_checksum(bytes));
        QVERIFY(frame.verdict == FrameVerdict::OK);
        QCOMPARE(frame.attachment, QByteArray("at\n//#tached"));
        QByteArray broken = with_checksum(bytes);
        broken[10] = 'x';
        QVERIFY(read_frame(broken).verdict == FrameVerdict::BAD_CHECKSUM);
    }

    void eight_letters_that_are_no_digits_read_as_zero()
    {
        const Frame frame = read_frame("{\"a\":1}\n//#zzzzzzzz");
        QVERIFY(frame.verdict == FrameVerdict::BAD_CHECKSUM);
        QCOMPARE(frame.carried_checksum, 0U);
        // The checksum of nothing is 0: it passes, and dies for want of an object.
        QVERIFY(read_frame("\n//#zzzzzzzz").verdict == FrameVerdict::NO_OBJECT);
        QVERIFY(read_frame("\n//#00000000").verdict == FrameVerdict::NO_OBJECT);
    }

    void an_array_is_no_object()
    {
        QVERIFY(read_frame("[1,2]").verdict == FrameVerdict::NO_OBJECT);
        QVERIFY(read_frame(with_checksum("[]")).verdict == FrameVerdict::NO_OBJECT);
    }

    void no_truncation_of_a_good_datagram_is_taken_for_good()
    {
        const QByteArray datagram
            = with_checksum(QByteArray("{\"device_id\":\"a\",\"seq\":0}") + '\0' + "xy");
        for (int size = 0; size < datagram.size(); ++size) {
            const Frame frame = read_frame(datagram.left(size));
            // Past the object's end a cut leaves a whole object behind, without its trailer.
            const bool has_whole_object = size >= 25;
            QCOMPARE(frame.verdict == FrameVerdict::OK, has_whole_object);
        }
    }

    void hostile_bytes_are_dropped_data()
    {
        QTest::addColumn<QByteArray>("datagram");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("one zero byte") << QByteArray(1, '\0');
        QTest::newRow("64 KiB of blanks") << QByteArray(65507, ' ');
        QTest::newRow("64 KiB of brackets") << QByteArray(65507, '[');
        QTest::newRow("not UTF-8") << QByteArray("{\"a\":\"\xff\xfe\xc0\"");
        QTest::newRow("deeply nested") << QByteArray(30000, '{') + QByteArray(30000, '}');
        QTest::newRow("deep members")
            << QByteArray("{\"a\":").repeated(9000) + "1" + QByteArray(9000, '}');
    }
    void hostile_bytes_are_dropped()
    {
        QFETCH(QByteArray, datagram);
        QVERIFY(read_frame(datagram).verdict == FrameVerdict::NO_OBJECT);
    }

    void an_outbound_object_gets_our_version_over_any_other()
    {
        QCOMPARE(write_frame({{"api_version", 3}, {"seq", 1}}),
                 QByteArray("{\"api_version\":6,\"seq\":1}\n"));
    }
};

QTEST_GUILESS_MAIN(DatagramTest)
#include "datagram_test.moc"
