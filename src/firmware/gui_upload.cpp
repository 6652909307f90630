// Uploads: asks for a file and offers it to each selected device, and does what the assistant asks
// for.
#include "firmware/assistant_rules.h"
#include "firmware/firmware.h"
#include "firmware/upload_rules.h"
#include "gui/file_patterns.h"
#include "gui/gui.h"

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
    spare_patterns(dialog);
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

// The network may be gone by now: the datagrams then leave by whichever interface the system picks.
unsigned interface_index(DeviceLink &link, const QString &network)
{
    return static_cast<unsigned>(std::max(link.find_network(network).index, 0));
}

} // namespace

// KEPT: a file that can't be read is passed over without a word. One that is too large for
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
    for (Device *device : table.selected())
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
        uploads.begin(device, interface_index(device_link, device->interface), decision.bytes,
                      remote_name);
    update_device_properties(device);
}

void Gui::connect_uploads()
{
    connect(&uploads, &Uploads::changed, this, &Gui::update_device_properties);
    connect(&assistants, &Assistants::update_wanted, this,
            [this](Device *device, QByteArray image) {
                uploads.open_round();
                start_upload(device, image, FIRMWARE_REMOTE_NAME);
            });
    // KEPT: a failure shows nowhere, and that no answer is waited for.
    connect(&assistants, &Assistants::product_confirmed, this,
            [this](Device *device, int product_id) {
                send_to_device(device, set_product_command(product_id), false);
            });
}
