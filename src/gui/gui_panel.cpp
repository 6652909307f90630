// The property panel: which rows the selection has, and what they show.
#include "eq/curve_widget.h"
#include "gui/gui.h"
#include "gui/selection_merge.h"
#include "meter/meter_widget.h"

#include <QGridLayout>
#include <QLabel>
#include <QPushButton>

#include <algorithm>

namespace {

// The widgets stay: the next refresh that shows the row rebuilds them, as the kind differs then.
void hide_row(Property *prop)
{
    prop->desc.kind = PROP_NONE;
    if (!prop->holder)
        return;
    prop->caption->hide();
    prop->holder->hide();
}

// A hidden row still takes the leading device's descriptor: its flags say which rows follow it.
void take_leading_descriptor(Property *prop, const std::vector<Device *> &selection)
{
    if (selection.empty())
        return;
    const PropertyMap &properties = selection.front()->properties;
    const auto desc = properties.find(prop->desc.key);
    if (desc != properties.end())
        prop->desc = desc->second;
}

} // namespace

void Gui::build_panel_rows(QGridLayout *grid)
{
    panel_grid = grid;
    int grid_row = 0;
    for (const std::string &key : property_keys) {
        auto prop = std::make_unique<Property>();
        prop->desc.key = key;
        prop->needs_update = true;
        prop->grid_row = grid_row++;
        property_rows[key] = std::move(prop);
    }
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(grid_row, 1); // few rows stay at the top
}

void Gui::update_property(const std::string &key)
{
    if (Property *prop = property_row(key))
        update_row(prop, selected_devices());
    order_tab_stops();
}

// Marking dependants goes by the flags of the last refresh, so it comes before the new descriptor.
void Gui::update_row(Property *prop, const std::vector<Device *> &selection)
{
    prop->needs_update = false;
    mark_dependants(prop);
    const auto lookup = [this](const std::string &other) {
        const Property *row = property_row(other);
        return row ? *row : Property();
    };
    std::optional<MergedRow> merged
        = merge_selection(selection, prop->desc.key, prop->edited, prop->value, lookup);
    if (!merged) {
        take_leading_descriptor(prop, selection);
        hide_row(prop);
        return;
    }

    // A cursor or an open popup survives a refresh that changes no descriptor.
    const bool keeps_editor = merged->desc.same_editor(prop->desc);
    prop->desc = std::move(merged->desc);
    if (!keeps_editor)
        rebuild_row_widgets(prop);
    set_row_value(prop, merged->value, merged->uniform);
    prop->caption->show();
    prop->holder->show();
    set_row_enabled(prop, editing && (prop->desc.flags & PF_READONLY) == 0);
    if (!prop->meter_widget)
        return;
    if (selection.size() == 1)
        prop->meter_widget->set_meter(&selection.front()->meter);
    else
        hide_row(prop);
}

// Runs for each report of a selected device, and most change nothing: only then is the selection
// asked for.
void Gui::refresh_needed_rows()
{
    const auto is_needed = [](const auto &entry) { return entry.second->needs_update; };
    if (std::none_of(property_rows.begin(), property_rows.end(), is_needed))
        return;
    const std::vector<Device *> selection = selected_devices();
    for (const std::string &key : property_keys) {
        Property *prop = property_row(key);
        if (prop->needs_update)
            update_row(prop, selection);
    }
    order_tab_stops();
}

void Gui::refresh_all_rows()
{
    const std::vector<Device *> selection = selected_devices();
    for (const std::string &key : property_keys)
        update_row(property_row(key), selection);
    order_tab_stops();
}

void Gui::mark_dependants(const Property *prop)
{
    const uint32_t mask = stale_mask(prop->desc.flags);
    if (mask == 0)
        return;
    for (const auto &[key, row] : property_rows)
        if ((row->desc.flags & mask) != 0)
            row->needs_update = true;
}

Property *Gui::property_row(const std::string &key) const
{
    const auto found = property_rows.find(key);
    return found == property_rows.end() ? nullptr : found->second.get();
}

// Source channels follow rows that stand behind them, so they need a second time. All other rows
// are right after the first.
void Gui::on_selection_changed()
{
    set_edit_mode(false);
    refresh_all_rows();
    const std::vector<Device *> selection = selected_devices();
    for (const std::string &key : property_keys)
        if ((property_row(key)->desc.flags & PF_FOLLOWS_STREAM) != 0)
            update_row(property_row(key), selection);
    order_tab_stops();
    update_edit_buttons();
    refresh_eq_view();
    update_identify_button();
}
