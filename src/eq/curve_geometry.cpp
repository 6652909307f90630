// Pixel geometry of the curve view: sizes, handle shapes, hit order and the bubble's place.
#include "eq/curve_geometry.h"

#include <QLineF>

#include <algorithm>
#include <limits>

namespace {

constexpr int BUBBLE_DISTANCE = 24;

} // namespace

int curve_font_size(QSize size)
{
    const qint64 area = qint64{size.width()} * size.height();
    if (area <= 9999)
        return 6;
    if (area <= 59999)
        return 8;
    if (area <= 299999)
        return 10;
    return area < 1000000 ? 12 : 14;
}

MarkerSize marker_size(int font_size)
{
    const int d = font_size * 3 / 2;
    const int even = d & ~1;
    return {.half = d / 2, .even = even, .quarter = even / 4};
}

int marker_hit_radius(int font_size)
{
    const int half = marker_size(font_size).half;
    return static_cast<int>(QLineF(0, 0, half, half).length());
}

int strip_half_width(int font_size)
{
    return (font_size / 3 + 2) & ~1;
}

QRect marker_square(QPoint anchor, int font_size)
{
    const MarkerSize size = marker_size(font_size);
    return {anchor.x() - size.half, anchor.y() - size.half, size.even, size.even};
}

std::vector<QPoint> shelf_handles(const HandlePlace &place)
{
    const int x = place.anchor.x();
    const int y = place.anchor.y();
    const int t = strip_half_width(place.font_size);
    const int right = place.points + 1;
    const int bottom = place.height + 1;
    return {{-1, y - t},    {x - t, y - t}, {x - t, -1},    {x + t, -1},     {x + t, y - t},
            {right, y - t}, {right, y + t}, {x + t, y + t}, {x + t, bottom}, {x - t, bottom},
            {x - t, y + t}, {-1, y + t},    {-1, y - t}};
}

std::vector<QPoint> peak_handles(const HandlePlace &place)
{
    const int x = place.anchor.x();
    const int y = place.anchor.y();
    const int t = strip_half_width(place.font_size);
    const int u = 2 * place.font_size;
    const int xl = place.low_column;
    const int xh = place.high_column;
    const int right = place.points + 1;
    const int bottom = place.height + 1;
    return {{-1, y - t},         {xl - t, y - t},     {xl - t, y - t - u}, {xl + t, y - t - u},
            {xl + t, y - t},     {x - t, y - t},      {x - t, -1},         {x + t, -1},
            {x + t, y - t},      {xh - t, y - t},     {xh - t, y - t - u}, {xh + t, y - t - u},
            {xh + t, y - t},     {right, y - t},      {right, y + t},      {xh + t, y + t},
            {xh + t, y + t + u}, {xh - t, y + t + u}, {xh - t, y + t},     {x + t, y + t},
            {x + t, bottom},     {x - t, bottom},     {x - t, y + t},      {xl + t, y + t},
            {xl + t, y + t + u}, {xl - t, y + t + u}, {xl - t, y + t},     {-1, y + t},
            {-1, y - t}};
}

QRect gain_strip(const HandlePlace &place)
{
    const int t = strip_half_width(place.font_size);
    return {QPoint(-1, place.anchor.y() - t), QPoint(place.points + 1, place.anchor.y() + t)};
}

QRect freq_strip(const HandlePlace &place)
{
    const int t = strip_half_width(place.font_size);
    return {QPoint(place.anchor.x() - t, -1), QPoint(place.anchor.x() + t, place.height + 1)};
}

QRect width_stub(const HandlePlace &place, int column)
{
    const int t = strip_half_width(place.font_size);
    const int reach = t + 2 * place.font_size;
    return {QPoint(column - t, place.anchor.y() - reach),
            QPoint(column + t, place.anchor.y() + reach)};
}

QRect with_hit_slack(const QRect &handle)
{
    return handle.adjusted(-2, -2, 3, 3);
}

int nearest_marker(const std::vector<Marker> &markers, QPoint position)
{
    double best = -1.0;
    int found = -1;
    int index = 0;
    for (const Marker &marker : markers) {
        const double distance = QLineF(QPointF(marker.x, marker.y), position).length();
        const double limit = best < 0.0 ? marker.hit_radius : best;
        if (distance < limit) {
            best = distance;
            found = index;
        }
        ++index;
    }
    return found;
}

std::vector<QPointF> thinned_line(const QPointF *points, size_t count, double tolerance)
{
    constexpr double ANY = std::numeric_limits<double>::infinity();
    std::vector<QPointF> kept{points[0]};
    // The slopes from the last kept point that pass all points since.
    double flattest = -ANY;
    double steepest = ANY;
    for (size_t i = 1; i < count; ++i) {
        const auto slope_to = [&kept](QPointF point, double shift) {
            const QPointF way = point - kept.back();
            return (way.y() + shift) / way.x();
        };
        const double slope = slope_to(points[i], 0.0);
        if (slope < flattest || slope > steepest) {
            kept.push_back(points[i - 1]);
            flattest = -ANY;
            steepest = ANY;
        }
        flattest = std::max(flattest, slope_to(points[i], -tolerance));
        steepest = std::min(steepest, slope_to(points[i], tolerance));
    }
    if (count > 1)
        kept.push_back(points[count - 1]);
    return kept;
}

BubblePlace place_bubble(const QRect &window, QSize bubble, QPoint anchor, int32_t flags)
{
    const int flipped_left = anchor.x() - bubble.width() - BUBBLE_DISTANCE;
    const int standard_left = anchor.x() + BUBBLE_DISTANCE;
    const bool was_left = (flags & BUBBLE_LEFT) != 0;
    const bool stays_left = was_left && flipped_left >= 0;
    const bool is_left = stays_left || standard_left + bubble.width() - 1 > window.right();

    const int standard_top = anchor.y() - bubble.height() - BUBBLE_DISTANCE;
    const int flipped_top = anchor.y() + BUBBLE_DISTANCE;
    const bool was_below = (flags & BUBBLE_BELOW) != 0;
    const bool stays_below = was_below && flipped_top + bubble.height() - 1 <= window.bottom();
    const bool is_below = stays_below || standard_top < 0;

    return {.flags = (is_below ? BUBBLE_BELOW : 0) | (is_left ? BUBBLE_LEFT : 0),
            .top_left
            = {is_left ? flipped_left : standard_left, is_below ? flipped_top : standard_top}};
}
