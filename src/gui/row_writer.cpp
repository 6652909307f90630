// What each cell of a device's row shows, and by what it sorts.
#include "gui/row_writer.h"

#include "gui/choices.h"
#include "gui/column_rules.h"
#include "gui/device_cell.h"
#include "gui/status_text.h"
#include "gui/value_text.h"

namespace {

StatusFacts status_facts(const Device &device)
{
    return {.online = device.online,
            .broken_net = device.broken_net,
            .is_muted = device.value("dsp/mute") == QVariant(true),
            .upload = device.upload,
            .upload_error = device.upload_error,
            .firmware_update_error = device.firmware_update_error,
            .dsp_error = device.dsp_error};
}

// One device's own state as rows: a list cell shows a preset's name for that device alone.
OtherRow device_property(const Device &device, const std::string &key)
{
    const auto desc = device.properties.find(key);
    const auto value = device.values.find(key);
    if (desc == device.properties.end() || value == device.values.end())
        return {};
    return {.desc = &desc->second, .value = &value->second};
}

// A cell without a sort key of its own sorts by its text.
CellChange set_cell(DeviceCell &cell, const QString &text, const QVariant &sort_value)
{
    CellChange change{.is_seen = cell.store(Qt::DisplayRole, text)};
    change.is_key
        = cell.store(DeviceCell::SORT_ROLE, sort_value.isValid() ? sort_value : QVariant(text));
    change.is_seen |= change.is_key;
    return change;
}

// KEPT: a device that lacks the key leaves the cell as it is, so that after a change of product it
// goes on showing what the old one had there.
CellChange write_property(const Device &device, const std::string &key, DeviceCell &cell)
{
    const auto value = device.values.find(key);
    const auto desc = device.properties.find(key);
    if (value == device.values.end() || desc == device.properties.end())
        return {};
    QString text;
    QVariant icon;
    if (desc->second.flags & (PF_FOLLOWS_BANK | PF_SOURCE_CHANNEL)) {
        PropertyDesc dependent = desc->second;
        update_dynamic_choices(dependent, [&device](const std::string &other) {
            return device_property(device, other);
        });
        value_text(dependent, value->second, true, &text, &icon);
    } else {
        value_text(desc->second, value->second, true, &text, &icon);
    }
    if (!cell.data(Qt::DecorationRole).isValid())
        cell.store(Qt::DecorationRole, icon.value<QIcon>());
    return set_cell(cell, text, value->second);
}

} // namespace

CellChange RowWriter::write(Device &device, const std::string &id, DeviceCell &cell)
{
    if (id == "product_id")
        return write_product(device, cell);
    if (id == "status")
        return set_cell(cell, status_text(status_facts(device)), {});
    if (id == "ip")
        return set_cell(cell, device.address.toString(), {});
    if (id != "meter")
        return write_property(device, id, cell);
    if (cell.data(DeviceCell::METER_ROLE).value<MeterObject *>() != &device.meter)
        cell.store(DeviceCell::METER_ROLE, QVariant::fromValue(&device.meter));
    return {}; // the tick paints it
}

CellChange RowWriter::write_product(const Device &device, DeviceCell &cell)
{
    const ProductDesc &product = find_product(device.value("product_id").toInt());
    const qint64 sort_key = product_sort_key(device.value("ui/order").toInt(), device.address);
    CellChange change = set_cell(cell, QString::fromStdString(product.name), sort_key);
    const QString icon = QString::fromStdString(product.icon);
    if (cell.data(DeviceCell::ICON_ROLE).toString() == icon)
        return change;
    cell.store(DeviceCell::ICON_ROLE, icon);
    cell.store(Qt::DecorationRole, load_icon(icon));
    change.is_seen = true;
    return change;
}

QIcon RowWriter::load_icon(const QString &path)
{
    const auto known = icon_cache.find(path);
    if (known != icon_cache.end())
        return known->second;
    QIcon icon;
    icon.addFile(path);
    icon_cache[path] = icon;
    return icon;
}
