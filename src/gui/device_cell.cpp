// A cell of the device list.
#include "gui/device_cell.h"

bool DeviceCell::store(int role, const QVariant &value)
{
    QVariant *stored = place(role);
    if (!stored || (stored->userType() == value.userType() && *stored == value))
        return false;
    *stored = value;
    if (stored == &display || stored == &decoration)
        width = -1;
    return true;
}

QVariant DeviceCell::data(int role) const
{
    const QVariant *stored = const_cast<DeviceCell *>(this)->place(role);
    return stored ? *stored : QStandardItem::data(role);
}

void DeviceCell::setData(const QVariant &value, int role)
{
    if (!place(role))
        QStandardItem::setData(value, role);
    else if (store(role, value))
        emitDataChanged();
}

QVariant *DeviceCell::place(int role)
{
    switch (role) {
    case Qt::DisplayRole:
    case Qt::EditRole:
        return &display;
    case Qt::DecorationRole:
        return &decoration;
    case ID_ROLE:
        return &id;
    case SORT_ROLE:
        return &sort_key;
    case EXTRA_ROLE:
        return &extra;
    default:
        return nullptr;
    }
}
