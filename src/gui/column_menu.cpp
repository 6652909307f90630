// The menu of columns: it stays open while columns are ticked.
#include "gui/column_menu.h"

#include <QKeyEvent>
#include <QMouseEvent>

ColumnMenu::ColumnMenu(QWidget *parent)
    : QMenu(parent)
{
    setToolTipsVisible(true);
}

void ColumnMenu::showEvent(QShowEvent *event)
{
    is_pressed = false;
    QMenu::showEvent(event);
}

void ColumnMenu::mousePressEvent(QMouseEvent *event)
{
    is_pressed = rect().contains(event->pos());
    QMenu::mousePressEvent(event);
}

// The menu opens under the pointer: the release of the click that opened it means no entry.
void ColumnMenu::mouseReleaseEvent(QMouseEvent *event)
{
    if (!is_pressed)
        return;
    QAction *action = actionAt(event->pos());
    if (action && action->isCheckable())
        action->trigger();
    else if (!action)
        QMenu::mouseReleaseEvent(event);
}

void ColumnMenu::keyPressEvent(QKeyEvent *event)
{
    QAction *action = activeAction();
    if (event->key() == Qt::Key_Space && action && action->isCheckable())
        action->trigger();
    else
        QMenu::keyPressEvent(event);
}
