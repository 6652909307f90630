// Devices come, change and go, and with them what hangs on their state: row, log title, meter.
#include "gui/gui.h"
#include "gui/status_text.h"
#include "gui/top_bar.h"
#include "model/device_state.h"

#include <QDebug>
#include <QJsonDocument>
#include <QPushButton>
#include <QRandomGenerator>

#include <algorithm>
#include <vector>

namespace {

QString product_name(const Device &device)
{
    return QString::fromStdString(find_product(device.value("product_id").toInt()).name);
}

void show_log_title(LogWindows &logs, const Device &device)
{
    if (logs.is_open(&device))
        logs.set_title(&device,
                       log_title(product_name(device), device.address,
                                 device.value("ui/name").toString(), device.log_paused));
}

} // namespace

// Every stored device goes the way of a report that is not live. The rows stand as they come, and
// are sorted once at the end.
void Gui::load_cache()
{
    const DeviceTable::Batch batch(table);
    for (const SavedDevice &saved : device_cache.load()) {
        handle_device_packet(saved.address, saved.data, false, saved.interface);
        if (Device *device = registry.find(saved.data.value("device_id").toString()))
            device->last_report.settle();
    }
}

void Gui::apply_device_state(Device *device, const QJsonObject &report)
{
    const MergeResult merged = merge_report(*device, report);
    device->is_merged = true;
    follow_merge(device, merged);
}

// All that a report brings along. No edit holds the device: its reports wait until that has ended.
void Gui::follow_merge(Device *device, const MergeResult &merged)
{
    const bool is_selected = table.is_selected(*device);
    if (merged.product_changed)
        panel.mark_dependants("product_id");
    if (is_selected) {
        for (const std::string *key : merged.changed_keys)
            panel.mark(*key);
        panel.refresh_needed_rows();
    }
    update_device_properties(device);
    if (merged.device_changed())
        device_cache.changed();
    if (is_selected)
        panel_timer.start();
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

// A device with an open assistant is quietly kept. The rows go first: a view that loses its current
// row selects the next one, which looks at the devices. Their leaving the selection refreshes the
// panel; a thousand of them merged into rows just before would be work for nobody.
void Gui::delete_selected_devices()
{
    std::vector<Device *> leaving = table.selected();
    if (leaving.empty())
        return;
    panel.set_edit_mode(false);
    std::erase_if(leaving, [](const Device *device) { return device->has_assistant; });
    table.remove(leaving);
    for (Device *device : leaving) {
        registry.all().erase(device->device_id);
        destroy_device(device);
    }
    device_cache.save();
}

// Deleting a log window emits no on_close, so no device is told anything here.
void Gui::destroy_device(Device *device)
{
    registry.forget_address(*device);
    uploads.drop(device);
    assistants.forget(device);
    log_windows.drop(device);
    gone_devices.take(device);
}

// An edit ends before one of its rows hides: hidden rows are no longer part of the selection.
void Gui::connect_device_list()
{
    table.set_dark_theme(dark_theme);
    connect(&table, &DeviceTable::selection_changed, this, [this] {
        panel.show_selection();
        refresh_eq_view();
        update_identify_button();
    });
    connect(&table, &DeviceTable::selected_hidden, this, [this] { panel.set_edit_mode(false); });
    connect(&table, &DeviceTable::column_toggled, this, [this] {
        for (const auto &[id, device] : registry.all())
            follow_state(device);
    });
}

// Everything that shows a device follows from here; any change of a device's state ends in a call.
void Gui::update_device_properties(Device *device)
{
    // KEPT: telling the state of an offline device also ends its "broken net".
    if (!device->online)
        device->broken_net = false;
    table.show(*device);
    follow_state(device);
}

void Gui::follow_state(Device *device)
{
    if (!device->online)
        device->assistant_dismissed = false;
    show_log_title(log_windows, *device);
    assistants.offer(device);
    if (!device->online)
        device->meter.clear_levels();
}

void Gui::update_identify_button()
{
    bool is_any_online = false;
    for (const Device *device : table.selected())
        is_any_online |= device->online;
    top_bar->identify_button()->setEnabled(is_any_online);
}
