// All running uploads, at most one per device, and what came of them.
#include "firmware/uploads.h"

#include "firmware/tftp_uploader.h"
#include "model/device.h"

#include <algorithm>

namespace {

QString label_of(const Device &device)
{
    const QString name = device.value("ui/name").toString();
    return name.isEmpty() ? device.device_id : name;
}

// "Error: timeout" as "timeout".
QString reason_of(const QTFTPFileUploader &uploader)
{
    return uploader.status().section(QStringLiteral(": "), 1);
}

} // namespace

Uploads::~Uploads()
{
    for (const auto &[device, uploader] : transfers)
        delete uploader;
}

void Uploads::open_round()
{
    if (!transfers.empty())
        return;
    round.clear();
    emit summary_changed();
}

void Uploads::begin(Device *device, unsigned interface_index, const QByteArray &bytes,
                    const QString &remote_name)
{
    leave(device);
    auto *const uploader
        = new QTFTPFileUploader(interface_index, device->address, bytes, remote_name);
    transfers[device] = uploader;
    entry_of(device) = {.device = device};
    connect(uploader, &QTFTPFileUploader::progress, uploader,
            [this, device] { note_progress(device); });
    connect(uploader, &QTFTPFileUploader::done, uploader,
            [this, device](bool success) { finish(device, success); });
    // The last word here: a transfer that can't begin ends before start() returns.
    uploader->start();
}

void Uploads::fail(Device *device, const QString &reason)
{
    leave(device);
    entry_of(device) = {.device = device,
                        .fate = Fate::FAILED,
                        .failure = {.device = label_of(*device), .reason = reason}};
    emit changed(device);
    emit summary_changed();
}

void Uploads::refuse(const Device *device, const QString &reason)
{
    if (transfer(device))
        return;
    entry_of(device) = {.device = device,
                        .fate = Fate::FAILED,
                        .was_refused = true,
                        .failure = {.device = label_of(*device), .reason = reason}};
    emit summary_changed();
}

void Uploads::drop(Device *device)
{
    leave(device);
    if (std::erase_if(round, [device](const Entry &entry) { return entry.device == device; }) > 0)
        emit summary_changed();
}

QTFTPFileUploader *Uploads::transfer(const Device *device) const
{
    const auto found = transfers.find(device);
    return found == transfers.end() ? nullptr : found->second;
}

UploadSummary Uploads::summary() const
{
    UploadSummary summary{.total = static_cast<int>(round.size())};
    int transferred = 0;
    int percents = 0;
    for (const Entry &entry : round) {
        summary.running += entry.fate == Fate::RUNNING;
        summary.succeeded += entry.fate == Fate::SUCCEEDED;
        if (entry.fate == Fate::FAILED)
            summary.failures.push_back(entry.failure);
        if (entry.was_refused)
            continue;
        ++transferred;
        percents += entry.fate == Fate::RUNNING ? transfer(entry.device)->percent() : 100;
    }
    if (transferred > 0)
        summary.percent = percents / transferred;
    return summary;
}

Uploads::Entry &Uploads::entry_of(const Device *device)
{
    const auto found = std::find_if(round.begin(), round.end(), [device](const Entry &entry) {
        return entry.device == device;
    });
    return found == round.end() ? round.emplace_back() : *found;
}

void Uploads::note_progress(Device *device)
{
    const QTFTPFileUploader &uploader = *transfer(device);
    device->upload = UploadState{.percent = uploader.percent(), .is_active = uploader.is_active()};
    emit changed(device);
    emit summary_changed();
}

void Uploads::finish(Device *device, bool success)
{
    QTFTPFileUploader *const uploader = transfer(device);
    Entry &entry = entry_of(device);
    entry.fate = success ? Fate::SUCCEEDED : Fate::FAILED;
    if (!success)
        entry.failure = {.device = label_of(*device), .reason = reason_of(*uploader)};
    uploader->deleteLater();
    transfers.erase(device);
    device->upload = {};
    device->upload_ok = success;
    emit changed(device);
    emit summary_changed();
}

// Ends what runs, if anything, without a word.
void Uploads::leave(Device *device)
{
    device->upload_ok = false;
    device->upload = {};
    const auto found = transfers.find(device);
    if (found == transfers.end())
        return;
    delete found->second;
    transfers.erase(found);
}
