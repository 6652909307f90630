// What an inbound object is, and the keys of a report that are no properties.
#include "link/packet_kind.h"

#include <QJsonDocument>
#include <QtTest>

namespace {

QJsonObject parsed(const QByteArray &json)
{
    return QJsonDocument::fromJson(json).object();
}

} // namespace

class PacketKindTest : public QObject
{
    Q_OBJECT

private slots:
    void objects_are_sorted_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<int>("kind");
        const int log = static_cast<int>(PacketKind::LOG_STREAM);
        const int metering = static_cast<int>(PacketKind::METERING);
        const int report = static_cast<int>(PacketKind::REPORT);
        const int reply = static_cast<int>(PacketKind::REPLY);
        QTest::newRow("log") << QByteArray(R"({"command":"raw_log"})") << log;
        QTest::newRow("metering") << QByteArray(R"({"command":"broadcast_info"})") << metering;
        QTest::newRow("case counts") << QByteArray(R"({"command":"Raw_Log"})") << reply;
        QTest::newRow("report") << QByteArray(R"({"product":"KESTA","device_id":"a","seq":0})")
                                << report;
        QTest::newRow("a report's own command does not count")
            << QByteArray(R"({"command":"set_params","product":"KESTA","device_id":"a","seq":0})")
            << report;
        QTest::newRow("a log stream looks like a report")
            << QByteArray(R"({"command":"raw_log","product":"KESTA","device_id":"a","seq":0})")
            << log;
        QTest::newRow("-0 is 0") << QByteArray(R"({"product":"KESTA","device_id":"a","seq":-0.0})")
                                 << report;
        QTest::newRow("seq 1") << QByteArray(R"({"product":"KESTA","device_id":"a","seq":1})")
                               << reply;
        QTest::newRow("seq missing")
            << QByteArray(R"({"product":"KESTA","device_id":"a"})") << reply;
        QTest::newRow("seq as text")
            << QByteArray(R"({"product":"KESTA","device_id":"a","seq":"0"})") << reply;
        QTest::newRow("seq false")
            << QByteArray(R"({"product":"KESTA","device_id":"a","seq":false})") << reply;
        QTest::newRow("another family")
            << QByteArray(R"({"product":"kesta","device_id":"a","seq":0})") << reply;
        QTest::newRow("a longer family name")
            << QByteArray(R"({"product":"KESTA2","device_id":"a","seq":0})") << reply;
        QTest::newRow("a fraction of 1")
            << QByteArray(R"({"product":"KESTA","device_id":"a","seq":0.5})") << reply;
        QTest::newRow("empty id") << QByteArray(R"({"product":"KESTA","device_id":"","seq":0})")
                                  << reply;
        QTest::newRow("id as number")
            << QByteArray(R"({"product":"KESTA","device_id":7,"seq":0})") << reply;
        QTest::newRow("nothing") << QByteArray("{}") << reply;
    }
    void objects_are_sorted()
    {
        QFETCH(QByteArray, json);
        QFETCH(int, kind);
        QCOMPARE(static_cast<int>(packet_kind(parsed(json))), kind);
    }

    void firmware_number_is_cut_to_32_bits_data()
    {
        QTest::addColumn<QByteArray>("json");
        QTest::addColumn<uint>("magic");
        QTest::newRow("absent") << QByteArray("{}") << 894052661U;
        QTest::newRow("as it is") << QByteArray(R"({"fw_magic":894052662})") << 894052662U;
        QTest::newRow("text") << QByteArray(R"({"fw_magic":"894052662"})") << 0U;
        QTest::newRow("null") << QByteArray(R"({"fw_magic":null})") << 0U;
        QTest::newRow("fraction") << QByteArray(R"({"fw_magic":5.9})") << 5U;
        QTest::newRow("negative") << QByteArray(R"({"fw_magic":-1})") << 0xFFFFFFFFU;
        QTest::newRow("above 32 bits") << QByteArray(R"({"fw_magic":4294967298})") << 2U;
        QTest::newRow("above 64 bits") << QByteArray(R"({"fw_magic":1e300})") << 0U;
        QTest::newRow("below 64 bits") << QByteArray(R"({"fw_magic":-1e300})") << 0U;
    }
    void firmware_number_is_cut_to_32_bits()
    {
        QFETCH(QByteArray, json);
        QFETCH(uint, magic);
        QCOMPARE(fw_magic_of(parsed(json)), magic);
    }

    void numbers_that_are_none_give_no_firmware_number()
    {
        const double infinity = std::numeric_limits<double>::infinity();
        for (const double number : {infinity, -infinity, qQNaN()})
            QCOMPARE(fw_magic_of({{"fw_magic", number}}), 0U);
    }

    void logging_is_on_only_when_it_says_so()
    {
        QVERIFY(is_logging(parsed(R"({"logging":{"en":true}})")));
        QVERIFY(!is_logging(parsed(R"({"logging":{"en":false}})")));
        QVERIFY(!is_logging(parsed(R"({"logging":{"en":1}})")));
        QVERIFY(!is_logging(parsed(R"({"logging":true})")));
        QVERIFY(!is_logging(parsed("{}")));
    }

    void dsp_error_is_a_text_or_nothing()
    {
        QCOMPARE(dsp_error_of(parsed(R"({"dsp":{"error":"too hot"}})")), QString("too hot"));
        QCOMPARE(dsp_error_of(parsed(R"({"dsp":{"error":5}})")), QString());
        QCOMPARE(dsp_error_of(parsed(R"({"dsp":"error"})")), QString());
    }
};

QTEST_GUILESS_MAIN(PacketKindTest)
#include "packet_kind_test.moc"
