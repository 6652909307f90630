// Pixel geometry of the curve view.
#include "eq/curve_geometry.h"
#include "eq/curve_grid.h"
#include "eq/filter_design.h"
#include "support/vectors.h"

#include <QtTest>

#include <cmath>

class CurveGeometryTest : public QObject
{
    Q_OBJECT

private slots:
    void golden_sizes_data() { add_vector_rows("eq_geometry", "sizes"); }
    void golden_sizes();
    void golden_lines_data() { add_vector_rows("eq_geometry", "lines"); }
    void golden_lines();
    void golden_handles_data() { add_vector_rows("eq_geometry", "band"); }
    void golden_handles();
    void golden_bubbles_data() { add_vector_rows("eq_geometry", "bubble"); }
    void golden_bubbles();
    void huge_views_have_the_largest_font();
    void hit_slack_is_larger_to_the_right_and_bottom();
    void strips_reach_from_corner_to_corner();
    void the_nearest_marker_wins();
    void of_equally_near_markers_the_earlier_wins();
    void a_hit_marker_lets_a_nearer_one_win_beyond_that_ones_own_circle();
    void a_marker_that_was_never_painted_is_not_hit();
    void a_thinned_line_passes_all_points_within_the_tolerance();
    void a_thinned_straight_line_is_its_ends();
    void a_bubble_flips_where_its_side_ends();
    void a_bubble_that_fits_nowhere_lies_below();
};

void CurveGeometryTest::golden_sizes()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const int font = curve_font_size({input["width"].toInt(), input["height"].toInt()});
    QCOMPARE(font, expect["font"].toInt());
    const MarkerSize size = marker_size(font);
    QCOMPARE(size.half, expect["half"].toInt());
    QCOMPARE(size.even, expect["even"].toInt());
    QCOMPARE(size.quarter, expect["quarter"].toInt());
    QCOMPARE(strip_half_width(font), expect["strip"].toInt());
    QCOMPARE(marker_hit_radius(font), expect["hit_radius"].toInt());
}

void CurveGeometryTest::golden_lines()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    CurveGrid grid;
    grid.rebuild(input["width"].toInt(), input["height"].toInt());
    for (const QJsonValue &pair : expect["columns"].toArray())
        QCOMPARE(grid.freq_to_x(static_cast<float>(pair[0].toDouble())), pair[1].toInt());
    const auto center = static_cast<float>(static_cast<int>(grid.center_y));
    for (const QJsonValue &row : expect["rows"].toArray()) {
        const float off = static_cast<float>(row[0].toInt()) * grid.px_per_db;
        QCOMPARE(row_to_int(center + off, 0), row[1].toInt());
        QCOMPARE(row_to_int(center - off, 0), row[2].toInt());
    }
}

void CurveGeometryTest::golden_handles()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const QSize view(input["width"].toInt(), input["height"].toInt());
    CurveGrid grid;
    grid.rebuild(view.width(), view.height());
    const auto freq = static_cast<float>(input["freq"].toDouble());
    const QPoint anchor(grid.freq_to_x(freq),
                        grid.gain_to_row(static_cast<float>(input["gain"].toDouble())));
    QCOMPARE(anchor.x(), expect["marker_x"].toInt());
    QCOMPARE(anchor.y(), expect["marker_y"].toInt());
    const int font = curve_font_size(view);
    QCOMPARE(marker_hit_radius(font), expect["hit_radius"].toInt());
    if (!expect.contains("polygon"))
        return;
    const PeakWidth width = peak_width(freq, static_cast<float>(input["q"].toDouble()));
    const HandlePlace place{.anchor = anchor,
                            .low_column = grid.freq_to_x(width.low_edge),
                            .high_column = grid.freq_to_x(width.high_edge),
                            .font_size = font,
                            .points = view.width(),
                            .height = view.height()};
    const bool is_peak = input["type"].toString().startsWith("peq");
    std::vector<QPoint> polygon;
    for (const QJsonValue &point : expect["polygon"].toArray())
        polygon.push_back({point[0].toInt(), point[1].toInt()});
    QVERIFY((is_peak ? peak_handles(place) : shelf_handles(place)) == polygon);
    const QJsonArray square = expect["square"].toArray();
    QCOMPARE(marker_square(anchor, font),
             QRect(square[0].toInt(), square[1].toInt(), square[2].toInt(), square[3].toInt()));
}

