// What each cell of a device's row shows, and by what it sorts.
#pragma once

#include "model/device.h"

#include <QIcon>
#include <QString>

#include <map>
#include <string>

class DeviceCell;

struct CellChange
{
    bool is_seen = false; // text, sort key or picture differ from before
    bool is_key = false;  // the sort key among them
};

class RowWriter
{
public:
    // `id` is the column's: "product_id", "status", "ip", "meter" or the key of a property.
    CellChange write(Device &device, const std::string &id, DeviceCell &cell);
    // Each file is read once; one that can't be read gives an empty icon.
    QIcon load_icon(const QString &path);

private:
    CellChange write_product(const Device &device, DeviceCell &cell);

    std::map<QString, QIcon> icon_cache = {}; // by path
};
