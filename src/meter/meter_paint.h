// How a meter is drawn: a sunken frame with one bar per channel.
#pragma once

#include <QRect>

class MeterObject;
class QPainter;
class QWidget;

// Draws the bars into `rect`; `widget` gives the style.
void paint_meter(const MeterObject &meter, QPainter *painter, const QWidget *widget,
                 const QRect &rect);