void CurveGeometryTest::golden_bubbles()
{
    QFETCH(QJsonObject, input);
    QFETCH(QJsonObject, expect);
    const auto size_of = [&input](const char *name) {
        const QJsonArray pair = input[QLatin1String(name)].toArray();
        return QSize(pair[0].toInt(), pair[1].toInt());
    };
    const QRect window(QPoint(0, 0), size_of("window"));
    const QJsonArray places = expect["places"].toArray();
    int32_t flags = 0;
    int index = 0;
    for (const QJsonValue &anchor : input["anchors"].toArray()) {
        const BubblePlace place = place_bubble(window, size_of("bubble"),
                                               {anchor[0].toInt(), anchor[1].toInt()}, flags);
        flags = place.flags;
        const QJsonValue expected = places.at(index++);
        QCOMPARE(flags, expected[0].toInt());
        QCOMPARE(place.top_left, QPoint(expected[1].toInt(), expected[2].toInt()));
    }
    QCOMPARE(index, places.size());
}

void CurveGeometryTest::huge_views_have_the_largest_font()
{
    QCOMPARE(curve_font_size({100000, 100000}), 14); // the area leaves an int's range
    QCOMPARE(curve_font_size({0, 0}), 6);
}

void CurveGeometryTest::hit_slack_is_larger_to_the_right_and_bottom()
{
    QCOMPARE(with_hit_slack(QRect(QPoint(10, 20), QPoint(30, 40))),
             QRect(QPoint(8, 18), QPoint(33, 43)));
}

void CurveGeometryTest::strips_reach_from_corner_to_corner()
{
    const HandlePlace place{
        .anchor = {100, 50}, .font_size = 10, .points = 300, .height = 200}; // strips of 4 + 4
    QCOMPARE(gain_strip(place), QRect(QPoint(-1, 46), QPoint(301, 54)));
    QCOMPARE(freq_strip(place), QRect(QPoint(96, -1), QPoint(104, 201)));
    QCOMPARE(width_stub(place, 80), QRect(QPoint(76, 26), QPoint(84, 74)));
}

void CurveGeometryTest::the_nearest_marker_wins()
{
    const std::vector<Marker> markers{{.x = 10, .y = 10, .hit_radius = 8},
                                      {.x = 16, .y = 10, .hit_radius = 8}};
    QCOMPARE(nearest_marker(markers, {12, 10}), 0);
    QCOMPARE(nearest_marker(markers, {14, 10}), 1);
    QCOMPARE(nearest_marker(markers, {40, 40}), -1);
    QCOMPARE(nearest_marker(markers, {10, 18}), -1); // at the radius is outside
    QCOMPARE(nearest_marker({}, {0, 0}), -1);
}

void CurveGeometryTest::of_equally_near_markers_the_earlier_wins()
{
    const std::vector<Marker> markers{{.x = 10, .y = 10, .hit_radius = 8},
                                      {.x = 10, .y = 10, .hit_radius = 8}};
    QCOMPARE(nearest_marker(markers, {10, 10}), 0);
    QCOMPARE(nearest_marker(markers, {12, 11}), 0);
}

void CurveGeometryTest::a_hit_marker_lets_a_nearer_one_win_beyond_that_ones_own_circle()
{
    const std::vector<Marker> markers{{.x = 0, .y = 0, .hit_radius = 20},
                                      {.x = 12, .y = 0, .hit_radius = 1}};
    QCOMPARE(nearest_marker(markers, {9, 0}), 1);
    const std::vector<Marker> swapped{markers[1], markers[0]};
    QCOMPARE(nearest_marker(swapped, {9, 0}), 1); // only the first hit asks for the circle
}

