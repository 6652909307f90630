// What a widget says to who rests on it.
#pragma once

#include <QApplication>
#include <QHelpEvent>
#include <QToolTip>
#include <QWidget>

// One that says nothing leaves the text of the one before, whose tip takes its time to go.
inline QString tool_tip_at(QWidget *widget, const QPoint &place = {1, 1})
{
    QToolTip::hideText();
    QHelpEvent rest(QEvent::ToolTip, place, widget->mapToGlobal(place));
    QApplication::sendEvent(widget, &rest);
    return QToolTip::text();
}
