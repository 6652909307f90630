// The frequency table and the conversions between pixels, Hz and dB.
#include "eq/curve_grid.h"
#include "support/vectors.h"

#include <QtTest>

#include <algorithm>
#include <cmath>
#include <limits>

namespace {

// Golden floats are written as the decimal number of exactly that float.
float as_float(const QJsonValue &value)
{
    return static_cast<float>(value.toDouble());
}

void compare_table(const QJsonArray &expected, const std::vector<float> &table)
{
    QVERIFY(!expected.isEmpty());
    for (const QJsonValue &pair : expected) {
        const auto index = static_cast<size_t>(pair[0].toInt());
        QVERIFY(index < table.size());
        QVERIFY2(table[index] == as_float(pair[1]), qPrintable(QString::number(index)));
    }
}

} // namespace

class CurveGridTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_tables_are_exact_data() { add_vector_rows("eq_grid"); }
    void golden_tables_are_exact();
    void golden_conversions_are_exact_data() { add_vector_rows("eq_grid"); }
    void golden_conversions_are_exact();
    void tables_are_twice_as_long_as_the_view();
    void columns_are_found_as_a_walk_from_the_left_finds_them();
    void frequencies_outside_the_view_map_outside_it();
    void columns_outside_the_view_map_to_its_edges();
    void levels_are_cut_towards_zero();
    void an_empty_grid_answers();
    void sizes_of_nothing_are_harmless_data();
    void sizes_of_nothing_are_harmless();
    void rows_of_no_number_and_far_rows_stay_in_reach();
};

void CurveGridTest::golden_tables_are_exact()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    CurveGrid grid;
    grid.rebuild(input["width"].toInt(), input["height"].toInt());
    QCOMPARE(grid.center_y, as_float(expect["center_y"]));
    QVERIFY(grid.px_per_db == as_float(expect["px_per_db"]));
    QVERIFY(grid.log_scale == as_float(expect["log_scale"]));
    compare_table(expect["freqs"].toArray(), grid.freqs);
    compare_table(expect["phi"].toArray(), grid.phi);
    compare_table(expect["sin_w"].toArray(), grid.sin_w);
    compare_table(expect["cos_w"].toArray(), grid.cos_w);
}

void CurveGridTest::golden_conversions_are_exact()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    CurveGrid grid;
    grid.rebuild(input["width"].toInt(), input["height"].toInt());
    for (const QJsonValue &pair : expect["freq_to_x"].toArray())
        QCOMPARE(grid.freq_to_x(as_float(pair[0])), pair[1].toInt());
    for (const QJsonValue &pair : expect["x_to_freq"].toArray())
        QVERIFY(grid.x_to_freq(pair[0].toInt()) == as_float(pair[1]));
    for (const QJsonValue &pair : expect["y_to_db"].toArray())
        QVERIFY(grid.y_to_db(pair[0].toInt()) == as_float(pair[1]));
    for (const QJsonValue &pair : expect["gain_row"].toArray())
        QCOMPARE(grid.gain_to_row(as_float(pair[0])), pair[1].toInt());
}

void CurveGridTest::tables_are_twice_as_long_as_the_view()
{
    CurveGrid grid;
    QVERIFY(!grid.ready);
    grid.rebuild(321, 100);
    QVERIFY(grid.ready);
    QCOMPARE(grid.points, 321);
    for (const std::vector<float> *table : {&grid.freqs, &grid.phi, &grid.sin_w, &grid.cos_w})
        QCOMPARE(table->size(), size_t{642});
    grid.rebuild(50, 40);
    QCOMPARE(grid.freqs.size(), size_t{100});
}

void CurveGridTest::columns_are_found_as_a_walk_from_the_left_finds_them()
{
    CurveGrid grid;
    grid.rebuild(777, 300);
    const auto walk = [&grid](float f) {
        if (grid.freqs.front() > f)
            return -1;
        for (size_t i = 0; i < grid.freqs.size(); ++i)
            if (grid.freqs[i] >= f)
                return static_cast<int>(i);
        return static_cast<int>(grid.freqs.size()) - 1;
    };
    for (float f = 1.0F; f < 1e9F; f *= 1.0037F)
        QCOMPARE(grid.freq_to_x(f), walk(f));
    for (const float f : grid.freqs) {
        QCOMPARE(grid.freq_to_x(f), walk(f));
        QCOMPARE(grid.freq_to_x(std::nextafter(f, 1e30F)), walk(std::nextafter(f, 1e30F)));
    }
    const float no_number = std::numeric_limits<float>::quiet_NaN();
    QCOMPARE(grid.freq_to_x(no_number), walk(no_number));
    QCOMPARE(grid.freq_to_x(std::numeric_limits<float>::infinity()), 1553);
}

