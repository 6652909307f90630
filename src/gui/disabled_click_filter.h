// Turns a click on a disabled editor into a request to start editing.
#pragma once

#include <QObject>
#include <QWidget>

class DisabledClickFilter : public QObject
{
    Q_OBJECT

public:
    // `editor` is target and parent: the filter dies with its widget.
    explicit DisabledClickFilter(QWidget *editor);

    bool eventFilter(QObject *watched, QEvent *event) override;

signals:
    // KEPT: a mouse button was released, not pressed, over the disabled target. Receivers may
    // enable the target, which then gets the focus, or have it deleted later.
    void onClick(QWidget *target);

private:
    QWidget *target;
};
