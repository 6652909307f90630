// A live meter in the property panel.
#pragma once

#include "meter/meter_object.h"

#include <QPointer>
#include <QWidget>

class MeterWidget : public QWidget
{
    Q_OBJECT

public:
    explicit MeterWidget(QWidget *parent = nullptr);
    // Shows another meter, or none with null. Repaints on each of its ticks, at once.
    void set_meter(MeterObject *new_meter);

protected:
    void paintEvent(QPaintEvent *event) override;

private:
    QPointer<MeterObject> meter = {}; // not owned; a device may go while the panel shows it
};
