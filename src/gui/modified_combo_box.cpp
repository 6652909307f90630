// A combo box that does not react to a passing mouse wheel.
#include "gui/modified_combo_box.h"

#include <QWheelEvent>

ModifiedComboBox::ModifiedComboBox(QWidget *parent)
    : QComboBox(parent)
{
    setFocusPolicy(Qt::StrongFocus);
}

void ModifiedComboBox::wheelEvent(QWheelEvent *event)
{
    event->accept(); // the toolkit hands out wheel events as ignored
    if (hasFocus())
        QComboBox::wheelEvent(event);
}
