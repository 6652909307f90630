// A label that is cut, with dots at its end, rather than widening what it stands in.
#include "gui/elided_label.h"

#include <QMouseEvent>
#include <QPainter>

ElidedLabel::ElidedLabel()
{
    setTextFormat(Qt::PlainText); // device names may look like anything
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Preferred);
}

void ElidedLabel::paintEvent(QPaintEvent *)
{
    QPainter painter(this);
    const QRect place = contentsRect();
    painter.setPen(palette().color(foregroundRole()));
    painter.drawText(place, Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                     fontMetrics().elidedText(text(), Qt::ElideRight, place.width()));
}

void ElidedLabel::mouseReleaseEvent(QMouseEvent *event)
{
    if (event->button() == Qt::LeftButton && rect().contains(event->pos()))
        emit clicked();
    QLabel::mouseReleaseEvent(event);
}
