// The panel's rows over a selection, without a window: devices from reports, and the passes that
// the panel makes over its rows.
#pragma once

#include "gui/panel_rows.h"
#include "model/device.h"
#include "model/device_state.h"

#include <QJsonObject>

#include <memory>
#include <string>
#include <vector>

// A record as it stands after one live report.
inline std::unique_ptr<Device> device_from_report(const QJsonObject &report)
{
    register_session_item();
    build_catalogue();
    auto device = std::make_unique<Device>();
    device->device_id = report.value("device_id").toString();
    device->online = true;
    device->last_report = report;
    device->properties = catalogue().product_table.front().properties;
    merge_report(*device, report);
    return device;
}

// A report of one product with `members` beside the product's number.
inline QJsonObject report_of(int product_id, QJsonObject members)
{
    members.insert("product_id", product_id);
    return members;
}

// Fills the tables before the rows are made from them.
struct FilledCatalogue
{
    FilledCatalogue() { build_catalogue(); }
};

class SelectedRows : private FilledCatalogue
{
public:
    // A change of the selection: twice, as source channels follow rows behind them.
    void select(const std::vector<Device *> &devices)
    {
        selection = devices;
        rows.drop_edits();
        refresh_all();
        refresh_all();
    }

    void refresh_all()
    {
        for (const std::string &key : catalogue().property_keys)
            rows.refresh(key, selection);
    }

    // What the operator's edit of a row does.
    void edit(const std::string &key, const QVariant &value)
    {
        if (!rows.edit(key, value))
            return;
        for (const std::string &other : catalogue().property_keys)
            if (row(other).needs_update)
                rows.refresh(other, selection);
    }

    const Property &row(const std::string &key) const { return *rows.row(key); }
    bool is_shown(const std::string &key) const { return row(key).desc.kind != PROP_NONE; }

    PanelRows rows = {};
    std::vector<Device *> selection = {};
};
