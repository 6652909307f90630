// A number field that understands a unit and a mixed value.
#include "gui/value_spinner.h"

#include "gui/value_parser.h"

#include <QWheelEvent>

ValueSpinner::ValueSpinner(QWidget *parent)
    : QDoubleSpinBox(parent)
{
    setFocusPolicy(Qt::StrongFocus);
}

void ValueSpinner::wheelEvent(QWheelEvent *event)
{
    event->accept(); // the toolkit hands out wheel events as ignored
    if (hasFocus())
        QDoubleSpinBox::wheelEvent(event);
}

// Never Invalid: no keystroke is refused, and the base class bounds the value.
QValidator::State ValueSpinner::validate(QString &text, int & /*pos*/) const
{
    if (text == "...")
        return QValidator::Acceptable;
    double value = 0.0;
    return parse_value_text(text, unit, &value) ? QValidator::Acceptable : QValidator::Intermediate;
}

double ValueSpinner::valueFromText(const QString &text) const
{
    mixed = mixed_allowed && text == "...";
    if (mixed)
        return minimum();
    double value = 0.0;
    return parse_value_text(text, unit, &value) ? value : minimum();
}

QString ValueSpinner::textFromValue(double value) const
{
    if (mixed)
        return "...";
    const QString number = QDoubleSpinBox::textFromValue(value);
    return unit.isEmpty() ? number : number + " " + unit;
}
