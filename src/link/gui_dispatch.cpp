// Sorts what arrives: log stream, metering, reports that update a device, replies.
#include "gui/gui.h"
#include "link/command.h"
#include "link/datagram.h"
#include "link/packet_kind.h"
#include "meter/log_frame.h"
#include "meter/meter_frame.h"
#include "meter/meter_report.h"
#include "model/presence.h"

#include <QDateTime>
#include <QDebug>

namespace {

qint64 now()
{
    return QDateTime::currentMSecsSinceEpoch();
}

// A device without news sends the bytes that have been checked and read before.
bool repeats_its_report(const Device &device, const QHostAddress &from, const QByteArray &payload)
{
    return !payload.isEmpty() && device.last_payload == payload && device.address == from;
}

// A datagram has half a dozen of these looked up: names made into texts first would cost as much
// as its checksum.
QString text_of(const QJsonObject &object, const char *name)
{
    return object.value(QLatin1String(name)).toString();
}

void log_remote_text(TextLimit &limit, const QHostAddress &from, const QString &label,
                     const QString &text)
{
    if (limit.allows(from, now()))
        qDebug().noquote() << label << "from " << from.toString() << ":" << terminal_text(text);
}

// The text that the message adds to the device's log; nothing when its length is wrong.
std::optional<QString> take_raw_log(Device &device, const LogHead &head,
                                    const QByteArray &attachment)
{
    LogStream stream{.log_pos = device.log_pos,
                     .log_escape_state = device.log_escape_state,
                     .log_escape_count = device.log_escape_count};
    std::optional<QString> text = take_log_message(stream, head, attachment);
    device.log_pos = stream.log_pos;
    device.log_escape_state = stream.log_escape_state;
    device.log_escape_count = stream.log_escape_count;
    return text;
}

// The shortest way: neither the record nor the row changes, the next tick repaints.
void take_metering(Device *device, const MeterReport &report)
{
    if (device)
        device->meter.set_levels(report.peaks, report.overdrive);
}

} // namespace

void Gui::handle_datagram(const QHostAddress &from, const QByteArray &payload)
{
    Device *sender = registry.last_heard_from(from);
    if (sender && repeats_its_report(*sender, from, payload)) {
        handle_repeated_report(sender);
        return;
    }
    if (const std::optional<MeterFrame> levels = read_usual_meter_frame(payload)) {
        take_metering(registry.find_near(sender, levels->device_id), levels->report);
        return;
    }
    const auto take_log = [this](Device *device, const LogHead &head, const QByteArray &text) {
        if (device && log_windows.is_open(device) && !device->log_paused)
            if (const std::optional<QString> shown = take_raw_log(*device, head, text))
                append_log(device, false, *shown);
    };
    if (const std::optional<LogFrame> log = read_usual_log_frame(payload)) {
        take_log(registry.find_near(sender, log->device_id), log->head, log->attachment);
        return;
    }
    const Frame frame = read_frame(payload);
    if (frame.verdict == FrameVerdict::BAD_CHECKSUM)
        log_remote_text(remote_texts, from, "invalid CRC", QString::number(frame.carried_checksum));
    if (frame.verdict != FrameVerdict::OK)
        return;

    for (const char *label : {"warning", "error"})
        if (const QString text = text_of(frame.object, label); !text.isEmpty())
            log_remote_text(remote_texts, from, label, text);
    const auto speaker = [this, sender, &frame] {
        return registry.find_near(sender, text_of(frame.object, "device_id"));
    };
    switch (packet_kind(frame.object)) {
    case PacketKind::LOG_STREAM:
        take_log(speaker(), read_log_head(frame.object), frame.attachment);
        break;
    case PacketKind::METERING:
        take_metering(speaker(), read_meter_report(frame.object));
        break;
    case PacketKind::REPORT:
        handle_live_report(from, payload, frame.object);
        break;
    case PacketKind::REPLY:
        handle_reply(from, frame.object, current_network);
        break;
    }
}

// Remembers the bytes, unless they hold a text for the debug log, which is due each time.
void Gui::handle_live_report(const QHostAddress &from, const QByteArray &payload,
                             const QJsonObject &report)
{
    Device *device = handle_report(from, report, true, current_network);
    if (!device)
        return;
    const QByteArray bytes(payload.constData(), payload.size());
    device->last_report.settle(bytes);
    const bool has_texts = report.contains("warning") || report.contains("error");
    if (!has_texts)
        device->last_payload = bytes;
}

// The same as reading the bytes once more: all that they say is in the record, and only that the
// device has been heard is new.
void Gui::handle_repeated_report(Device *device)
{
    const bool was_online = device->online;
    const bool was_broken = device->broken_net;
    device->interface = current_network;
    note_report(*device, true, now(), device->fw_magic);
    if (!device->is_merged || was_online != device->online || was_broken != device->broken_net) {
        merge_when_free(device);
    } else if (panel.is_editing() && table.is_selected(*device)) {
        device->stale = true;
        assistants.offer(device);
    } else {
        // Row and panel show it already.
        assistants.offer(device);
        if (table.is_selected(*device))
            panel_timer.start();
    }
    if (was_online != device->online)
        update_identify_button();
    watch_log_stream(device);
}

void Gui::handle_device_packet(const QHostAddress &from, const QJsonObject &object, bool live,
                               const QString &interface)
{
    if (is_report(object))
        handle_report(from, object, live, interface);
    else
        handle_reply(from, object, interface);
}

// KEPT: replies carry no number: every online device at this address counts as having answered.
void Gui::handle_reply(const QHostAddress &from, const QJsonObject &object,
                       const QString &interface)
{
    for (const auto &[id, device] : registry.all()) {
        if (!device->online || device->address != from || device->interface != interface)
            continue;
        if (log_windows.is_open(device))
            append_log(device, true, traffic_line("Received JSON: ", object));
        if (note_reply(*device))
            update_device_properties(device);
    }
}

Device *Gui::handle_report(const QHostAddress &from, const QJsonObject &object, bool live,
                           const QString &interface)
{
    const QString device_id = text_of(object, "device_id");
    Device *device = registry.find_or_create(from, device_id);
    if (!device) {
        if (remote_texts.allows(from, now()))
            qDebug() << "too many devices, ignoring" << device_id << "at" << from.toString();
        return nullptr;
    }
    if (device->properties.empty())
        device->properties = catalogue().product_table.front().properties;
    const bool was_online = device->online;
    registry.note_address(*device, from, live);
    device->interface = interface;
    device->firmware_update_error = text_of(object, "firmware_update_error");
    device->dsp_error = dsp_error_of(object);
    device->take_report(object);
    note_report(*device, live, now(), fw_magic_of(object));
    merge_when_free(device);
    if (was_online != device->online)
        update_identify_button();
    watch_log_stream(device);
    return device;
}

// The operator's edit is not disturbed: a report of a selected device waits until it ends.
void Gui::merge_when_free(Device *device)
{
    if (!panel.is_editing() || !table.is_selected(*device)) {
        apply_device_state(device, QJsonObject(device->last_report));
        return;
    }
    device->stale = true;
    update_device_properties(device);
}

// Every bar falls a step; then the meter cells in view are painted again, and nothing else.
void Gui::on_meter_tick()
{
    for (const auto &[id, device] : registry.all())
        device->meter.tick();
    table.repaint_meters();
}
