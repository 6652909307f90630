// The edit transaction: nothing reaches a device before Confirm, and then only what differs.
#include "eq/curve_widget.h"
#include "gui/edit_rules.h"
#include "gui/error_value.h"
#include "gui/gui.h"
#include "gui/modified_combo_box.h"
#include "gui/value_spinner.h"

#include <QCheckBox>
#include <QLineEdit>
#include <QMessageBox>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QToolButton>

namespace {

constexpr int CONFIRMED_DISCOVERY_DELAY = 10; // ms: the result of a change shows at once

EditorState editor_state(const Property *prop)
{
    EditorState state;
    if (prop->line_edit)
        state.text = prop->line_edit->text();
    if (prop->check_box)
        state.check_state = prop->check_box->checkState();
    if (prop->spinner) {
        state.number = prop->spinner->value();
        state.mixed = prop->spinner->mixed;
    }
    if (prop->combo)
        state.data = prop->combo->currentData(Qt::UserRole);
    return state;
}

} // namespace

QVariant Gui::read_row_value(const Property *prop) const
{
    return editor_value(prop->desc, prop->uniform, editor_state(prop));
}

QString Gui::row_error_text(const Property *prop) const
{
    return refusal(read_row_value(prop));
}

// Merging what was held back comes after the flag, which would hold it back again, and the refresh
// after clearing `edited`, which would keep the edited values.
void Gui::set_edit_mode(bool on)
{
    if (on == editing)
        return;
    editing = on;
    QScrollBar *across = property_scroll->horizontalScrollBar();
    QScrollBar *down = property_scroll->verticalScrollBar();
    const QPoint place(across->value(), down->value());
    update_edit_buttons();
    if (!on)
        drop_edits();
    curve_widget->set_editable(on);
    refresh_all_rows();
    refresh_eq_view();
    property_scroll->widget()->updateGeometry();
    across->setValue(place.x());
    down->setValue(place.y());
}

// Forgets what the operator has set and takes up the reports that came meanwhile. The search has
// left the edited rows as they were.
void Gui::drop_edits()
{
    for (const auto &[key, row] : property_rows)
        row->edited = false;
    for (const auto &[id, device] : devices) {
        if (!device->stale)
            continue;
        device->stale = false;
        apply_device_state(device, QJsonObject(device->last_report));
    }
    if (!highlight_delegate.search_text.isEmpty())
        start_search_refresh();
}

void Gui::update_edit_buttons()
{
    confirm_button->setEnabled(editing);
    cancel_button->setEnabled(editing);
    edit_button->setEnabled(!editing && !selected_devices().empty());
}

// A refused input leaves the row as it was: it stays that one that no good value preceded is
// forgotten at Confirm.
void Gui::on_row_edited(Property *prop)
{
    if (!editing)
        return;
    const QVariant value = read_row_value(prop);
    if (value.canConvert<ErrorValue>())
        return;
    prop->value = value;
    prop->edited = true;
    if (prop->desc.kind != PROP_NONE && (prop->desc.flags & PF_EQ) != 0)
        refresh_eq_view();
    mark_dependants(prop);
    refresh_needed_rows();
}

// Everything is validated before anything is sent, and all is sent before the edit ends.
void Gui::on_confirm()
{
    if (!editing || shows_value_error())
        return;

    QString errors;
    std::vector<Device *> offline;
    for (Device *device : selected_devices()) {
        const std::optional<QJsonObject> changes = device_changes(property_rows, *device);
        if (!changes)
            continue;
        if (device->online) {
            report_device_error(errors, device, send_to_device(device, *changes, false));
            discovery_timer.start(CONFIRMED_DISCOVERY_DELAY);
        } else {
            report_device_error(errors, device, "offline");
            device->take_report(*changes);
            offline.push_back(device);
        }
    }

    set_edit_mode(false);
    for (Device *device : offline)
        apply_device_state(device, QJsonObject(device->last_report));
    if (!offline.empty())
        errors += offline_notice();
    show_network_errors(errors);
}

// Tells of the first edited row, by key, whose input is refused.
bool Gui::shows_value_error()
{
    for (const auto &[key, row] : property_rows) {
        const QString error = needs_validation(*row) ? row_error_text(row.get()) : QString();
        if (error.isEmpty())
            continue;
        QMessageBox::critical(this, "Value error", value_error_text(row->desc.label, error),
                              QMessageBox::Ok);
        return true; // at once: while the box stood open, rows may have changed
    }
    return false;
}

void Gui::on_cancel()
{
    set_edit_mode(false);
    refresh_all_rows();
}
