// Joins the panel and the curve to devices: what an edit holds back, what Confirm sends, what a
// selection shows, and the bands between rows and curve.
#include "eq/band_tip.h"
#include "eq/curve_widget.h"
#include "eq/eq_rows.h"
#include "eq/filter.h"
#include "eq/filter_list.h"
#include "gui/backup_dialogs.h"
#include "gui/edit_rules.h"
#include "gui/gui.h"
#include "gui/message_box.h"
#include "gui/status_line.h"
#include "gui/top_bar.h"
#include "link/interface_rules.h"

#include <QPushButton>
#include <QToolTip>

namespace {

constexpr int CONFIRMED_DISCOVERY_DELAY = 10; // ms: the result of a change shows at once

// Tells of the first edited row, by key, whose input is refused.
bool tells_refusal(const PropertyPanel &panel, QWidget *parent)
{
    const std::optional<RefusedRow> refused = panel.first_refusal();
    if (!refused)
        return false;
    show_message_box(parent, QMessageBox::Critical, "Value error",
                     value_error_text(refused->label, refused->reason));
    return true;
}

// A list of bands that says the same leaves the curve alone: taking over a new one would end the
// hovering and the drag.
void load_curve(CurveWidget &curve, const PropertyPanel &panel)
{
    curve.set_has_curve(true);
    const auto row_value = [&panel](const std::string &key) -> std::optional<QVariant> {
        const Property *row = panel.row(key);
        return row ? std::optional(row->value) : std::nullopt;
    };
    const QList<Filter *> bands = make_filters(read_eq_bands(row_value));
    if (same_filters(bands, curve.filters))
        qDeleteAll(bands);
    else
        curve.set_filters(bands);
}

// Runs inside the filter's own handling of the mouse: nothing here may replace the filters.
void take_band(PropertyPanel &panel, const Filter &filter)
{
    FilterParams params;
    filter.get_params(params);
    for (const auto &[key, value] : eq_row_edits(filter.number, params))
        panel.take_unchanged(key, value);
}

} // namespace

void Gui::connect_panel()
{
    connect(&panel, &PropertyPanel::edit_started, this, [this] {
        table.hold_selected_rows(true);
        curve_widget->set_editable(true);
    });
    connect(&panel, &PropertyPanel::edit_ended, this, &Gui::on_edit_ended);
    connect(&panel, &PropertyPanel::eq_rows_changed, this, &Gui::refresh_eq_view);
    connect(&panel, &PropertyPanel::focus_released, this, [this] { table.view()->setFocus(); });
    connect(curve_widget, &CurveWidget::on_filter_edited, &panel,
            [this](const Filter *filter) { take_band(panel, *filter); });
    connect(curve_widget, &CurveWidget::on_band_pressed, &panel,
            [this](int32_t number) { panel.bring_into_sight(eq_band_keys(number)); });
    connect(curve_widget, &CurveWidget::on_band_pointed, &panel,
            [this](int32_t number, const QPoint &position) {
                const auto row = [this](const std::string &key) { return panel.row(key); };
                QToolTip::showText(curve_widget->mapToGlobal(position),
                                   number > 0 ? band_tip(number, row) : QString(), curve_widget);
            });
    connect(&panel, &PropertyPanel::confirmed, this, &Gui::on_confirm);
    connect(&panel, &PropertyPanel::update_pressed, this,
            [this] { upload_file(FIRMWARE_REMOTE_NAME); });
    connect(&panel, &PropertyPanel::save_pressed, this, &Gui::save_backup);
    connect(&panel, &PropertyPanel::load_pressed, this, [this](uint32_t mask) {
        if (const std::optional<QJsonObject> backup = ask_for_backup(this))
            panel.restore(*backup, mask);
    });
}

// Takes up the reports that came during the edit, before the rows are shown again. The search has
// left the edited rows as they were. A whole site may have reported since: a list that is sorted by
// what changed would be sorted for each device.
void Gui::on_edit_ended()
{
    {
        const DeviceTable::Batch batch(table);
        for (const auto &[id, device] : registry.all()) {
            if (!device->stale)
                continue;
            device->stale = false;
            apply_device_state(device, QJsonObject(device->last_report));
        }
    }
    table.hold_selected_rows(false);
    curve_widget->set_editable(false);
}

// Everything is validated before anything is sent, and all is sent before the edit ends.
void Gui::on_confirm()
{
    if (!panel.is_editing() || tells_refusal(panel, this))
        return;

    QString errors;
    std::vector<Device *> offline;
    ConfirmResult result;
    for (Device *device : table.selected()) {
        ++result.devices;
        const std::optional<QJsonObject> changes = panel.changes_for(*device);
        if (!changes)
            continue;
        ++result.differing;
        if (device->online) {
            const QString error = send_to_device(device, *changes, false);
            result.sent += error.isEmpty();
            append_network_error(errors, device->address, error);
            discovery_timer.start(CONFIRMED_DISCOVERY_DELAY);
        } else {
            append_network_error(errors, device->address, "offline");
            device->take_report(*changes);
            offline.push_back(device);
        }
    }

    panel.set_edit_mode(false);
    table.view()->setFocus();
    for (Device *device : offline)
        apply_device_state(device, QJsonObject(device->last_report));
    if (!offline.empty())
        errors += offline_notice();
    status_line->show_confirmed(result);
    show_network_errors(this, errors);
}

// KEPT: for exactly one device; otherwise the button does nothing. While the dialog is open the
// device may report, or go.
void Gui::save_backup()
{
    const std::vector<Device *> selected = table.selected();
    if (selected.size() != 1)
        return;
    const QString device_id = selected.front()->device_id;
    const QString path = ask_for_backup_path(this);
    const Device *device = registry.find(device_id);
    if (!path.isEmpty() && device)
        write_backup(this, path, device->last_report.object());
}

void Gui::refresh_eq_view()
{
    if (table.selected().empty())
        return;
    const Property *enable = panel.row(EQ_ENABLE_KEY);
    if (!enable || enable->desc.kind == PROP_NONE) {
        curve_widget->set_has_curve(false);
        top_bar->eq_button()->setChecked(false);
        return;
    }
    load_curve(*curve_widget, panel);
}
