// Sorts what arrives: log stream, metering, reports that update a device, replies.
#include "gui/gui.h"
#include "link/command.h"
#include "link/datagram.h"
#include "link/packet_kind.h"
#include "meter/log_stream.h"
#include "model/presence.h"
#include "model/registry_limit.h"

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

} // namespace

// Until the end of the burst, texts for log windows are collected and the list stays unsorted.
void Gui::begin_burst()
{
    burst.emplace(table);
    if (log_windows.is_full())
        device_link.end_slice();
}

void Gui::take_datagram(const QHostAddress &from, const QByteArray &payload)
{
    handle_datagram(from, payload);
    // No text for log windows is taken on while plenty waits there.
    if (log_windows.is_full())
        device_link.end_slice();
}

void Gui::end_burst()
{
    burst.reset();
    log_windows.show_soon();
}

void Gui::handle_datagram(const QHostAddress &from, const QByteArray &payload)
{
    Device *sender = senders.find(from);
    if (sender && repeats_its_report(*sender, from, payload)) {
        handle_repeated_report(sender);
        return;
    }
    const Frame frame = read_frame(payload);
    if (frame.verdict == FrameVerdict::BadChecksum)
        log_remote_text(from, "invalid CRC", QString::number(frame.carried_checksum));
    if (frame.verdict != FrameVerdict::Ok)
        return;

    for (const char *label : {"warning", "error"})
        if (const QString text = text_of(frame.object, label); !text.isEmpty())
            log_remote_text(from, label, text);
    switch (packet_kind(frame.object)) {
    case PacketKind::LogStream: {
        Device *device = device_of(from, frame.object);
        if (device && log_windows.is_open(device) && !device->log_paused
            && is_log_attachment(frame.attachment))
            handle_raw_log(device, frame.object, frame.attachment);
        break;
    }
    case PacketKind::Metering:
        // The shortest way: neither the record nor the row changes, the next tick repaints.
        if (Device *device = device_of(from, frame.object))
            take_metering(device, frame.object);
        break;
    case PacketKind::Report:
        handle_live_report(from, payload, frame.object);
        break;
    case PacketKind::Reply:
        handle_reply(from, frame.object, networks.current_network);
        break;
    }
}

// Remembers the bytes, unless they hold a text for the debug log, which is due each time.
void Gui::handle_live_report(const QHostAddress &from, const QByteArray &payload,
                             const QJsonObject &report)
{
    Device *device = handle_report(from, report, true, networks.current_network);
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
    device->interface = networks.current_network;
    note_report(*device, true, now(), device->fw_magic);
    if (!device->is_merged || was_online != device->online || was_broken != device->broken_net) {
        merge_when_free(device);
    } else if (panel.is_editing() && table.is_selected(*device)) {
        device->stale = true;
        offer_assistant(device);
    } else {
        follow_repeated_report(device);
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

// Replies carry no number: every online device at this address counts as having answered.
void Gui::handle_reply(const QHostAddress &from, const QJsonObject &object,
                       const QString &interface)
{
    for (const auto &[id, device] : devices) {
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
    Device *device = find_or_create_device(from, text_of(object, "device_id"));
    if (!device)
        return nullptr;
    if (device->properties.empty())
        device->properties = product_table.front().properties;
    const bool was_online = device->online;
    note_address(device, from, live);
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

// A device that has restarted forgot that its log is watched.
void Gui::watch_log_stream(Device *device)
{
    if (log_windows.is_open(device) && !is_logging(device->last_report))
        send_to_device(device, logging_command(true), false);
}

Device *Gui::device_of(const QHostAddress &from, const QJsonObject &object) const
{
    return find_sender(from, text_of(object, "device_id"));
}

// Looks first where the device was last heard: that compares one id, not one in ten.
Device *Gui::find_sender(const QHostAddress &from, const QString &device_id) const
{
    Device *device = senders.find(from);
    return device && device->device_id == device_id ? device : find_device(device_id);
}

Device *Gui::find_device(const QString &device_id) const
{
    const auto found = devices.find(device_id);
    return found == devices.end() ? nullptr : found->second;
}

// Null for one device too many.
Device *Gui::find_or_create_device(const QHostAddress &from, const QString &device_id)
{
    Device *device = find_sender(from, device_id);
    if (device)
        return device;
    if (devices.size() >= size_t{MOST_DEVICES}) {
        if (remote_texts.allows(from, now()))
            qDebug() << "too many devices, ignoring" << device_id << "at" << from.toString();
        return nullptr;
    }
    qDebug() << "Found new device" << device_id << "at" << from.toString();
    device = new Device;
    device->device_id = device_id;
    device->address = from;
    devices[device_id] = device;
    return device;
}

void Gui::note_address(Device *device, const QHostAddress &from, bool live)
{
    if (device->address != from) {
        qDebug() << "device" << device->device_id << "apparently changing fromaddress"
                 << device->address.toString() << "to" << from.toString() << "(or multiple paths)";
        senders.forget(device->address, device);
        device->address = from;
    }
    if (live)
        senders.note(from, device);
}

void Gui::log_remote_text(const QHostAddress &from, const QString &label, const QString &text)
{
    if (remote_texts.allows(from, now()))
        qDebug().noquote() << label << "from " << from.toString() << ":" << terminal_text(text);
}
