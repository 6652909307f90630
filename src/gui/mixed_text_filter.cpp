// Selects the whole of a field that stands for several values, so that what is typed replaces it.
#include "gui/mixed_text_filter.h"

#include <QFocusEvent>
#include <QLineEdit>

MixedTextFilter::MixedTextFilter(QLineEdit *its_field, QWidget *editor)
    : QObject(its_field)
    , field(its_field)
{
    field->installEventFilter(this);
    if (editor != field)
        editor->installEventFilter(this);
}

// A press puts the cursor where it is after the focus has come. So the text is selected when the
// button is released, unless the operator has drawn a selection of his own.
bool MixedTextFilter::eventFilter(QObject * /*watched*/, QEvent *event)
{
    if (event->type() == QEvent::FocusIn && shows_dots()) {
        came_by_press = static_cast<QFocusEvent *>(event)->reason() == Qt::MouseFocusReason;
        if (!came_by_press)
            field->selectAll();
    } else if (event->type() == QEvent::MouseButtonRelease && came_by_press) {
        came_by_press = false;
        if (shows_dots() && !field->hasSelectedText())
            field->selectAll();
    }
    return false;
}

bool MixedTextFilter::shows_dots() const
{
    return field->text() == "...";
}
