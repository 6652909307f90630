// Keeps devices between runs, and one device's state in a backup file.
#include "gui/gui.h"
#include "model/json_path.h"
#include "model/registry_limit.h"
#include "model/saved_file.h"

#include <QElapsedTimer>
#include <QFileDialog>
#include <QJsonDocument>
#include <QMessageBox>
#include <QScopedValueRollback>

#include <algorithm>

namespace {

constexpr qint64 LONGEST_SLICE = 2; // ms; the window answers and paints in between
constexpr auto BACKUP_FILTER = "Device backups (*.ntd)";

} // namespace

// The whole cache at once: for a window that closes, and for devices that were just deleted.
void Gui::save_cache()
{
    cache_slice_timer.stop();
    if (copy_lock.is_second_copy())
        return;
    QByteArray text;
    begin_cache_text(text);
    for (const auto &[id, device] : devices) {
        renew_saved_text(device->saved, device->address, device->last_report);
        add_to_cache_text(text, device->saved);
    }
    end_cache_text(text);
    // A failure is silent: the next change tries again.
    replace_saved_file(cache_path, text);
}

// The same in slices. A thousand changed reports take 30 ms to be written as text, too long for a
// window in which someone drags a curve.
void Gui::start_cache_save()
{
    if (copy_lock.is_second_copy())
        return;
    if (cache_slice_timer.isActive()) {
        // Still at the last one: what has changed behind its back comes after it.
        cache_timer.start();
        return;
    }
    qint64 size = 1024;
    for (const auto &[id, device] : devices)
        size += device->saved.text.size() + 2;
    cache_text.reserve(static_cast<int>(std::min<qint64>(size + size / 8, LARGEST_CACHE)));
    begin_cache_text(cache_text);
    cache_position = QString();
    cache_text_is_whole = false;
    cache_slice_timer.start(0);
}

// The last slices write, each in a turn of its own.
void Gui::continue_cache_save()
{
    if (!cache_text_is_whole) {
        add_to_cache_save();
        return;
    }
    if (make_room(cache_path, cache_text.size()) == Room::NotYet)
        return;
    cache_slice_timer.stop();
    replace_saved_file(cache_path, cache_text);
    cache_text = QByteArray();
}

// Each slice looks up its place anew: devices come and go in between.
void Gui::add_to_cache_save()
{
    QElapsedTimer elapsed;
    elapsed.start();
    auto next = cache_position.isNull() ? devices.begin() : devices.upper_bound(cache_position);
    for (; next != devices.end() && elapsed.elapsed() < LONGEST_SLICE; ++next) {
        Device *device = next->second;
        renew_saved_text(device->saved, device->address, device->last_report);
        add_to_cache_text(cache_text, device->saved);
        cache_position = device->device_id;
    }
    cache_text_is_whole = next == devices.end();
    if (cache_text_is_whole)
        end_cache_text(cache_text);
}

// Every stored device goes the way of a report that is not live. The rows stand as they come, and
// are sorted once at the end.
void Gui::load_cache()
{
    const DeviceTable::Batch batch(table);
    const QByteArray text = read_saved_file(cache_path).value_or(QByteArray());
    for (const SavedDevice &saved : read_cache_text(text))
        handle_device_packet(saved.address, saved.data, false, saved.interface);
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
    replace_saved_file(path, QJsonDocument(device->last_report).toJson());
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
