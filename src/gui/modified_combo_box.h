// A combo box that does not react to a passing mouse wheel.
#pragma once

#include <QComboBox>

class ModifiedComboBox : public QComboBox
{
    Q_OBJECT

public:
    explicit ModifiedComboBox(QWidget *parent = nullptr);

protected:
    // KEPT: without the focus the wheel is swallowed: neither the choice nor the panel around it
    // may move.
    void wheelEvent(QWheelEvent *event) override;
};
