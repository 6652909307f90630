// The mouse over a curve view that stands alone, with events as the window system makes them.
#pragma once

#include "eq/curve_widget.h"
#include "eq/filter.h"

#include <QApplication>
#include <QMouseEvent>

inline void send_mouse(CurveWidget &view, QEvent::Type type, QPoint position,
                       Qt::MouseButton button, Qt::MouseButtons held)
{
    QMouseEvent event(type, position, button, held, Qt::NoModifier);
    QApplication::sendEvent(&view, &event);
}

inline void hover(CurveWidget &view, QPoint position)
{
    send_mouse(view, QEvent::MouseMove, position, Qt::NoButton, Qt::NoButton);
}

inline void press(CurveWidget &view, QPoint position, Qt::MouseButton button = Qt::LeftButton)
{
    send_mouse(view, QEvent::MouseButtonPress, position, button, button);
}

inline void drag_to(CurveWidget &view, QPoint position, Qt::MouseButton button = Qt::LeftButton)
{
    send_mouse(view, QEvent::MouseMove, position, Qt::NoButton, button);
}

inline void release(CurveWidget &view, QPoint position, Qt::MouseButton button = Qt::LeftButton)
{
    send_mouse(view, QEvent::MouseButtonRelease, position, button, Qt::NoButton);
}

// Where it was last painted.
inline QPoint marker_of(const CurveWidget &view, int index)
{
    return {view.filters.at(index)->marker_x, view.filters.at(index)->marker_y};
}
