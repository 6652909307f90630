// Sends datagrams, and tells the operator when that fails.
#include "gui/gui.h"
#include "gui/message_box.h"
#include "link/command.h"
#include "link/datagram.h"
#include "link/interface_rules.h"
#include "model/presence.h"

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
