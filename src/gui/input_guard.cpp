// Keeps a window that opens by itself from taking what was meant for another one.
#include "gui/input_guard.h"

#include <QEvent>
#include <QWidget>

namespace {

bool is_input(QEvent::Type type)
{
    switch (type) {
    case QEvent::KeyPress:
    case QEvent::KeyRelease:
    case QEvent::Shortcut:
    case QEvent::MouseButtonPress:
    case QEvent::MouseButtonRelease:
    case QEvent::MouseButtonDblClick:
    case QEvent::TouchBegin:
    case QEvent::TouchEnd:
    case QEvent::Wheel:
        return true;
    default:
        return false;
    }
}

} // namespace

InputGuard::InputGuard(QObject *parent)
    : QObject(parent)
{
    timer.setSingleShot(true);
    timer.setInterval(DURATION);
}

void InputGuard::watch(QWidget *widget)
{
    widget->installEventFilter(this);
}

void InputGuard::start()
{
    timer.start();
}

bool InputGuard::eventFilter(QObject *watched, QEvent *event)
{
    if (!is_on() || !is_input(event->type()))
        return QObject::eventFilter(watched, event);
    // Who goes on typing has not looked up yet.
    if (event->type() == QEvent::KeyPress)
        start();
    return true;
}
