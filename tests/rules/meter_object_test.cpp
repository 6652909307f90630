// A device's levels over time: reports, the fall of the display, golden cases.
#include "meter/meter_object.h"
#include "meter/meter_report.h"
#include "support/allocation_count.h"
#include "support/vectors.h"

#include <QSignalSpy>
#include <QtTest>

namespace {

QJsonArray levels_as_json(const std::vector<float> &levels)
{
    QJsonArray result;
    for (const float level : levels)
        result.append(static_cast<double>(level));
    return result;
}

QJsonArray flags_as_json(const std::vector<bool> &flags)
{
    QJsonArray result;
    for (const bool flag : flags)
        result.append(flag);
    return result;
}

void report(MeterObject &meter, const QJsonObject &message)
{
    const MeterReport read = read_meter_report(message);
    meter.set_levels(read.peaks, read.overdrive);
}

void report_peaks(MeterObject &meter, const QJsonArray &peaks)
{
    report(meter, {{"metering", QJsonObject{{"channel_peaks", peaks}}}});
}

void run_step(MeterObject &meter, const QJsonArray &step)
{
    const QString what = step.at(0).toString();
    if (what == "report")
        report(meter, step.at(1).toObject());
    else if (what == "clear")
        meter.clear_levels();
    else if (what == "tick")
        for (int i = 0; i < step.at(1).toInt(); ++i)
            meter.tick();
    else
        QFAIL(qPrintable("unknown step " + what));
}
} // namespace

class MeterObjectTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_cases_hold_data() { add_vector_rows("meter"); }
    void golden_cases_hold();
    void a_report_emits_nothing_and_a_tick_always_does();
    void a_rise_shows_at_the_next_tick_and_not_before();
    void the_display_falls_past_its_level_and_then_returns();
    void the_floor_is_a_test_before_the_step_and_not_a_clamp();
    void a_new_channel_count_resets_the_display();
    void a_level_that_is_not_renewed_stands_still();
    void a_second_empty_report_leaves_overdrive_alone();
    void clearing_empties_all_three();
    void a_tick_allocates_nothing();
    void a_tick_survives_a_display_of_another_length();
    void a_pointer_travels_in_a_variant();
};

void MeterObjectTest::golden_cases_hold()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);

    MeterObject meter;
    const QJsonArray steps = input.value("steps").toArray();
    const QJsonArray after = expect.value("after").toArray();
    QCOMPARE(after.size(), steps.size());
    for (int i = 0; i < steps.size(); ++i) {
        run_step(meter, steps.at(i).toArray());
        const QJsonObject state = after.at(i).toObject();
        QCOMPARE(levels_as_json(meter.levels), state.value("levels").toArray());
        QCOMPARE(levels_as_json(meter.display_levels), state.value("display").toArray());
        QCOMPARE(flags_as_json(meter.overdrive), state.value("overdrive").toArray());
    }
}

void MeterObjectTest::a_report_emits_nothing_and_a_tick_always_does()
{
    MeterObject meter;
    QSignalSpy updates(&meter, &MeterObject::onUpdate);
    meter.tick();
    QCOMPARE(updates.count(), 1);
    report_peaks(meter, {70});
    meter.clear_levels();
    QCOMPARE(updates.count(), 1);
    report_peaks(meter, {70});
    meter.tick();
    QCOMPARE(updates.count(), 2);
}

void MeterObjectTest::a_rise_shows_at_the_next_tick_and_not_before()
{
    MeterObject meter;
    report_peaks(meter, {10});
    report_peaks(meter, {60});
    QCOMPARE(meter.display_levels, std::vector<float>{-60});
    meter.tick();
    QCOMPARE(meter.display_levels, std::vector<float>{-10});
}

void MeterObjectTest::the_display_falls_past_its_level_and_then_returns()
{
    MeterObject meter;
    report_peaks(meter, {70});
    QCOMPARE(meter.levels, std::vector<float>{0});
    QCOMPARE(meter.display_levels, std::vector<float>{0});
    report_peaks(meter, {35});
    QCOMPARE(meter.levels, std::vector<float>{-35});
    for (int step = 1; step <= 9; ++step) {
        meter.tick();
        QCOMPARE(meter.display_levels.at(0), -4.25F * static_cast<float>(step));
    }
    QCOMPARE(meter.display_levels.at(0), -38.25F);
    meter.tick();
    QCOMPARE(meter.display_levels.at(0), -35.0F);
}

void MeterObjectTest::the_floor_is_a_test_before_the_step_and_not_a_clamp()
{
    MeterObject meter;
    report_peaks(meter, {70, 1, 0});
    report_peaks(meter, {-30, -30, -30});
    for (int step = 0; step < 17; ++step)
        meter.tick();
    const std::vector<float> rest = {-72.25F, -73.25F, -70.0F};
    QCOMPARE(meter.display_levels, rest);
    meter.tick();
    QCOMPARE(meter.display_levels, rest);
}

void MeterObjectTest::a_new_channel_count_resets_the_display()
{
    MeterObject meter;
    report_peaks(meter, {70});
    report_peaks(meter, {10, 60});
    QCOMPARE(meter.display_levels, (std::vector<float>{-60, -10}));
    report_peaks(meter, {});
    QVERIFY(meter.display_levels.empty());
}

void MeterObjectTest::a_level_that_is_not_renewed_stands_still()
{
    MeterObject meter;
    report_peaks(meter, {35});
    for (int i = 0; i < 100; ++i) {
        meter.tick();
        QCOMPARE(meter.display_levels, std::vector<float>{-35});
    }
}

void MeterObjectTest::a_second_empty_report_leaves_overdrive_alone()
{
    MeterObject meter;
    meter.set_levels({70}, {true});
    meter.set_levels({}, {true});
    QVERIFY(meter.levels.empty());
    QCOMPARE(meter.overdrive, std::vector<bool>{true});
    meter.clear_levels();
    QCOMPARE(meter.overdrive, std::vector<bool>{true});
}

void MeterObjectTest::clearing_empties_all_three()
{
    MeterObject meter;
    meter.set_levels({70, 60}, {true, false});
    meter.clear_levels();
    QVERIFY(meter.levels.empty());
    QVERIFY(meter.display_levels.empty());
    QVERIFY(meter.overdrive.empty());
}

void MeterObjectTest::a_tick_allocates_nothing()
{
    MeterObject meter;
    meter.set_levels(std::vector<float>(8, 70), {true});
    meter.set_levels(std::vector<float>(8, 10), {true});
    const size_t before = allocations;
    for (int step = 0; step < 100; ++step)
        meter.tick();
    QCOMPARE(size_t(allocations), before);
}

void MeterObjectTest::a_tick_survives_a_display_of_another_length()
{
    MeterObject meter;
    meter.set_levels({70, 70}, {});
    meter.display_levels = {-10};
    meter.tick();
    QCOMPARE(meter.display_levels, std::vector<float>{0});
}

void MeterObjectTest::a_pointer_travels_in_a_variant()
{
    MeterObject meter;
    const QVariant variant = QVariant::fromValue(&meter);
    QCOMPARE(variant.userType(), QMetaType::type("MeterObject *"));
    QVERIFY(variant.canConvert<MeterObject *>());
    QCOMPARE(variant.value<MeterObject *>(), &meter);
    QVERIFY(!QVariant(7).canConvert<MeterObject *>());
    QVERIFY(!QVariant().canConvert<MeterObject *>());
}

QTEST_GUILESS_MAIN(MeterObjectTest)
#include "meter_object_test.moc"
