// Asks where a device's backup goes, and which one comes back.
#include "gui/backup_dialogs.h"

#include "model/saved_file.h"
#include "model/saved_state.h"

#include <QFileDialog>
#include <QJsonDocument>
#include <QMessageBox>

namespace {

constexpr auto BACKUP_FILTER = "Device backups (*.ntd)";

void tell(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox::warning(parent, title, text, QMessageBox::Ok);
}

} // namespace

QString ask_for_backup_path(QWidget *parent)
{
    return QFileDialog::getSaveFileName(parent, "Save backup", "", BACKUP_FILTER);
}

void write_backup(QWidget *parent, const QString &path, const QJsonObject &report)
{
    const WriteResult result = write_saved_file(path, QJsonDocument(report).toJson());
    // KEPT: a file that cannot be opened is met with silence.
    if (result.error != 0)
        tell(parent, "Save error",
             "The backup could not be written: " + qt_error_string(result.error));
}

std::optional<QJsonObject> ask_for_backup(QWidget *parent)
{
    const QString path = QFileDialog::getOpenFileName(parent, "Load backup", "", BACKUP_FILTER);
    const std::optional<QByteArray> text = path.isEmpty() ? std::nullopt : read_saved_file(path);
    if (!text)
        return {};
    const QJsonDocument document = QJsonDocument::fromJson(*text);
    if (document.isNull()) {
        tell(parent, "Load error", "File doesn't seem to contain JSON data.");
        return {};
    }
    if (!is_device_json(document.object())) {
        tell(parent, "Load error", "File doesn't seem to be a device backup.");
        return {};
    }
    return document.object();
}
