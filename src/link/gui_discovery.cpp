// Which network the program works on, the request that finds devices on it, and what is sent to
// them.
#include "gui/gui.h"
#include "gui/message_box.h"
#include "link/command.h"
#include "link/datagram.h"
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
        interfaces, networks.known_networks, networks.default_is_link_local,
        settings.value("current_network").toString(),
        {.add = [this](const QString &name) { network_combo->addItem(name); }, .select = select});
    network_combo->setToolTip(
        network_tip(find_network_among(interfaces, network_combo->currentText())));
}

void Gui::send_discovery_packets()
{
    update_network_list();
    // A failure is silent: the next request comes in half a second.
    send_json(networks.current_network, true, QHostAddress(), discovery_request());

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
    networks.current_network = network_combo->currentText();
    table.set_network(networks.current_network);
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

QString Gui::send_json(const QString &network, bool use_broadcast, const QHostAddress &address,
                       const QJsonObject &object)
{
    return device_link.send(network, use_broadcast, address, write_frame(object));
}

// The device counts as asked even when the sending then fails. No caller is quiet so far.
QString Gui::send_to_device(Device *device, QJsonObject object, bool quiet)
{
    object.insert("api_version", API_VERSION);
    if (!quiet)
        append_log(device, true, traffic_line("Sending JSON: ", object));
    note_command_sent(*device);
    return send_json(device->interface, false, device->address, object);
}

void Gui::report_device_error(QString &errors, Device *device, const QString &result)
{
    append_network_error(errors, device->address, result);
}

// The empty bold tag makes the box take the text for rich text, so that "<br>" breaks lines.
void Gui::show_network_errors(const QString &errors)
{
    if (!errors.isEmpty())
        show_message_box(this, QMessageBox::Warning, "Network error", "<b></b>" + errors);
}
