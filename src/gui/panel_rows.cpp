// What the rows of the panel stand for: merged over a selection, edited, and told to devices.
#include "gui/panel_rows.h"

#include "gui/edit_rules.h"
#include "gui/selection_merge.h"
#include "model/error_value.h"

#include <algorithm>

namespace {

bool lacks(const Device *device, const std::string &key)
{
    return device->properties.find(key) == device->properties.end();
}

// A property that could have a row for this device alone.
bool has_row_of_its_own(const Device *device, const std::string &key)
{
    const auto property = device->properties.find(key);
    if (property == device->properties.end())
        return false;
    const PropertyDesc &desc = property->second;
    return desc.kind != PROP_NONE && desc.kind != PROP_DUMMY && (desc.flags & PF_NO_ROW) == 0;
}

// A hidden row still takes the leading device's descriptor: its flags say which rows follow it.
// Its value stays what it last was.
void hide(Property &row, const std::vector<Device *> &selection)
{
    if (!selection.empty()) {
        const DeviceProperties &properties = selection.front()->properties;
        const auto desc = properties.find(row.desc.key);
        if (desc != properties.end())
            row.desc = desc->second;
    }
    row.desc.kind = PROP_NONE;
}

} // namespace

PanelRows::PanelRows()
{
    for (const std::string &key : catalogue().property_keys)
        rows[key] = {.desc = {.key = key}, .needs_update = true};
}

// Marking dependants goes by the flags of the last refresh, so it comes before the new descriptor.
RowChange PanelRows::refresh(const std::string &key, const std::vector<Device *> &selection)
{
    Property *row = find(key);
    if (!row)
        return RowChange::HIDDEN;
    row->needs_update = false;
    mark_dependants(key);
    const auto lookup = [this](const std::string &other) { return other_row(other); };
    std::optional<MergedRow> merged
        = merge_selection(selection, key, row->edited, row->value, lookup);
    // Meters of several devices have no common one.
    if (!merged || (merged->desc.kind == PROP_METER && selection.size() != 1)) {
        hide(*row, selection);
        return RowChange::HIDDEN;
    }
    const bool keeps_editor = merged->desc.same_editor(row->desc);
    row->desc = std::move(merged->desc);
    row->value = merged->value;
    row->uniform = merged->uniform;
    return keeps_editor ? RowChange::SAME_EDITOR : RowChange::NEW_EDITOR;
}

void PanelRows::mark_dependants(const std::string &key)
{
    const Property *leading = row(key);
    const uint32_t mask = leading ? stale_mask(leading->desc.flags) : 0;
    if (mask == 0)
        return;
    for (auto &[other, dependent] : rows)
        if ((dependent.desc.flags & mask) != 0)
            dependent.needs_update = true;
}

void PanelRows::mark(const std::string &key)
{
    if (Property *row = find(key))
        row->needs_update = true;
}

bool PanelRows::needs_refresh() const
{
    return std::any_of(rows.begin(), rows.end(),
                       [](const auto &entry) { return entry.second.needs_update; });
}

// A refused input leaves the row as it was. KEPT: one that no good value preceded is forgotten at
// Confirm.
bool PanelRows::edit(const std::string &key, const QVariant &value)
{
    Property *row = find(key);
    if (!row || value.canConvert<ErrorValue>())
        return false;
    row->value = value;
    row->edited = true;
    mark_dependants(key);
    return true;
}

void PanelRows::set_value(const std::string &key, const QVariant &value, bool uniform)
{
    if (Property *row = find(key)) {
        row->value = value;
        row->uniform = uniform;
    }
}

void PanelRows::drop_edits()
{
    for (auto &[key, row] : rows)
        row.edited = false;
}

std::optional<RefusedRow> PanelRows::first_refusal(const Reader &read) const
{
    for (const auto &[key, row] : rows) {
        const QString reason = needs_validation(row) ? refusal(read(key)) : QString();
        if (!reason.isEmpty())
            return RefusedRow{.label = row.desc.label, .reason = reason};
    }
    return std::nullopt;
}

std::optional<QJsonObject> PanelRows::changes_for(const Device &device) const
{
    return device_changes(rows, device);
}

bool PanelRows::changes_any(const std::string &key, const std::vector<Device *> &selection) const
{
    const Property *edited = row(key);
    return edited
        && std::any_of(selection.begin(), selection.end(), [edited, &key](const Device *device) {
               return changes_device(*edited, key, *device);
           });
}

int PanelRows::count_unshared(const std::vector<Device *> &selection) const
{
    const auto is_unshared = [&selection](const auto &entry) {
        const std::string &key = entry.first;
        return entry.second.desc.kind == PROP_NONE
            && std::any_of(selection.begin(), selection.end(),
                           [&key](const Device *one) { return has_row_of_its_own(one, key); })
            && std::any_of(selection.begin(), selection.end(),
                           [&key](const Device *one) { return lacks(one, key); });
    };
    return static_cast<int>(std::count_if(rows.begin(), rows.end(), is_unshared));
}

const Property *PanelRows::row(const std::string &key) const
{
    const auto found = rows.find(key);
    return found == rows.end() ? nullptr : &found->second;
}

Property *PanelRows::find(const std::string &key)
{
    const auto found = rows.find(key);
    return found == rows.end() ? nullptr : &found->second;
}

// What a hidden row last stood for belongs to devices that are no longer selected.
OtherRow PanelRows::other_row(const std::string &key) const
{
    const Property *other = row(key);
    if (!other || other->desc.kind == PROP_NONE)
        return {};
    return {.desc = &other->desc, .value = &other->value};
}
