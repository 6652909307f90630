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
    QSize size;
    int ratio = 0; // pixels to the point
    int state = 0; // QStyle::State
    qint64 palette = 0;
    const char *style = nullptr;

    bool operator==(const FrameLook &) const = default;
};

QString text_of(const FrameLook &look)
{
    return QStringLiteral("sunken frame %1x%2 @%3 %4 %5 %6")
        .arg(look.size.width())
        .arg(look.size.height())
        .arg(look.ratio)
        .arg(look.state)
        .arg(look.palette)
        .arg(look.style);
}

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
    const FrameLook look{.size = option.rect.size(),
                         .ratio = ratio,
                         .state = static_cast<int>(option.state),
                         .palette = option.palette.cacheKey(),
                         .style = widget->style()->metaObject()->className()};
    // Those of a list are all alike, and a text for each takes longer than its bars.
    static FrameLook last_look;
    static QPixmapCache::Key last_key;
    QPixmap picture;
    if (look == last_look && QPixmapCache::find(last_key, &picture))
        return picture;
    const QString text = text_of(look);
    if (!QPixmapCache::find(text, &picture)) {
        picture = draw_frame_picture(widget, option, ratio);
        QPixmapCache::insert(text, picture);
    }
    last_look = look;
    QPixmapCache::remove(last_key);
    last_key = QPixmapCache::insert(picture);
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
    if (meter.levels.empty()) {
        painter->fillRect(meter_idle_rect(rect), QColor(0x808080));
    }
    const size_t channels = std::min(meter.levels.size(), meter.display_levels.size());
    for (size_t i = 0; i < channels; ++i) {
        const QRect bar = meter_bar_rect(rect, static_cast<int>(meter.levels.size()),
                                         static_cast<int>(i), meter.display_levels[i]);
        if (!bar.isEmpty())
            painter->fillRect(bar, bar_colour(meter.overdrive, i));
    }
    painter->restore();
}
