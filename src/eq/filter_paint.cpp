// The paint half of the bands: marker, own response, handles and bubble.
#include "eq/column_paint.h"
#include "eq/curve_grid.h"
#include "eq/filter.h"
#include "eq/filter_response.h"

#include <QPainter>

#include <algorithm>

namespace {

const QColor HIGHLIGHT(0xD8, 0x18, 0x18);
const QColor RESPONSE_OUTLINE(255, 255, 255, 128);
const QColor HANDLE_FILL(90, 90, 90, 185);

// KEPT: a marker's text stops growing here, its square doesn't.
constexpr int MARKER_LABEL_POINTS = 8;
constexpr int BUBBLE_POINTS = 12;
constexpr int BUBBLE_MARGIN = 6;
constexpr double BUBBLE_RADIUS = 6.0;

void draw_square(QPainter *painter, QPoint anchor, int font_size)
{
    const int radius = marker_size(font_size).quarter;
    painter->drawRoundedRect(marker_square(anchor, font_size), radius, radius, Qt::AbsoluteSize);
}

void draw_cross(QPainter *painter, QPoint anchor, int font_size)
{
    const int reach = marker_size(font_size).quarter;
    painter->drawLine(anchor - QPoint(0, reach), anchor + QPoint(0, reach));
    painter->drawLine(anchor - QPoint(reach, 0), anchor + QPoint(reach, 0));
}

void draw_label(QPainter *painter, QPoint anchor, int font_size, const QString &text,
                bool highlighted)
{
    QRect r = painter->boundingRect(QRect(), Qt::AlignCenter, text);
    const int top = anchor.y() - marker_size(font_size).half - r.height();
    r.moveTopLeft({anchor.x() - r.width() / 2, top});
    r.adjust(-1, 0, 2, 0);
    painter->setOpacity(0.4);
    painter->fillRect(r, highlighted ? HIGHLIGHT : QColor(Qt::black));
    painter->setOpacity(1.0);
    painter->drawText(r, Qt::AlignCenter, text);
}

// Draws the bubble beside its anchor; the flags say on which side, for this paint and the next.
int32_t draw_bubble(QPainter *painter, QPoint anchor, const QString &text, int32_t flags)
{
    painter->setFont(QFont("Helvetica", BUBBLE_POINTS));
    const QSize text_size = painter->boundingRect(QRect(), Qt::AlignLeft, text).size();
    const QSize size = text_size + QSize(2 * BUBBLE_MARGIN, 2 * BUBBLE_MARGIN);
    const BubblePlace place = place_bubble(painter->window(), size, anchor, flags);
    painter->drawRoundedRect(QRect(place.top_left, size), BUBBLE_RADIUS, BUBBLE_RADIUS,
                             Qt::AbsoluteSize);
    painter->setOpacity(1.0);
    const QPoint text_corner = place.top_left + QPoint(BUBBLE_MARGIN, BUBBLE_MARGIN);
    painter->drawText(QRect(text_corner, text_size), Qt::AlignLeft, text);
    return place.flags;
}

} // namespace

void Filter::place_marker()
{
    marker_x = grid->freq_to_x(freq);
    marker_y = grid->gain_to_row(gain);
    hit_radius = marker_hit_radius(grid->font_size);
}

void Filter::draw_marker(QPainter *painter, bool highlighted)
{
    if (!grid)
        return;
    place_marker();
    const int font_size = grid->font_size;
    const QPoint anchor(marker_x, marker_y);
    const QString text = number > 0 ? name + QObject::tr(" ") + QString::number(number) : name;
    painter->setFont(QFont("Helvetica", std::clamp(font_size, 1, MARKER_LABEL_POINTS)));
    draw_square(painter, anchor, font_size);
    draw_cross(painter, anchor, font_size);
    draw_label(painter, anchor, font_size, text, highlighted);
}

void Filter::draw_response(QPainter *painter)
{
    if (!grid || magnitude.empty())
        return;
    const std::vector<QPointF> outline = response_outline(*grid, magnitude);
    painter->setPen(QPen(RESPONSE_OUTLINE, 2));
    stroke_columns(painter, outline, grid->columns_per_stroke);
    painter->setPen(QColor(Qt::transparent));
    painter->setBrush(HIGHLIGHT);
    painter->setOpacity(0.5);
    fill_columns(painter, outline, response_closing(*grid, outline), grid->columns_per_stroke);
}

HandlePlace Filter::handle_place() const
{
    return {.anchor = {marker_x, marker_y},
            .font_size = grid->font_size,
            .points = grid->points,
            .height = grid->height};
}

void Filter::draw_handle_shapes(QPainter *painter, const std::vector<QPoint> &strips,
                                int32_t &label_flags) const
{
    const QPoint anchor(marker_x, marker_y);
    painter->setBrush(HANDLE_FILL);
    painter->drawPolygon(strips.data(), static_cast<int>(strips.size()), Qt::OddEvenFill);
    draw_square(painter, anchor, grid->font_size);
    const QString text = name + " " + QString::number(number);
    label_flags = draw_bubble(painter, anchor, text, label_flags);
}

void FilterPEQ::draw_handles(QPainter *painter)
{
    if (!grid)
        return;
    place_marker();
    HandlePlace place = handle_place();
    place.low_column = grid->freq_to_x(low_edge);
    place.high_column = grid->freq_to_x(high_edge);
    draw_handle_shapes(painter, peak_handles(place), label_flags);
    gain_band = with_hit_slack(gain_strip(place));
    freq_band = with_hit_slack(freq_strip(place));
    center_rect = with_hit_slack(marker_square(place.anchor, place.font_size));
    low_rect = with_hit_slack(width_stub(place, place.low_column));
    high_rect = with_hit_slack(width_stub(place, place.high_column));
}

void FilterShelf::draw_handles(QPainter *painter)
{
    if (!grid)
        return;
    place_marker();
    const HandlePlace place = handle_place();
    draw_handle_shapes(painter, shelf_handles(place), label_flags);
    gain_band = with_hit_slack(gain_strip(place));
    freq_band = with_hit_slack(freq_strip(place));
    center_rect = with_hit_slack(marker_square(place.anchor, place.font_size));
}
