// What a drag makes of a band: pure numbers, no mouse.
#include "eq/drag_rules.h"

#include <QtTest>

#include <cmath>

class EqDragRulesTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void a_drag_is_relative_to_the_press();
    void the_press_side_decides_which_edge_is_held();
    void a_press_on_the_centre_holds_the_upper_edge();
    void stubs_pulled_together_give_an_infinite_q();
    void an_edge_at_zero_gives_no_number();
    void an_edge_below_zero_still_gives_a_width();
    void releases_follow_the_table_data();
    void releases_follow_the_table();

private:
    CurveGrid grid = {};
};

void EqDragRulesTest::init()
{
    grid.rebuild(800, 400);
}

void EqDragRulesTest::a_drag_is_relative_to_the_press()
{
    const DragStart start{.position = {300, 200}, .freq = 1000.0F, .gain = 6.0F};
    QVERIFY(dragged_freq(grid, start, {300, 10}) == 1000.0F);
    QVERIFY(dragged_gain(grid, start, {700, 200}) == 6.0F);
    QVERIFY(dragged_freq(grid, start, {310, 0}) == 1000.0F + grid.freqs[310] - grid.freqs[300]);
    QVERIFY(dragged_gain(grid, start, {0, 190}) == 7.0F); // 10 rows per dB
    // Nothing limits the sum: a press away from the marker can leave the axes.
    const DragStart off{.position = {799, 399}, .freq = 100.0F, .gain = 19.0F};
    QVERIFY(dragged_freq(grid, off, {0, 0}) < 0.0F);
    QVERIFY(dragged_gain(grid, off, {0, 0}) > 38.0F);
}

void EqDragRulesTest::the_press_side_decides_which_edge_is_held()
{
    const int center = grid.freq_to_x(1000.0F);
    const int low = grid.freq_to_x(500.0F);
    const int high = grid.freq_to_x(2000.0F);
    const auto start_at = [](int x) {
        return DragStart{
            .position = {x, 0}, .freq = 1000.0F, .low_edge = 500.0F, .high_edge = 2000.0F};
    };
    const auto q_of_octaves = [](double octaves) {
        return std::pow(2.0, octaves / 2.0) / (std::pow(2.0, octaves) - 1.0);
    };
    const auto is_about
        = [](float q, double wanted) { return std::abs(q - wanted) < 0.02 * wanted; };
    QVERIFY(is_about(dragged_q(grid, start_at(low), 1000.0F, {low, 0}), q_of_octaves(2.0)));
    QVERIFY(is_about(dragged_q(grid, start_at(high), 1000.0F, {high, 0}), q_of_octaves(2.0)));
    // Left of the centre a move outwards widens, right of it inwards: also when the press was on
    // the other edge's stub.
    QVERIFY(dragged_q(grid, start_at(center - 20), 1000.0F, {center - 60, 0}) < q_of_octaves(2.0));
    QVERIFY(dragged_q(grid, start_at(center + 20), 1000.0F, {center + 60, 0}) < q_of_octaves(2.0));
    QVERIFY(dragged_q(grid, start_at(center + 60), 1000.0F, {center + 20, 0}) > q_of_octaves(2.0));
}

void EqDragRulesTest::a_press_on_the_centre_holds_the_upper_edge()
{
    const float freq = grid.x_to_freq(400);
    const DragStart start{
        .position = {400, 0}, .freq = freq, .low_edge = freq / 2.0F, .high_edge = freq * 2.0F};
    const float at_rest = dragged_q(grid, start, freq, {400, 0});
    QVERIFY(dragged_q(grid, start, freq, {410, 0}) < at_rest);
    QVERIFY(dragged_q(grid, start, freq, {390, 0}) > at_rest);
}

void EqDragRulesTest::stubs_pulled_together_give_an_infinite_q()
{
    const int low = grid.freq_to_x(500.0F);
    const DragStart start{
        .position = {low, 0}, .freq = 1000.0F, .low_edge = 500.0F, .high_edge = 2000.0F};
    QVERIFY(std::isinf(dragged_q(grid, start, 1000.0F, {grid.freq_to_x(3000.0F), 0})));
}

void EqDragRulesTest::an_edge_at_zero_gives_no_number()
{
    const float pressed = grid.x_to_freq(400);
    const float pointed = grid.x_to_freq(390); // near enough for an exact difference
    const DragStart start{.position = {400, 0}, .freq = 8000.0F, .low_edge = pressed - pointed};
    QVERIFY(std::isnan(dragged_q(grid, start, 8000.0F, {390, 0})));
}

void EqDragRulesTest::an_edge_below_zero_still_gives_a_width()
{
    const DragStart start{.position = {500, 0}, .freq = 8000.0F, .low_edge = 100.0F};
    QVERIFY(grid.x_to_freq(500) < 8000.0F);
    QVERIFY(100.0F + grid.x_to_freq(10) - grid.x_to_freq(500) < 0.0F);
    QVERIFY(std::isfinite(dragged_q(grid, start, 8000.0F, {10, 0})));
}

void EqDragRulesTest::releases_follow_the_table_data()
{
    QTest::addColumn<int>("before");
    QTest::addColumn<bool>("has_moved");
    QTest::addColumn<int>("after");
    QTest::addColumn<bool>("ends");
    QTest::newRow("click on empty space") << 0 << false << 0 << true;
    QTest::newRow("drag on empty space") << 0 << true << 1 << false;
    QTest::newRow("click on the marker") << 2 << false << 1 << false;
    QTest::newRow("drag of the marker") << 2 << true << 0 << true;
    for (const int state : {1, 3, 4, 5, 6})
        for (const bool has_moved : {false, true})
            QTest::addRow("state %d moved %d", state, has_moved)
                << state << has_moved << 1 << false;
}

void EqDragRulesTest::releases_follow_the_table()
{
    QFETCH(int, before);
    QFETCH(bool, has_moved);
    const ReleaseResult result = after_release(before, has_moved);
    QTEST(result.drag_state, "after");
    QTEST(result.ends, "ends");
}

QTEST_GUILESS_MAIN(EqDragRulesTest)
#include "eq_drag_rules_test.moc"