void CurveGeometryTest::a_marker_that_was_never_painted_is_not_hit()
{
    QCOMPARE(nearest_marker({Marker()}, {0, 0}), -1);
}

void CurveGeometryTest::a_thinned_line_passes_all_points_within_the_tolerance()
{
    std::vector<QPointF> line;
    for (int x = 0; x < 2000; ++x)
        line.push_back({static_cast<double>(x),
                        200.0 + 150.0 * std::sin(x * x * 1e-4) + (x == 777 ? 9.0 : 0.0)});
    const double tolerance = 0.02;
    const std::vector<QPointF> thinned = thinned_line(line.data(), line.size(), tolerance);
    QVERIFY(thinned.front() == line.front());
    QVERIFY(thinned.back() == line.back());
    QVERIFY(thinned.size() < line.size());
    size_t next = 1;
    for (const QPointF &point : line) {
        while (thinned[next].x() < point.x())
            ++next;
        const QPointF from = thinned[next - 1];
        const QPointF way = thinned[next] - from;
        const double row = from.y() + way.y() * (point.x() - from.x()) / way.x();
        QVERIFY(std::abs(row - point.y()) <= tolerance + 1e-9);
    }
}

void CurveGeometryTest::a_thinned_straight_line_is_its_ends()
{
    const std::vector<QPointF> line{{0, 1}, {1, 3}, {2, 5}, {3, 7}};
    QCOMPARE(thinned_line(line.data(), 4, 0.01).size(), size_t{2});
    QCOMPARE(thinned_line(line.data(), 1, 0.01).size(), size_t{1});
    QCOMPARE(thinned_line(line.data(), 2, 0.01).size(), size_t{2});
    // A kink at the second point already.
    const std::vector<QPointF> kinked{{0, 0}, {1, 5}, {2, 0}};
    QCOMPARE(thinned_line(kinked.data(), 3, 0.01).size(), size_t{3});
}

void CurveGeometryTest::a_bubble_flips_where_its_side_ends()
{
    const QRect window(0, 0, 800, 400);
    QCOMPARE(place_bubble(window, {80, 30}, {400, 200}, 0).flags, 0);
    QCOMPARE(place_bubble(window, {80, 30}, {790, 200}, 0).flags, BUBBLE_LEFT);
    QCOMPARE(place_bubble(window, {80, 30}, {400, 20}, 0).flags, BUBBLE_BELOW);
    QCOMPARE(place_bubble(window, {80, 30}, {790, 20}, 0).flags, BUBBLE_LEFT | BUBBLE_BELOW);
    // The topmost place that is still above.
    QCOMPARE(place_bubble(window, {80, 30}, {400, 54}, 0).flags, 0);
    QCOMPARE(place_bubble(window, {80, 30}, {400, 53}, 0).flags, BUBBLE_BELOW);
    // One that is below stays as long as its last row is in the window.
    QCOMPARE(place_bubble(window, {80, 30}, {400, 346}, BUBBLE_BELOW).flags, BUBBLE_BELOW);
    QCOMPARE(place_bubble(window, {80, 30}, {400, 347}, BUBBLE_BELOW).flags, 0);
}

void CurveGeometryTest::a_bubble_that_fits_nowhere_lies_below()
{
    const BubblePlace place = place_bubble(QRect(0, 0, 800, 60), {80, 30}, {100, 30}, BUBBLE_BELOW);
    QCOMPARE(place.flags, BUBBLE_BELOW);
    QCOMPARE(place.top_left, QPoint(124, 54));
}

QTEST_GUILESS_MAIN(CurveGeometryTest)
#include "curve_geometry_test.moc"
