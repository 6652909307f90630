// Reading a metering frame, whatever a device may have put into it.
#include "meter/meter_report.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QtTest>

namespace {
MeterReport read(const char *json)
{
    return read_meter_report(QJsonDocument::fromJson(json).object());
}

using Peaks = std::vector<float>;
using Flags = std::vector<bool>;
} // namespace

class MeterReportTest : public QObject
{
    Q_OBJECT

private slots:
    void peaks_and_flags_keep_their_own_lengths();
    void what_is_missing_or_of_another_type_is_empty_data();
    void what_is_missing_or_of_another_type_is_empty();
    void only_whole_numbers_of_32_bits_count_data();
    void only_whole_numbers_of_32_bits_count();
    void a_flag_is_any_number_but_zero();
    void a_list_of_30000_entries_is_cut();
    void deep_nesting_is_harmless();
};

void MeterReportTest::peaks_and_flags_keep_their_own_lengths()
{
    const MeterReport report
        = read(R"({"metering": {"channel_peaks": [1, 70], "channel_overdrive": [0, 1, 1]}})");
    QCOMPARE(report.peaks, (Peaks{1, 70}));
    QCOMPARE(report.overdrive, (Flags{false, true, true}));
}

void MeterReportTest::what_is_missing_or_of_another_type_is_empty_data()
{
    QTest::addColumn<QByteArray>("json");
    QTest::newRow("nothing") << QByteArray("{}");
    QTest::newRow("null") << QByteArray(R"({"metering": null})");
    QTest::newRow("an array") << QByteArray(R"({"metering": [1, 2]})");
    QTest::newRow("a text") << QByteArray(R"({"metering": "channel_peaks"})");
    QTest::newRow("an empty object") << QByteArray(R"({"metering": {}})");
    QTest::newRow("lists that are none")
        << QByteArray(R"({"metering": {"channel_peaks": 7, "channel_overdrive": {"0": 1}}})");
}

void MeterReportTest::what_is_missing_or_of_another_type_is_empty()
{
    QFETCH(QByteArray, json);
    const MeterReport report = read(json.constData());
    QVERIFY(report.peaks.empty());
    QVERIFY(report.overdrive.empty());
}

void MeterReportTest::only_whole_numbers_of_32_bits_count_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<float>("peak");
    QTest::newRow("whole") << QByteArray("35") << 35.0F;
    QTest::newRow("whole, written with a fraction") << QByteArray("35.0") << 35.0F;
    QTest::newRow("negative") << QByteArray("-30") << -30.0F;
    QTest::newRow("a fraction") << QByteArray("12.5") << 0.0F;
    QTest::newRow("a text") << QByteArray("\"7\"") << 0.0F;
    QTest::newRow("null") << QByteArray("null") << 0.0F;
    QTest::newRow("true") << QByteArray("true") << 0.0F;
    QTest::newRow("nested") << QByteArray("[70]") << 0.0F;
    QTest::newRow("largest") << QByteArray("2147483647") << 2147483648.0F;
    QTest::newRow("one more") << QByteArray("2147483648") << 0.0F;
    QTest::newRow("beyond 64 bits") << QByteArray("99999999999999999999") << 0.0F;
    QTest::newRow("huge") << QByteArray("1e300") << 0.0F;
    QTest::newRow("hugely negative") << QByteArray("-1e300") << 0.0F;
}

void MeterReportTest::only_whole_numbers_of_32_bits_count()
{
    QFETCH(QByteArray, entry);
    QFETCH(float, peak);
    const QByteArray json = "{\"metering\": {\"channel_peaks\": [" + entry + "]}}";
    QCOMPARE(read(json.constData()).peaks, Peaks{peak});
}

void MeterReportTest::a_flag_is_any_number_but_zero()
{
    const MeterReport report
        = read(R"({"metering": {"channel_overdrive": [0, 1, 2, -1, true, "1", 0.5, null]}})");
    QCOMPARE(report.overdrive, (Flags{false, true, true, true, false, false, false, false}));
}

void MeterReportTest::a_list_of_30000_entries_is_cut()
{
    QJsonArray entries;
    for (int i = 0; i < 30000; ++i)
        entries.append(i % 71);
    const QJsonObject message
        = {{"metering", QJsonObject{{"channel_peaks", entries}, {"channel_overdrive", entries}}}};
    const MeterReport report = read_meter_report(message);
    QCOMPARE(report.peaks.size(), size_t(1024));
    QCOMPARE(report.overdrive.size(), size_t(1024));
    QCOMPARE(report.peaks.back(), static_cast<float>((MAX_METER_CHANNELS - 1) % 71));
}

void MeterReportTest::deep_nesting_is_harmless()
{
    const QByteArray nested = QByteArray(500, '[') + "70" + QByteArray(500, ']');
    const QByteArray json = "{\"metering\": {\"channel_peaks\": " + nested + "}}";
    QCOMPARE(read(json.constData()).peaks, Peaks{0});
}

QTEST_GUILESS_MAIN(MeterReportTest)
#include "meter_report_test.moc"
