// A live meter in the property panel.
#include "meter/meter_widget.h"

#include "meter/meter_object.h"
#include "meter/meter_paint.h"

#include <QPainter>

namespace {
constexpr int METER_WIDTH = 50;
constexpr int METER_HEIGHT = 20;
} // namespace

MeterWidget::MeterWidget(QWidget *parent)
    : QWidget(parent)
{
    setBackgroundRole(QPalette::Base);
    setAutoFillBackground(true);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Expanding);
    setMinimumSize(METER_WIDTH, METER_HEIGHT);
    setMaximumSize(METER_WIDTH, METER_HEIGHT);
}

void MeterWidget::set_meter(MeterObject *new_meter)
{
    if (new_meter == meter)
        return;

    // KEPT: repaint and not update: the bar shows each tick's level, however busy the event loop
    // is.
    const auto redraw = qOverload<>(&QWidget::repaint);
    if (meter)
        disconnect(meter, &MeterObject::onUpdate, this, redraw);
    meter = new_meter;
    if (meter)
        connect(meter, &MeterObject::onUpdate, this, redraw);
}

void MeterWidget::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    if (meter)
        paint_meter(*meter, &painter, this, QRect(0, 0, width(), height()));
}
