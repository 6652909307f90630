// The assistant that is open, if any, and when one opens.
#pragma once

#include "firmware/deppen_ass.h"

#include <QObject>
#include <QPointer>

class QWidget;
struct Device;

// One at a time in the whole program. Devices must outlive their assistant, or be forgotten.
class Assistants : public QObject
{
    Q_OBJECT

public:
    explicit Assistants(QWidget *its_parent); // of the dialogs, which go with it at the latest

    // The device's state may have changed: its assistant looks at it again, or one opens by itself.
    void offer(Device *device);
    // One for this device, not shown yet. One that has been closed stays with the window.
    DeppenAss *make(Device *device);
    // The device's record goes.
    void forget(const Device *device);

signals:
    void update_wanted(Device *device, const QByteArray &image);
    void product_confirmed(Device *device, int product_id);

private:
    QWidget *parent = nullptr;
    QPointer<DeppenAss> assistant; // the last one; open while it helps a device
};
