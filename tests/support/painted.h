// What of a widget is painted, and how often.
#pragma once

#include <QObject>
#include <QPaintEvent>
#include <QRegion>
#include <QWidget>

class Painted : public QObject
{
public:
    explicit Painted(QWidget *widget) { widget->installEventFilter(this); }
    bool eventFilter(QObject * /*watched*/, QEvent *event) override
    {
        if (event->type() == QEvent::Paint) {
            ++times;
            region += static_cast<QPaintEvent *>(event)->region();
        }
        return false;
    }

    int times = 0;
    QRegion region = {};
};
