// A combo box that does not react to a passing mouse wheel.
#include "gui/modified_combo_box.h"

ModifiedComboBox::ModifiedComboBox(QWidget *parent)
    : QComboBox(parent)
{
    setFocusPolicy(Qt::StrongFocus);
}

void ModifiedComboBox::wheelEvent(QWheelEvent *event)
{
    if (hasFocus())
        QComboBox::wheelEvent(event);
}
