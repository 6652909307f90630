// Turns a click on a disabled editor into a request to start editing.
#include "gui/disabled_click_filter.h"

#include <QEvent>
#include <QPointer>

DisabledClickFilter::DisabledClickFilter(QWidget *editor)
    : QObject(editor)
    , target(editor)
{
    editor->installEventFilter(this);
}

bool DisabledClickFilter::eventFilter(QObject *watched, QEvent *event)
{
    const bool is_click = event->type() == QEvent::MouseButtonRelease;
    if (watched != target || target->isEnabled() || !is_click)
        return false;

    // Editing may rebuild the row and take target and filter away.
    const QPointer<QWidget> clicked = target;
    emit onClick(clicked);
    if (clicked)
        clicked->setFocus(Qt::OtherFocusReason);
    return false;
}
