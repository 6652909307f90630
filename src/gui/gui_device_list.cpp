// What hangs on a device's state: its row, its log's title, the assistant, the meter.
#include "gui/gui.h"
#include "gui/status_text.h"

#include <QPushButton>

namespace {

QString product_name(const Device &device)
{
    return QString::fromStdString(find_product(device.value("product_id").toInt()).name);
}

} // namespace

// An edit ends before one of its rows hides: hidden rows are no longer part of the selection.
void Gui::connect_device_list()
{
    table.set_dark_theme(dark_theme);
    connect(&table, &DeviceTable::selection_changed, this, &Gui::on_selection_changed);
    connect(&table, &DeviceTable::selected_hidden, this, [this] {
        panel.set_edit_mode(false);
        panel.refresh_all_rows();
    });
    connect(&table, &DeviceTable::column_toggled, this, [this] {
        for (const auto &[id, device] : devices)
            follow_state(device);
    });
}

// Everything that shows a device follows from here; any change of a device's state ends in a call.
void Gui::update_device_properties(Device *device)
{
    if (!device->online)
        device->broken_net = false;
    table.show(*device);
    follow_state(device);
}

void Gui::follow_state(Device *device)
{
    if (!device->online)
        device->assistant_dismissed = false;
    update_log_title(device);
    offer_assistant(device);
    if (!device->online)
        device->meter.clear_levels();
}

void Gui::update_log_title(Device *device)
{
    if (log_windows.is_open(device))
        log_windows.set_title(device,
                              log_title(product_name(*device), device->address,
                                        device->value("ui/name").toString(), device->log_paused));
}

void Gui::update_identify_button()
{
    bool is_any_online = false;
    for (const Device *device : selected_devices())
        is_any_online |= device->online;
    identify_button->setEnabled(is_any_online);
}
