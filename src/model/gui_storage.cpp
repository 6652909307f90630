// Keeps devices between runs, and one device's state in a backup file.
#include "gui/gui.h"
#include "model/json_path.h"
#include "model/saved_file.h"

#include <QFileDialog>
#include <QJsonDocument>
#include <QMessageBox>

namespace {

constexpr auto BACKUP_FILTER = "Device backups (*.ntd)";

} // namespace

// Every stored device goes the way of a report that is not live. The rows stand as they come, and
// are sorted once at the end.
void Gui::load_cache()
{
    const DeviceTable::Batch batch(table);
    for (const SavedDevice &saved : device_cache.load())
        take_saved_device(saved);
}

void Gui::take_saved_device(const SavedDevice &saved)
{
    handle_device_packet(saved.address, saved.data, false, saved.interface);
    if (Device *device = find_device(saved.data.value("device_id").toString()))
        device->last_report.settle();
}

// Only for exactly one device; it stays that otherwise the button does nothing. While the dialog is
// open the device may report, or go.
void Gui::save_backup()
{
    const std::vector<Device *> selected = selected_devices();
    if (selected.size() != 1)
        return;
    const QString device_id = selected.front()->device_id;
    const QString path = QFileDialog::getSaveFileName(this, "Save backup", "", BACKUP_FILTER);
    const Device *device = find_device(device_id);
    if (path.isEmpty() || !device)
        return;
    const WriteResult result
        = write_saved_file(path, QJsonDocument(device->last_report.object()).toJson());
    // KEPT: a file that cannot be opened is met with silence.
    if (result.error != 0)
        QMessageBox::warning(this, "Save error",
                             "The backup could not be written: " + qt_error_string(result.error),
                             QMessageBox::Ok);
}

void Gui::load_backup(uint32_t mask)
{
    const QString path = QFileDialog::getOpenFileName(this, "Load backup", "", BACKUP_FILTER);
    if (path.isEmpty())
        return;
    const std::optional<QByteArray> text = read_saved_file(path);
    if (!text)
        return;
    const QJsonDocument document = QJsonDocument::fromJson(*text);
    if (document.isNull()) {
        QMessageBox::warning(this, "Load error", "File doesn't seem to contain JSON data.",
                             QMessageBox::Ok);
        return;
    }
    const QJsonObject object = document.object();
    if (!is_device_json(object)) {
        QMessageBox::warning(this, "Load error", "File doesn't seem to be a device backup.",
                             QMessageBox::Ok);
        return;
    }
    restore_backup(object, mask);
}

// An ordinary edit: nothing is sent before Confirm. The order of the keys counts, as presets follow
// the bank and source channels the stream. A hidden row has no kind, so it takes no value.
void Gui::restore_backup(const QJsonObject &object, uint32_t mask)
{
    panel.set_edit_mode(true);
    for (const std::string &key : property_keys) {
        const Property *row = panel.row(key);
        if (!row || (row->desc.flags & mask) == 0)
            continue;
        const QVariant value = value_from_json(object, row->desc);
        if (value.isNull())
            continue;
        panel.take(key, value);
    }
}
