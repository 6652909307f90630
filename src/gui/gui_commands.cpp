// What devices are told beside an edit: blink, forget the AES67 sessions, send the log, a typed
// line.
#include "gui/gui.h"
#include "gui/message_box.h"
#include "gui/status_line.h"
#include "link/command.h"
#include "link/interface_rules.h"
#include "link/packet_kind.h"

// KEPT: a failure shows nowhere: who looks at the loudspeakers sees it.
void Gui::identify_selected()
{
    int asked = 0;
    for (Device *device : table.selected())
        asked += send_to_device(device, device_command("blink_leds"), false).isEmpty();
    if (asked > 0)
        status_line->show_command(identify_text(asked));
}

// All are sent before the box opens: while it is open, devices may go.
void Gui::purge_sessions()
{
    QJsonObject command = device_command("sap_purge");
    command.insert("age", 0);
    command.insert("blocktime", 1);
    QString errors;
    int asked = 0;
    for (Device *device : table.selected()) {
        const QString error = send_to_device(device, command, false);
        append_network_error(errors, device->address, error);
        asked += error.isEmpty();
    }
    if (asked > 0)
        status_line->show_command(purge_text(asked));
    show_network_errors(this, errors);
}

// A device that has restarted forgot that its log is watched.
void Gui::watch_log_stream(Device *device)
{
    if (log_windows.is_open(device) && !is_logging(device->last_report))
        send_to_device(device, logging_command(true), false);
}

// KEPT: the typed bytes go out as they are: no check, no line end, nothing added; and a failure
// shows nowhere.
void Gui::send_console_line(Device *device, const QString &line)
{
    append_log(device, true, "Sending: " + line + "\n");
    static_cast<void>(device_link.send(device->interface, false, device->address, line.toUtf8()));
}

// While datagrams are read, texts are collected; they are shown when all that came has been read.
void Gui::append_log(Device *device, bool highlighted, const QString &text)
{
    if (!device || !log_windows.is_open(device))
        return;
    log_windows.append(device, highlighted, text);
    if (!table.is_in_batch())
        log_windows.flush();
}
