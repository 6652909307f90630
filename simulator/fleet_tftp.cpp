// A running fleet: firmware uploads and what follows from them.
#include "firmware/upload_rules.h"
#include "simulator/fleet.h"
#include "simulator/image_check.h"

#include <QDir>
#include <QFile>

namespace simulator {

namespace {

// A remote name is the sender's text: nothing of it may lead out of the folder.
QString harmless(const QString &file_name)
{
    QString name = file_name.left(64);
    for (QChar &letter : name) {
        const bool is_plain = (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z')
            || (letter >= '0' && letter <= '9') || letter == '.' || letter == '-';
        if (!is_plain)
            letter = '_';
    }
    return name;
}

// The fault of an earlier upload is over with the next one.
void start_upload(SimulatedDevice &device)
{
    if (device.state.value("firmware_update_error").toString().isEmpty())
        return;
    device.state.insert("firmware_update_error", "");
    device.state_changed();
}

} // namespace

void Fleet::hear_upload(const ReceivedPacket &packet)
{
    for (SimulatedDevice *device : devices_at(packet.to))
        if (device->hears())
            handle_tftp(*device, packet);
}

void Fleet::handle_tftp(SimulatedDevice &device, const ReceivedPacket &packet)
{
    const TftpOutcome outcome
        = device.tftp.handle(packet.from, packet.from_port, packet.bytes, packet.size);
    for (const TftpAnswer &tftp_answer : outcome.answers)
        answer_tftp(device, tftp_answer, packet);
    if (device.reboot_due != 0)
        device.reboot_due = now + int64_t{options.flash_time} * 1000;
    if (outcome.started)
        start_upload(device);
    if (outcome.finished)
        finish_upload(device);
    if (outcome.goes_offline) {
        device.faults.silent = true;
        report_event("offline", device);
    }
}

void Fleet::answer_tftp(SimulatedDevice &device, const TftpAnswer &tftp_answer,
                        const ReceivedPacket &packet)
{
    const OutgoingPacket answer_packet{.from = device.address,
                                       .to = packet.from,
                                       .to_port = packet.from_port,
                                       .bytes = tftp_answer.bytes};
    SimulatedDevice *answering = &device;
    const auto send_answer = [this, answering, answer_packet] {
        if (answering->is_reachable() && !answering->random.happens(answering->faults.loss_out))
            outgoing_uploads.push_back(answer_packet);
    };
    if (tftp_answer.delay == 0)
        send_answer();
    else
        after(tftp_answer.delay, send_answer);
}

void Fleet::finish_upload(SimulatedDevice &device)
{
    TftpSession &tftp = device.tftp;
    const QByteArray file = tftp.take_file();
    const bool is_firmware = tftp.file_name == FIRMWARE_REMOTE_NAME;
    QString error = tftp.faults.refuse;
    if (error.isEmpty() && is_firmware)
        error = image_error(file, device.fw_magic());
    const QJsonObject upload{{"file", tftp.file_name}, {"size", file.size()},
                             {"blocks", tftp.blocks},  {"ok", error.isEmpty()},
                             {"refused", error},       {"stored", store_upload(device, file)}};
    device.counters.uploads.append(upload);
    report_event("upload", device, upload);
    if (is_firmware && error.isEmpty())
        device.flashed_version = image_version(file);
    if (!error.isEmpty()) {
        device.state.insert("firmware_update_error", error);
        device.state_changed();
        return;
    }
    device.reboot_due = now + int64_t{options.flash_time} * 1000;
    await_reboot(device);
}

// Not at once: should the last acknowledgement get lost, its block comes again and moves the time.
void Fleet::await_reboot(SimulatedDevice &device)
{
    SimulatedDevice *flashed = &device;
    schedule.at(device.reboot_due, [this, flashed] {
        if (now < flashed->reboot_due)
            await_reboot(*flashed);
        else if (flashed->reboot_due != 0)
            reboot(*flashed);
    });
}

// The path of the stored file, or empty.
QString Fleet::store_upload(const SimulatedDevice &device, const QByteArray &bytes) const
{
    const QDir folder(options.store_folder);
    if (options.store_folder.isEmpty() || !folder.mkpath("."))
        return {};
    const QString name = harmless(device.device_id()) + '-' + harmless(device.tftp.file_name);
    QFile file(folder.filePath(name));
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        return {};
    return file.fileName();
}

} // namespace simulator
