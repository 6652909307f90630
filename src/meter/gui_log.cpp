// Logs and levels: what devices send without being asked twice.
#include "gui/gui.h"
#include "link/command.h"
#include "meter/log_stream.h"
#include "meter/meter_report.h"

// Opening sends nothing: the device's next report shows that its stream is off, and is answered.
void Gui::enable_logging()
{
    log_windows.open(selected_devices());
}

// Position and pause outlive the window: the next one tells what was missed.
void Gui::close_log(Device *device)
{
    send_to_device(device, logging_command(false), false);
}

void Gui::toggle_log_pause(Device *device)
{
    device->log_paused = !device->log_paused;
    update_device_properties(device);
}

// The typed bytes go out as they are: no check, no line end, nothing added, and it stays that a
// failure shows nowhere.
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

void Gui::handle_raw_log(Device *device, const QJsonObject &message, const QByteArray &attachment)
{
    LogStream stream{.log_pos = device->log_pos,
                     .log_escape_state = device->log_escape_state,
                     .log_escape_count = device->log_escape_count};
    const std::optional<QString> text = take_log_message(stream, message, attachment);
    if (!text)
        return;
    device->log_pos = stream.log_pos;
    device->log_escape_state = stream.log_escape_state;
    device->log_escape_count = stream.log_escape_count;
    append_log(device, false, *text);
}

void Gui::take_metering(Device *device, const QJsonObject &message)
{
    const MeterReport report = read_meter_report(message);
    device->meter.set_levels(report.peaks, report.overdrive);
}

// Every bar falls a step; then the meter cells in view are painted again, and nothing else.
void Gui::on_meter_tick()
{
    for (const auto &[id, device] : devices)
        device->meter.tick();
    table.repaint_meters();
}
