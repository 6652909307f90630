// Escape in one widget alone: no shortcut of the window sees it.
#include "gui/escape_filter.h"

#include <QKeyEvent>
#include <QWidget>

EscapeFilter::EscapeFilter(QWidget *watched)
    : QObject(watched)
{
    watched->installEventFilter(this);
}

// The key comes twice: first with the question whether it is a shortcut.
bool EscapeFilter::eventFilter(QObject *watched, QEvent *event)
{
    const bool is_question = event->type() == QEvent::ShortcutOverride;
    if (!is_question && event->type() != QEvent::KeyPress)
        return QObject::eventFilter(watched, event);
    const auto *key = static_cast<QKeyEvent *>(event);
    if (key->key() != Qt::Key_Escape || key->modifiers() != Qt::NoModifier)
        return QObject::eventFilter(watched, event);
    event->accept();
    if (!is_question)
        emit escaped();
    return true;
}
