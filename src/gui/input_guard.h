// Keeps a window that opens by itself from taking what was meant for another one.
#pragma once

#include <QObject>
#include <QTimer>

class QWidget;

class InputGuard : public QObject
{
    Q_OBJECT

public:
    static constexpr int DURATION = 700; // ms, from the last key; who types has looked up by then

    explicit InputGuard(QObject *parent);
    // From now on the widget takes no keys and no mouse buttons while the guard is on.
    void watch(QWidget *widget);
    void start();
    void lift() { timer.stop(); }
    bool is_on() const { return timer.isActive(); }
    int rest() const { return timer.remainingTime(); } // ms; -1 when it is off

    bool eventFilter(QObject *watched, QEvent *event) override;

private:
    QTimer timer; // runs while the guard is on
};
