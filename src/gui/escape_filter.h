// Escape in one widget alone: no shortcut of the window sees it.
#pragma once

#include <QObject>

class QWidget;

class EscapeFilter : public QObject
{
    Q_OBJECT

public:
    explicit EscapeFilter(QWidget *watched); // which owns it

signals:
    void escaped();

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;
};
