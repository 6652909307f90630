// The panel's rows without a window: devices from reports, and rows merged over a selection of
// them.
#pragma once

#include "gui/property_row.h"
#include "gui/selection_merge.h"
#include "model/device.h"
#include "model/device_state.h"

#include <QJsonObject>

#include <map>
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
    device->properties = product_table.front().properties;
    merge_report(*device, report);
    return device;
}

// A report of one product with `members` beside the product's number.
inline QJsonObject report_of(int product_id, QJsonObject members)
{
    members.insert("product_id", product_id);
    return members;
}

class PanelRows
{
public:
    PanelRows()
    {
        build_catalogue();
        for (const std::string &key : property_keys) {
            rows[key] = std::make_unique<Property>();
            rows[key]->desc.key = key;
        }
    }

    // A change of the selection: twice, as source channels follow rows behind them.
    void select(const std::vector<Device *> &devices)
    {
        selection = devices;
        for (auto &[key, row] : rows)
            row->edited = false;
        refresh_all();
        refresh_all();
    }

    // What the operator's edit of a row does.
    void edit(const std::string &key, const QVariant &value)
    {
        rows.at(key)->value = value;
        rows.at(key)->edited = true;
        mark_dependants(rows.at(key)->desc.flags);
        for (const std::string &other : property_keys)
            if (rows.at(other)->needs_update)
                refresh(other);
    }

    Property &row(const std::string &key) { return *rows.at(key); }
    bool is_shown(const std::string &key) const { return rows.at(key)->desc.kind != PROP_NONE; }

    PropertyRows rows = {};

private:
    void mark_dependants(uint32_t flags)
    {
        for (auto &[key, row] : rows)
            if ((row->desc.flags & stale_mask(flags)) != 0)
                row->needs_update = true;
    }

    void refresh_all()
    {
        for (const std::string &key : property_keys)
            refresh(key);
    }

    void refresh(const std::string &key)
    {
        Property &row = *rows.at(key);
        row.needs_update = false;
        mark_dependants(row.desc.flags);
        const auto lookup = [this](const std::string &other) {
            return rows.count(other) ? *rows.at(other) : Property();
        };
        const std::optional<MergedRow> merged
            = merge_selection(selection, key, row.edited, row.value, lookup);
        if (!merged) {
            row.desc.kind = PROP_NONE;
            return;
        }
        row.desc = merged->desc;
        row.value = merged->value;
        row.uniform = merged->uniform;
    }

    std::vector<Device *> selection = {};
};
