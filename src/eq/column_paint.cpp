// Draws long curves in slices of pixel columns.
#include "eq/column_paint.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace {

// Segments this far outside a slice reach, with their width, joints and caps, no pixel inside.
constexpr int OVERLAP = 3;

// Slices meet without a gap only where a column is a whole number of device pixels.
bool has_whole_columns(const QPainter *painter)
{
    const QTransform transform = painter->deviceTransform();
    return transform.type() <= QTransform::TxScale && transform.m11() == std::floor(transform.m11())
        && transform.dx() == std::floor(transform.dx());
}

// Calls draw(first, end) for each slice with the points that it needs, the clip being set.
template<typename Draw>
void for_each_slice(QPainter *painter, int count, int columns_per_stroke, Draw draw)
{
    if (columns_per_stroke < 1 || columns_per_stroke >= count || painter->hasClipping()
        || !has_whole_columns(painter)) {
        draw(0, count);
        return;
    }
    const QRect window = painter->window();
    painter->save();
    for (int left = 0; left < count; left += columns_per_stroke) {
        const int end = std::min(left + columns_per_stroke, count);
        const int clip_left = left == 0 ? -OVERLAP : left;
        const int clip_end = end == count ? count + OVERLAP : end;
        painter->setClipRect(clip_left, window.top(), clip_end - clip_left, window.height());
        draw(std::max(left - OVERLAP, 0), std::min(end + OVERLAP, count));
    }
    painter->restore();
}

} // namespace

void stroke_columns(QPainter *painter, const std::vector<QPointF> &line, int columns_per_stroke)
{
    const auto draw = [painter, &line](int first, int end) {
        painter->drawPolyline(line.data() + first, end - first);
    };
    for_each_slice(painter, static_cast<int>(line.size()), columns_per_stroke, draw);
}

void fill_columns(QPainter *painter, const std::vector<QPointF> &line,
                  const std::vector<QPointF> &closing, int columns_per_stroke)
{
    std::vector<QPointF> curve = line;
    curve.push_back(closing.front());
    const double base = closing.back().y();
    std::vector<QPointF> slice;
    const auto draw = [painter, &curve, &slice, base](int first, int end) {
        slice.clear();
        slice.assign(curve.begin() + first, curve.begin() + end);
        slice.push_back({curve[static_cast<size_t>(end - 1)].x(), base});
        slice.push_back({curve[static_cast<size_t>(first)].x(), base});
        painter->drawPolygon(slice.data(), static_cast<int>(slice.size()), Qt::OddEvenFill);
    };
    for_each_slice(painter, static_cast<int>(curve.size()), columns_per_stroke, draw);
}
