// A number field that understands a unit and a mixed value.
#pragma once

#include <QDoubleSpinBox>
#include <QString>

class ValueSpinner : public QDoubleSpinBox
{
    Q_OBJECT

public:
    explicit ValueSpinner(QWidget *parent = nullptr);

    // The embedded editor. Its textChanged comes after the box has read the text. A mixed field
    // stands at its minimum: when exactly that is typed, no valueChanged tells it.
    using QAbstractSpinBox::lineEdit;

    QValidator::State validate(QString &text, int &pos) const override;
    double valueFromText(const QString &text) const override;
    QString textFromValue(double value) const override;

    bool mixed_allowed = false; // "..." is accepted as a value
    mutable bool mixed = false; // stands for no single value, shows "..."; reading the text sets it
    QString unit = {};          // shown behind the number; not the spin box's own suffix

protected:
    // Turns the number only with the focus. KEPT: without it the wheel is swallowed: neither the
    // value nor the panel around it may move under a passing wheel.
    void wheelEvent(QWheelEvent *event) override;
};
