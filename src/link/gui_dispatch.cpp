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
#include <QElapsedTimer>

#include <algorithm>

namespace {

// A burst of a thousand reports is taken in slices of this length, so that the window goes on
// painting; what is left comes in the next slice.
constexpr qint64 LONGEST_DRAIN = 8; // ms
// On a computer with other work those 8 ms may pass between two datagrams: so many are taken all
// the same, or painting would get all the time that there is.
constexpr int SMALLEST_DRAIN = 64;
constexpr int LARGEST_DATAGRAM = 65536;

} // namespace

void Gui::on_packet()
{
    QElapsedTimer elapsed;
    elapsed.start();
    ++collecting;
    QByteArray payload;
    QHostAddress sender;
    bool is_drained = false;
    int taken = 0;
    // No text for log windows is taken on while plenty waits there.
    while (!is_drained && (taken < SMALLEST_DRAIN || elapsed.elapsed() < LONGEST_DRAIN)
           && !log_appender.is_full()) {
        is_drained = !receive_datagram(payload, sender);
        if (!is_drained)
            handle_datagram(sender, payload);
        ++taken;
    }
    --collecting;
    sort_list_if_needed();
    show_logs();
    // A socket that was left unread after its signal stays silent until somebody reads it.
    if (!is_drained)
        drain_timer.start();
}

// The next datagram of the three sockets, in this order; false when there is none. The bytes stand
// in receive_buffer until the next call. Reading is tried on each without asking first: a socket
// whose signal is not followed by a read, even one in vain, never signals again.
bool Gui::receive_datagram(QByteArray &payload, QHostAddress &sender)
{
    receive_buffer.resize(LARGEST_DATAGRAM);
    for (QUdpSocket *socket : {&send_socket, &listen_socket, &broadcast_socket}) {
        if (socket->state() != QAbstractSocket::BoundState)
            continue;
        const qint64 size = socket->readDatagram(receive_buffer.data(), LARGEST_DATAGRAM, &sender);
        if (size < 0)
            continue;
        payload = QByteArray::fromRawData(receive_buffer.data(), static_cast<int>(size));
        return true;
    }
    return false;
}

void Gui::handle_datagram(const QHostAddress &from, const QByteArray &payload)
{
    // A device without news sends the bytes that have been checked and read before.
    if (const Device *device = find_repeating_device(from, payload)) {
        handle_report(from, QJsonObject(device->last_report), true, current_network, true);
        return;
    }
    const Frame frame = read_frame(payload);
    if (frame.verdict == FrameVerdict::BadChecksum)
        log_remote_text(from, "invalid CRC", QString::number(frame.carried_checksum));
    if (frame.verdict != FrameVerdict::Ok)
        return;

    log_remote_text(from, "warning", frame.object.value("warning").toString());
    log_remote_text(from, "error", frame.object.value("error").toString());
    switch (packet_kind(frame.object)) {
    case PacketKind::LogStream: {
        Device *device = find_device(frame.object.value("device_id").toString());
        if (device && device->log_view && !device->log_paused
            && is_log_attachment(frame.attachment))
            handle_raw_log(device, frame.object, frame.attachment);
        break;
    }
    case PacketKind::Metering:
        // The shortest way: neither the record nor the row changes, the next tick repaints.
        if (Device *device = find_device(frame.object.value("device_id").toString()))
            take_metering(device, frame.object);
        break;
    case PacketKind::Report:
        handle_live_report(from, payload, frame);
        break;
    case PacketKind::Reply:
        handle_device_packet(from, frame.object, true, current_network);
        break;
    }
}

// Remembers the bytes, unless they hold a text for the debug log, which is due each time.
void Gui::handle_live_report(const QHostAddress &from, const QByteArray &payload,
                             const Frame &frame)
{
    handle_device_packet(from, frame.object, true, current_network);
    Device *device = find_device(frame.object.value("device_id").toString());
    const bool has_texts = frame.object.contains("warning") || frame.object.contains("error");
    if (!device || has_texts)
        return;
    device->last_payload = QByteArray(payload.constData(), payload.size());
    reporters[from.toIPv4Address()] = device->device_id;
}

Device *Gui::find_repeating_device(const QHostAddress &from, const QByteArray &payload) const
{
    const auto reporter = reporters.find(from.toIPv4Address());
    if (reporter == reporters.end())
        return nullptr;
    Device *device = find_device(reporter->second);
    const bool is_same = device && device->address == from && !payload.isEmpty()
        && device->last_payload == payload;
    return is_same ? device : nullptr;
}

void Gui::handle_device_packet(const QHostAddress &from, const QJsonObject &object, bool live,
                               const QString &interface)
{
    if (is_report(object))
        handle_report(from, object, live, interface, false);
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
        if (device->log_view)
            append_log(device, true, traffic_line("Received JSON: ", object));
        if (note_reply(*device))
            update_device_properties(device);
    }
}

void Gui::handle_report(const QHostAddress &from, const QJsonObject &object, bool live,
                        const QString &interface, bool is_repeated)
{
    const QString device_id = object.value("device_id").toString();
    Device *device = find_or_create_device(from, device_id);
    if (!device)
        return;
    if (device->properties.empty())
        device->properties = product_table.front().properties;
    const bool was_online = device->online;
    device->device_id = device_id;
    device->address = from;
    device->interface = interface;
    device->firmware_update_error = object.value("firmware_update_error").toString();
    device->dsp_error = dsp_error_of(object);
    device->last_report = object;
    note_report(*device, live, QDateTime::currentMSecsSinceEpoch(), fw_magic_of(object));

    if (editing && is_device_selected(device)) {
        // The operator's edit is not disturbed: the report waits until it ends.
        device->stale = true;
        device->is_merged = false;
        update_device_properties(device);
    } else if (is_repeated && device->is_merged) {
        follow_merge(device, {});
    } else {
        apply_device_state(device, object);
    }
    if (was_online != device->online)
        update_identify_button();
    // A device that has restarted forgot that its log is watched.
    if (device->log_view && !is_logging(object))
        send_to_device(device, logging_command(true), false);
}

Device *Gui::find_device(const QString &device_id) const
{
    const auto found = devices.find(device_id);
    return found == devices.end() ? nullptr : found->second;
}

// Null for one device too many.
Device *Gui::find_or_create_device(const QHostAddress &from, const QString &device_id)
{
    Device *device = find_device(device_id);
    if (!device && devices.size() >= size_t{MOST_DEVICES}) {
        qDebug() << "too many devices, ignoring" << device_id << "at" << from.toString();
    } else if (!device) {
        qDebug() << "Found new device" << device_id << "at" << from.toString();
        device = new Device;
        devices[device_id] = device;
    } else if (device->address != from) {
        qDebug() << "device" << device_id << "apparently changing fromaddress"
                 << device->address.toString() << "to" << from.toString() << "(or multiple paths)";
    }
    return device;
}

void Gui::log_remote_text(const QHostAddress &from, const QString &label, const QString &text)
{
    if (!text.isEmpty())
        qDebug().noquote() << label << "from " << from.toString() << ":" << text;
}
