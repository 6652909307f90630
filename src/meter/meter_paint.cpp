// How a meter is drawn: a sunken frame with one bar per channel.
#include "meter/meter_paint.h"

#include "meter/meter_object.h"
#include "meter/meter_scale.h"

#include <QPainter>
#include <QStyle>
#include <QStyleOptionFrame>
#include <QWidget>

#include <algorithm>

namespace {
void draw_frame(QPainter *painter, const QWidget *widget, const QRect &rect)
{
    QStyleOptionFrame option;
    option.initFrom(widget);
    option.state |= QStyle::State_Sunken;
    option.frameShape = QFrame::Panel;
    option.rect = rect;
    option.lineWidth = 1;
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
    painter->setPen(Qt::NoPen);
    // KEPT: a pixel smaller than the inside of the frame.
    if (meter.levels.empty()) {
        painter->setBrush(QColor(0x808080));
        painter->drawRect(meter_idle_rect(rect));
    }
    const size_t channels = std::min(meter.levels.size(), meter.display_levels.size());
    for (size_t i = 0; i < channels; ++i) {
        const QRect bar = meter_bar_rect(rect, static_cast<int>(meter.levels.size()),
                                         static_cast<int>(i), meter.display_levels[i]);
        if (bar.isEmpty())
            continue;
        painter->setBrush(bar_colour(meter.overdrive, i));
        painter->drawRect(bar);
    }
    painter->restore();
}
