// Which network the program works on, the request that finds devices on it, and what is sent to
// them.
#include "gui/gui.h"
#include "gui/network_combo.h"
#include "gui/top_bar.h"
#include "link/command.h"
#include "link/datagram.h"
#include "model/presence.h"

#include <QDateTime>

#include <cstdio>
#include <vector>

namespace {

constexpr int DISCOVERY_INTERVAL = 500; // ms

} // namespace

void Gui::update_network_list()
{
    top_bar->network_combo()->offer(device_link.renew_interfaces(),
                                    settings.value("current_network").toString());
}

void Gui::send_discovery_packets()
{
    update_network_list();
    // A failure is silent: the next request comes in half a second.
    static_cast<void>(
        device_link.send(current_network, true, QHostAddress(), write_frame(discovery_request())));

    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    std::vector<Device *> lost;
    for (const auto &[id, device] : registry.all())
        if (has_gone_silent(*device, now))
            lost.push_back(device);
    take_offline(lost);
    discovery_timer.start(DISCOVERY_INTERVAL);
}

// A whole site may go at once: a list that is sorted by status would be sorted for each device.
void Gui::take_offline(const std::vector<Device *> &lost)
{
    if (lost.empty())
        return;
    {
        const DeviceTable::Batch batch(table);
        for (Device *device : lost) {
            device->online = false;
            update_device_properties(device);
        }
    }
    update_identify_button();
}

void Gui::on_network_changed()
{
    current_network = top_bar->network_combo()->currentText();
    table.set_network(current_network);
    std::vector<Device *> all;
    for (const auto &[id, device] : registry.all())
        all.push_back(device);
    take_offline(all);
    send_discovery_packets();
}

// Only a choice made by hand is remembered.
void Gui::on_network_activated()
{
    // KEPT: scripts around the program wait for this line.
    std::fputs("act\n", stdout);
    std::fflush(stdout);
    const QString chosen = top_bar->network_combo()->currentText();
    if (chosen.isEmpty())
        return;
    settings.put("current_network", chosen);
    if (!settings.write(0))
        settings.note_change();
}

// The device counts as asked even when the sending then fails. `quiet` keeps the command out of the
// device's log; so far no caller wants that.
QString Gui::send_to_device(Device *device, QJsonObject object, bool quiet)
{
    object.insert("api_version", API_VERSION);
    if (!quiet)
        append_log(device, true, traffic_line("Sending JSON: ", object));
    note_command_sent(*device);
    return device_link.send(device->interface, false, device->address, write_frame(object));
}