void CurveGridTest::frequencies_outside_the_view_map_outside_it()
{
    CurveGrid grid;
    grid.rebuild(800, 400);
    QCOMPARE(grid.freq_to_x(10.0F), -1);
    QVERIFY(grid.freq_to_x(30000.0F) > 799);
    QCOMPARE(grid.freq_to_x(1e30F), 1599);
}

void CurveGridTest::columns_outside_the_view_map_to_its_edges()
{
    CurveGrid grid;
    grid.rebuild(800, 400);
    QCOMPARE(grid.x_to_freq(-5), 16.0F);
    QVERIFY(grid.x_to_freq(800) == grid.freqs[799]);
    QVERIFY(grid.x_to_freq(std::numeric_limits<int>::max()) == grid.freqs[799]);
}

void CurveGridTest::levels_are_cut_towards_zero()
{
    CurveGrid grid;
    grid.rebuild(400, 333);
    QCOMPARE(grid.y_to_db(166), 0.0F);  // 0.06 dB, cut
    QVERIFY(grid.y_to_db(165) == 0.1F); // 0.18 dB: rounded it were 0.2
    QVERIFY(grid.y_to_db(168) == -0.1F);
    grid.rebuild(400, 400);
    QCOMPARE(grid.y_to_db(200), 0.0F);
    QVERIFY(grid.y_to_db(199) == 0.1F);
    QVERIFY(grid.y_to_db(-100) == 20.0F);
    QVERIFY(grid.y_to_db(4000) == -19.9F);
}

void CurveGridTest::an_empty_grid_answers()
{
    const CurveGrid grid;
    QCOMPARE(grid.freq_to_x(1000.0F), -1);
    QCOMPARE(grid.x_to_freq(12), 16.0F);
    QCOMPARE(grid.y_to_db(12), 0.0F);
    QCOMPARE(grid.gain_to_row(6.0F), 0);
}

void CurveGridTest::sizes_of_nothing_are_harmless_data()
{
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::newRow("nothing") << 0 << 0;
    QTest::newRow("one pixel") << 1 << 1;
    QTest::newRow("no columns") << 0 << 100;
    QTest::newRow("no rows") << 100 << 0;
    QTest::newRow("one column") << 1 << 2000;
    QTest::newRow("two columns") << 2 << 2;
    QTest::newRow("negative") << -3 << -3;
    QTest::newRow("flat") << 8000 << 2;
}

void CurveGridTest::sizes_of_nothing_are_harmless()
{
    QFETCH(int, width);
    QFETCH(int, height);
    CurveGrid grid;
    grid.rebuild(width, height);
    const auto count = static_cast<size_t>(std::max(width, 0));
    QCOMPARE(grid.freqs.size(), 2 * count);
    for (const int pixel : {-1, 0, 1, 9000}) {
        QVERIFY(std::isfinite(grid.x_to_freq(pixel)));
        QVERIFY(std::isfinite(grid.y_to_db(pixel)));
    }
    QVERIFY(grid.freq_to_x(1000.0F) < 2 * std::max(width, 1));
    QVERIFY(std::abs(grid.gain_to_row(1e30F)) <= ROW_LIMIT);
}

void CurveGridTest::rows_of_no_number_and_far_rows_stay_in_reach()
{
    CurveGrid grid;
    grid.rebuild(100, 101);
    QCOMPARE(grid.gain_to_row(std::numeric_limits<float>::quiet_NaN()), 50);
    QCOMPARE(grid.gain_to_row(1e38F), -ROW_LIMIT);
    QCOMPARE(grid.gain_to_row(-std::numeric_limits<float>::infinity()), ROW_LIMIT);
    QCOMPARE(row_to_int(-0.9F, 7), 0);
}

QTEST_GUILESS_MAIN(CurveGridTest)
#include "curve_grid_test.moc"
