// Devices come into the registry, change with their reports, and leave it.
#include "firmware/deppen_ass.h"
#include "firmware/tftp_uploader.h"
#include "gui/device_list_view.h"
#include "gui/gui.h"
#include "gui/main_window_with_close_signal.h"
#include "model/device_state.h"

#include <QComboBox>
#include <QDebug>
#include <QJsonDocument>
#include <QLineEdit>
#include <QRandomGenerator>

void Gui::apply_device_state(Device *device, const QJsonObject &report)
{
    const MergeResult merged = merge_report(*device, report);
    device->is_merged = true;
    device->last_payload.clear(); // whoever has read the report from a datagram says so afterwards
    follow_merge(device, merged);
}

// All that a report brings along, also one that repeats the last and so need not be merged.
void Gui::follow_merge(Device *device, const MergeResult &merged)
{
    const bool is_selected = is_device_selected(device);
    if (merged.product_changed)
        mark_dependants(property_row("product_id"));
    if (is_selected) {
        for (const std::string *key : merged.changed_keys)
            property_row(*key)->needs_update = true;
        refresh_needed_rows();
    }
    update_device_properties(device);
    // A pending save is not pushed back: a steady flow of changes is saved every 500 ms.
    if (merged.device_changed() && !cache_timer.isActive())
        cache_timer.start();
    if (is_selected && !editing)
        panel_timer.start();
    if (!search_combo->lineEdit()->text().isEmpty())
        start_search_refresh();
}

void Gui::add_dummy_device()
{
    QRandomGenerator *random = QRandomGenerator::global();
    std::array<quint32, 4> id{};
    for (quint32 &draw : id)
        draw = random->generate();
    const QJsonObject report = dummy_report(id);
    qDebug().noquote() << QJsonDocument(report).toJson(QJsonDocument::Compact);
    handle_device_packet(QHostAddress(), report, false, QString());
}

// Removing a row changes the selection while the row still stands, which looks at the device: so
// the record goes last. A device with an open assistant is quietly kept.
void Gui::delete_selected_devices()
{
    const std::vector<Device *> selected = selected_devices();
    if (selected.empty())
        return;
    set_edit_mode(false);
    refresh_all_rows();
    for (Device *device : selected) {
        if (device->deppen_ass)
            continue;
        device_model.removeRow(find_device_row(device));
        devices.erase(device->device_id);
        destroy_device(device);
    }
    note_row_hints();
    save_cache();
}

// Deleting a log window emits no on_close, so no device is told anything here.
void Gui::destroy_device(Device *device)
{
    delete device->uploader;
    if (device->deppen_ass)
        device->deppen_ass->forget_device();
    delete device->log_window;
    delete device;
}
