// Where a meter's bars lie: fill fractions, pixels and rectangles.
#include "meter/meter_scale.h"
#include "support/vectors.h"

#include <QtTest>

#include <limits>

namespace {
QRect rect_of(const QJsonValue &left_top_width_height)
{
    const QJsonArray edges = left_top_width_height.toArray();
    return {edges.at(0).toInt(), edges.at(1).toInt(), edges.at(2).toInt(), edges.at(3).toInt()};
}

// Edges inclusive; null is the empty rectangle.
QRect rect_by_edges(const QJsonValue &left_top_right_bottom)
{
    if (left_top_right_bottom.isNull())
        return {};
    const QJsonArray edges = left_top_right_bottom.toArray();
    return {QPoint(edges.at(0).toInt(), edges.at(1).toInt()),
            QPoint(edges.at(2).toInt(), edges.at(3).toInt())};
}
} // namespace

class MeterScaleTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_fills_hold_data() { add_vector_rows("fill"); }
    void golden_fills_hold();
    void golden_bars_hold_data() { add_vector_rows("meter_bars", "bars"); }
    void golden_bars_hold();
    void golden_boxes_hold_data() { add_vector_rows("meter_bars", "box"); }
    void golden_boxes_hold();
    void the_ends_of_the_scale_are_exact();
    void the_fill_never_falls_as_the_level_rises();
    void bars_of_a_tiny_frame_are_empty();
    void more_channels_than_rows_vanish();
    void a_cell_that_is_scrolled_half_out_keeps_its_box_centred();
    void an_empty_cell_has_an_empty_box();
};

void MeterScaleTest::golden_fills_hold()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);

    const QJsonArray levels = input.value("levels").toArray();
    const QJsonArray fractions = expect.value("fractions").toArray();
    const QJsonArray widths = input.value("widths").toArray();
    QCOMPARE(fractions.size(), levels.size());
    for (int i = 0; i < levels.size(); ++i) {
        const float level = static_cast<float>(levels.at(i).toDouble());
        QCOMPARE(static_cast<double>(fill_fraction(level)), fractions.at(i).toDouble());
        for (int width = 0; width < widths.size(); ++width) {
            const QJsonArray pixels = expect.value("pixels").toArray().at(width).toArray();
            QCOMPARE(filled_pixels(widths.at(width).toInt(), level), pixels.at(i).toInt());
        }
    }
}

void MeterScaleTest::golden_bars_hold()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);

    const QRect frame = rect_of(input.value("rect"));
    const QJsonArray display = input.value("display").toArray();
    if (display.isEmpty()) {
        QCOMPARE(meter_idle_rect(frame), rect_of(expect.value("grey")));
        return;
    }
    const QJsonArray bars = expect.value("bars").toArray();
    QCOMPARE(bars.size(), display.size());
    for (int i = 0; i < display.size(); ++i)
        QCOMPARE(
            meter_bar_rect(frame, display.size(), i, static_cast<float>(display.at(i).toDouble())),
            rect_by_edges(bars.at(i).toObject().value("rect")));
}

void MeterScaleTest::golden_boxes_hold()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    QCOMPARE(meter_box(rect_of(input.value("cell"))), rect_by_edges(expect.value("box")));
}

void MeterScaleTest::the_ends_of_the_scale_are_exact()
{
    const float infinity = std::numeric_limits<float>::infinity();
    for (const float level : {0.0F, -0.0F, 3.0F, 1e9F, infinity})
        QVERIFY(fill_fraction(level) == 1.0F);
    for (const float level : {-70.0F, -70.25F, -1e9F, -infinity})
        QVERIFY(fill_fraction(level) == 0.0F);
}

void MeterScaleTest::the_fill_never_falls_as_the_level_rises()
{
    for (float level = -75; level < 5; level += 0.25F)
        QVERIFY(fill_fraction(level) <= fill_fraction(level + 0.25F));
}

void MeterScaleTest::bars_of_a_tiny_frame_are_empty()
{
    for (int width = 0; width <= 2; ++width)
        QVERIFY(meter_bar_rect(QRect(5, 5, width, 20), 1, 0, 0).isEmpty());
    for (int height = 0; height <= 2; ++height)
        QVERIFY(meter_bar_rect(QRect(5, 5, 50, height), 1, 0, 0).isEmpty());
    QCOMPARE(meter_bar_rect(QRect(5, 5, 3, 3), 1, 0, 0), QRect(6, 6, 1, 1));
}

void MeterScaleTest::more_channels_than_rows_vanish()
{
    const QRect frame(0, 0, 50, 20);
    QCOMPARE(meter_bar_rect(frame, 18, 17, 0), QRect(1, 18, 48, 1));
    QVERIFY(meter_bar_rect(frame, 19, 0, 0).isEmpty());
    QVERIFY(meter_bar_rect(frame, 1024, 1023, 0).isEmpty());
}

void MeterScaleTest::a_cell_that_is_scrolled_half_out_keeps_its_box_centred()
{
    QCOMPARE(meter_box(QRect(-40, -12, 100, 24)), QRect(-15, -9, 50, 20));
}

void MeterScaleTest::an_empty_cell_has_an_empty_box()
{
    QVERIFY(meter_box(QRect()).isEmpty());
    QVERIFY(meter_box(QRect(10, 10, 0, 20)).isEmpty());
}

QTEST_GUILESS_MAIN(MeterScaleTest)
#include "meter_scale_test.moc"
