// Draws long curves in slices of pixel columns.
#include "eq/column_paint.h"

#include "eq/curve_geometry.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

// Segments this far outside a slice reach, with their width, joints and caps, no pixel inside.
constexpr int OVERLAP = 3;

// What is straight to so much of a pixel needs no joint: joints are half of a stroke's time, and
// less than this shows in no pixel.
constexpr double STRAIGHT = 1.0 / 64.0;

// Slices meet without a gap only where a column is a whole number of device pixels.
bool has_whole_columns(const QPainter *painter)
{
    const QTransform transform = painter->deviceTransform();
    return transform.type() <= QTransform::TxScale && transform.m11() == std::floor(transform.m11())
        && transform.dx() == std::floor(transform.dx());
}

bool can_slice(const QPainter *painter, size_t count, int columns_per_stroke)
{
    return columns_per_stroke > 0 && static_cast<size_t>(columns_per_stroke) < count
        && !painter->hasClipping() && has_whole_columns(painter);
}

// Calls draw(first, end) for each slice with the points that it needs, the clip being set.
template<typename Draw>
void for_each_slice(QPainter *painter, size_t count, int columns_per_stroke, Draw draw)
{
    const QRect window = painter->window();
    const int columns = static_cast<int>(count);
    painter->save();
    for (int left = 0; left < columns; left += columns_per_stroke) {
        const int end = std::min(left + columns_per_stroke, columns);
        const int clip_left = left == 0 ? -OVERLAP : left;
        const int clip_end = end == columns ? columns + OVERLAP : end;
        painter->setClipRect(clip_left, window.top(), clip_end - clip_left, window.height());
        draw(static_cast<size_t>(std::max(left - OVERLAP, 0)),
             static_cast<size_t>(std::min(end + OVERLAP, columns)));
    }
    painter->restore();
}

void draw_line(QPainter *painter, const std::vector<QPointF> &line)
{
    painter->drawPolyline(line.data(), static_cast<int>(line.size()));
}

void fill_area(QPainter *painter, const std::vector<QPointF> &area)
{
    painter->drawPolygon(area.data(), static_cast<int>(area.size()), Qt::OddEvenFill);
}

} // namespace

void stroke_columns(QPainter *painter, const std::vector<QPointF> &line, int columns_per_stroke)
{
    if (!can_slice(painter, line.size(), columns_per_stroke)) {
        draw_line(painter, line);
        return;
    }
    const auto draw = [painter, &line](size_t first, size_t end) {
        draw_line(painter, thinned_line(&line[first], end - first, STRAIGHT));
    };
    for_each_slice(painter, line.size(), columns_per_stroke, draw);
}

void fill_columns(QPainter *painter, const std::vector<QPointF> &line,
                  const std::vector<QPointF> &closing, int columns_per_stroke)
{
    std::vector<QPointF> curve = line;
    if (!can_slice(painter, line.size(), columns_per_stroke)) {
        curve.insert(curve.end(), closing.begin(), closing.end());
        fill_area(painter, curve);
        return;
    }
    curve.push_back(closing.front());
    const double base = closing.back().y();
    const auto draw = [painter, &curve, base](size_t first, size_t end) {
        std::vector<QPointF> area = thinned_line(&curve[first], end - first, STRAIGHT);
        area.push_back({curve[end - 1].x(), base});
        area.push_back({curve[first].x(), base});
        fill_area(painter, area);
    };
    for_each_slice(painter, curve.size(), columns_per_stroke, draw);
}
