// Which network the program works on, and the request that finds devices on it.
#include "gui/gui.h"
#include "gui/message_box.h"
#include "link/command.h"
#include "link/interface_rules.h"
#include "model/presence.h"

#include <QComboBox>
#include <QDateTime>

#include <cstdio>
#include <vector>

namespace {

constexpr int DISCOVERY_INTERVAL = 500; // ms

} // namespace

void Gui::update_network_list()
{
    const auto select = [this](const QString &name) {
        const int entry = network_combo->findText(name, Qt::MatchExactly | Qt::MatchCaseSensitive);
        if (entry >= 0)
            network_combo->setCurrentIndex(entry);
        return entry >= 0;
    };
    const std::vector<NetworkInterface> &interfaces = device_link.renew_interfaces();
    update_networks(
        interfaces, known_networks, default_is_link_local,
        settings.value("current_network").toString(),
        {.add = [this](const QString &name) { network_combo->addItem(name); }, .select = select});
    network_combo->setToolTip(
        network_tip(find_network_among(interfaces, network_combo->currentText())));
}

void Gui::send_discovery_packets()
{
    update_network_list();
    // A failure is silent: the next request comes in half a second.
    send_json(current_network, true, QHostAddress(), discovery_request());

    const qint64 now = QDateTime::currentMSecsSinceEpoch();
    std::vector<Device *> lost;
    for (const auto &[id, device] : devices)
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
    current_network = network_combo->currentText();
    table.set_network(current_network);
    std::vector<Device *> all;
    for (const auto &[id, device] : devices)
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
    if (network_combo->currentText().isEmpty())
        return;
    settings.put("current_network", network_combo->currentText());
    if (!settings.write(0))
        settings.note_change();
}

void Gui::show_network_info()
{
    show_message_box(this, QMessageBox::Information, "Network info", network_report());
}
