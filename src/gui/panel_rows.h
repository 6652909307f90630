// What the rows of the panel stand for: merged over a selection, edited, and told to devices.
#pragma once

#include "gui/property_row.h"
#include "model/device.h"

#include <QJsonObject>

#include <functional>
#include <optional>
#include <string>
#include <vector>

// What a refresh asks of a row's widgets.
enum class RowChange
{
    HIDDEN,      // show nothing
    SAME_EDITOR, // show the value
    NEW_EDITOR   // make the editor anew, then show the value
};

// An edited row whose input is no value.
struct RefusedRow
{
    std::string label = {};
    QString reason = {};
};

class PanelRows
{
public:
    // One hidden row per key of the catalogue, each to be refreshed.
    PanelRows();

    // Brings a row in line with the selection, whose first device leads, and marks the rows that
    // follow it. An edited row keeps its value. A key without a row is hidden.
    RowChange refresh(const std::string &key, const std::vector<Device *> &selection);
    // Marks the rows that follow this one. They go by the flags that it had at its last refresh.
    void mark_dependants(const std::string &key);
    void mark(const std::string &key);
    bool needs_refresh() const; // whether any row is marked

    // Takes what a row's editor gave, and marks what follows. A refused input changes nothing and
    // gives false.
    bool edit(const std::string &key, const QVariant &value);
    // Stores a value as it is; whether the row counts as edited stays.
    void set_value(const std::string &key, const QVariant &value, bool uniform);
    // All rows belong to their devices again, at their next refresh.
    void drop_edits();

    // Reads what a row's editor holds.
    using Reader = std::function<QVariant(const std::string &key)>;
    // The first edited row, by key, whose input is refused.
    std::optional<RefusedRow> first_refusal(const Reader &read) const;
    // What the edits change at this device; nothing when it has all that already.
    std::optional<QJsonObject> changes_for(const Device &device) const;
    // Whether Confirm would change this row's property at one of these devices, at least.
    bool changes_any(const std::string &key, const std::vector<Device *> &selection) const;
    // How many properties have no row because some of these devices lack them. Headers and buttons
    // are no properties.
    int count_unshared(const std::vector<Device *> &selection) const;

    const Property *row(const std::string &key) const; // null when the key has none
    const PropertyRows &all() const { return rows; }

private:
    Property *find(const std::string &key);
    OtherRow other_row(const std::string &key) const;

    PropertyRows rows = {};
};
