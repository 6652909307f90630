// How a meter is drawn: a sunken frame with one bar per channel.
#include "meter/meter_paint.h"

#include "meter/meter_object.h"
#include "meter/meter_scale.h"

#include <QPainter>
#include <QPixmapCache>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QWidget>

#include <algorithm>
#include <map>
#include <tuple>

namespace {

QStyleOptionFrame frame_option(const QWidget *widget, const QRect &rect)
{
    QStyleOptionFrame option;
    option.initFrom(widget);
    option.state |= QStyle::State_Sunken;
    option.frameShape = QFrame::Panel;
    option.rect = rect;
    option.lineWidth = 1;
    return option;
}

// All that a frame looks like depends on.
struct FrameLook
{
    int width; // points, as the height
    int height;
    int ratio; // pixels to the point
    int state; // QStyle::State
    qint64 palette;
    const char *style;

    bool operator<(const FrameLook &other) const
    {
        return std::tie(width, height, ratio, state, palette, style) < std::tie(
                   other.width, other.height, other.ratio, other.state, other.palette, other.style);
    }
};

// On a ground that shows through.
QPixmap draw_frame_picture(const QWidget *widget, QStyleOptionFrame option, int ratio)
{
    const QSize size = option.rect.size();
    QPixmap picture(size * ratio);
    picture.setDevicePixelRatio(ratio);
    picture.fill(Qt::transparent);
    QPainter painter(&picture);
    option.rect = QRect({0, 0}, size);
    widget->style()->drawControl(QStyle::CE_ShapedFrame, &option, &painter, widget);
    return picture;
}

QPixmap frame_picture(const QWidget *widget, const QStyleOptionFrame &option, int ratio)
{
    const FrameLook look{.width = option.rect.width(),
                         .height = option.rect.height(),
                         .ratio = ratio,
                         .state = static_cast<int>(option.state),
                         .palette = option.palette.cacheKey(),
                         .style = widget->style()->metaObject()->className()};
    // The cache's own keys: a text for each meter takes longer than its bars.
    static std::map<FrameLook, QPixmapCache::Key> keys;
    QPixmapCache::Key &key = keys[look];
    QPixmap picture;
    if (!QPixmapCache::find(key, &picture)) {
        picture = draw_frame_picture(widget, option, ratio);
        key = QPixmapCache::insert(picture);
    }
    return picture;
}

// Drawing the four lines takes ten times as long as all bars: once is enough for all frames of a
// size. Where a point is no whole number of pixels, lines fall differently from place to place.
void draw_frame(QPainter *painter, const QWidget *widget, const QRect &rect)
{
    const QStyleOptionFrame option = frame_option(widget, rect);
    const qreal ratio = painter->device()->devicePixelRatioF();
    if (ratio == qRound(ratio))
        painter->drawPixmap(rect.topLeft(), frame_picture(widget, option, qRound(ratio)));
    else
        widget->style()->drawControl(QStyle::CE_ShapedFrame, &option, painter, widget);
}

// Both colours read well on light and dark backgrounds alike, so no palette is asked.
QColor bar_colour(const std::vector<bool> &overdrive, size_t channel)
{
    const bool is_overdriven = channel < overdrive.size() && overdrive[channel];
    return QColor(is_overdriven ? 0xFFFF00 : 0x00FF00);
}
} // namespace

void paint_meter(const MeterObject &meter, QPainter *painter, const QWidget *widget,
                 const QRect &rect)
{
    if (rect.isEmpty())
        return;

    painter->save();
    draw_frame(painter, widget, rect);
    // KEPT: a pixel smaller than the inside of the frame.
    if (meter.levels.empty())
        painter->fillRect(meter_idle_rect(rect), QColor(0x808080));
    const size_t channels = std::min(meter.levels.size(), meter.display_levels.size());
    for (size_t i = 0; i < channels; ++i) {
        const QRect bar = meter_bar_rect(rect, static_cast<int>(meter.levels.size()),
                                         static_cast<int>(i), meter.display_levels[i]);
        if (!bar.isEmpty())
            painter->fillRect(bar, bar_colour(meter.overdrive, i));
    }
    painter->restore();
}
