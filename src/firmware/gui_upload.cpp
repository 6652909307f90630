// Uploads: asks for a file, offers it to each selected device, and follows the transfers.
#include "firmware/tftp_uploader.h"
#include "firmware/upload_rules.h"
#include "gui/gui.h"
#include "link/interface_rules.h"

#include <QFile>
#include <QFileDialog>

#include <algorithm>
#include <optional>

namespace {

// The name of the one file that the operator picks; empty when there is none.
QString ask_for_file(QWidget *parent)
{
    QFileDialog dialog(parent);
    dialog.setOption(QFileDialog::ReadOnly);
    if (dialog.exec() != QDialog::Accepted)
        return {};
    const QStringList names = dialog.selectedFiles();
    return names.size() == 1 ? names.front() : QString();
}

// Nothing when the file can't be opened, or holds more than it gives: a device must never get the
// front part of a file, nor the nothing that is left of one too large for memory.
std::optional<QByteArray> read_file(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QByteArray bytes = file.readAll();
    if (bytes.size() < file.size())
        return {};
    return bytes;
}

unsigned interface_index(const QString &network)
{
    int index = -1;
    QHostAddress broadcast;
    QHostAddress source;
    find_network(network, index, broadcast, source);
    return static_cast<unsigned>(std::max(index, 0));
}

} // namespace

// It stays that a file which can't be read is passed over without a word.
void Gui::upload_file(const QString &remote_name)
{
    const QString path = ask_for_file(this);
    if (path.isEmpty())
        return;
    std::optional<QByteArray> bytes = read_file(path);
    if (!bytes)
        return;
    // Asked only now: while the dialog was open, devices may have gone.
    for (Device *device : selected_devices())
        start_upload(device, *bytes, remote_name);
    kept_sections = {};
}

void Gui::start_upload(Device *device, QByteArray &bytes, const QString &remote_name)
{
    const UploadDecision decision
        = decide_upload(device->online, device->fw_magic, remote_name, bytes, kept_sections);
    device->upload_error = decision.error;
    if (decision.error.isEmpty())
        begin_transfer(device, decision.bytes, remote_name);
    update_device_properties(device);
}

// A running transfer gives way without a word. The network may be gone by now: the datagrams then
// leave by whichever interface the system picks, and it stays that a failure is told by nothing but
// the end of the progress.
void Gui::begin_transfer(Device *device, const QByteArray &bytes, const QString &remote_name)
{
    device->upload_ok = false;
    delete device->uploader;
    auto *const uploader = new QTFTPFileUploader(interface_index(device->interface),
                                                 device->address, bytes, remote_name);
    device->uploader = uploader;
    connect(uploader, &QTFTPFileUploader::progress, uploader,
            [this, device] { update_device_properties(device); });
    connect(uploader, &QTFTPFileUploader::done, uploader,
            [this, device](bool success) { finish_transfer(device, success); });
    // The last word here: a file that is too large ends the transfer before start() returns.
    uploader->start();
}

void Gui::finish_transfer(Device *device, bool success)
{
    device->uploader->deleteLater();
    device->uploader = nullptr;
    device->upload_ok = success;
    update_device_properties(device);
}
