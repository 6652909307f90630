// Uploads: asks for a file, offers it to each selected device, and opens the assistant that may ask
// for one.
#include "firmware/assistant_rules.h"
#include "firmware/deppen_ass.h"
#include "firmware/firmware.h"
#include "firmware/upload_rules.h"
#include "gui/gui.h"
#include "model/device_state.h"

#include <QFile>
#include <QFileDialog>
#include <QFileInfo>

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

// Everything that is not on a disk may never end, or never begin.
bool open_regular(QFile &file)
{
    return QFileInfo(file).isFile() && file.open(QIODevice::ReadOnly);
}

// Nothing when the file holds more than it gives: a device must never get the front part of a file.
std::optional<QByteArray> read_whole(QFile &file)
{
    const QByteArray bytes = file.readAll();
    if (bytes.size() < file.size())
        return {};
    return bytes;
}

} // namespace

// It stays that a file which can't be read is passed over without a word. One that is too large for
// any device is not read at all, which would hold up the window.
void Gui::upload_file(const QString &remote_name)
{
    QFile file(ask_for_file(this));
    if (!open_regular(file))
        return;
    const UploadDecision for_all
        = decide_by_size(remote_name, file.size(), file.peek(FIRMWARE_HEADER_SIZE));
    const bool is_decided = !for_all.error.isEmpty() || !for_all.failure.isEmpty();
    std::optional<QByteArray> bytes = is_decided ? QByteArray() : read_whole(file);
    if (!bytes)
        return;
    kept_sections = {.for_all = for_all};
    uploads.open_round();
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
    if (!decision.error.isEmpty())
        uploads.refuse(device, decision.error);
    else if (!decision.failure.isEmpty())
        uploads.fail(device, decision.failure);
    else
        begin_transfer(device, decision.bytes, remote_name);
    update_device_properties(device);
}

// The network may be gone by now: the datagrams then leave by whichever interface the system picks.
void Gui::begin_transfer(Device *device, const QByteArray &bytes, const QString &remote_name)
{
    const int index = std::max(device_link.find_network(device->interface).index, 0);
    uploads.begin(device, static_cast<unsigned>(index), bytes, remote_name);
}

// One assistant at a time in the whole program; it opens by itself.
void Gui::offer_assistant(Device *device)
{
    if (device->has_assistant) {
        emit assistant->update_props();
        return;
    }
    const bool one_is_open = assistant && assistant->helped();
    if (opens_assistant(*device, needs_assistant(*device), one_is_open))
        make_assistant(device)->show();
}

// One that has been closed stays with the window.
DeppenAss *Gui::make_assistant(Device *device)
{
    assistant = new DeppenAss(device, this);
    connect(assistant, &DeppenAss::update_wanted, this, &Gui::update_from_assistant);
    connect(assistant, &DeppenAss::product_confirmed, this, &Gui::set_product);
    return assistant;
}

void Gui::update_from_assistant(Device *device, const QByteArray &image)
{
    QByteArray bytes = image;
    uploads.open_round();
    start_upload(device, bytes, FIRMWARE_REMOTE_NAME);
}

// KEPT: a failure shows nowhere, and that no answer is waited for.
void Gui::set_product(Device *device, int product_id)
{
    send_to_device(device, set_product_command(product_id), false);
}
