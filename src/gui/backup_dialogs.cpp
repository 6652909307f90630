// Asks where a device's backup goes, and which one comes back.
#include "gui/backup_dialogs.h"

#include "gui/file_patterns.h"
#include "model/saved_file.h"
#include "model/saved_state.h"

#include <QFileDialog>
#include <QJsonDocument>
#include <QMessageBox>

namespace {

constexpr auto BACKUP_FILTER = "Device backups (*.ntd)";
constexpr auto BACKUP_ENDING = ".ntd";

// The path that the operator chooses; empty when there is none.
QString ask_for_path(QWidget *parent, const QString &title, QFileDialog::AcceptMode mode)
{
    QFileDialog dialog(parent, title, "", BACKUP_FILTER);
    dialog.setAcceptMode(mode);
    dialog.setFileMode(mode == QFileDialog::AcceptSave ? QFileDialog::AnyFile
                                                       : QFileDialog::ExistingFile);
    spare_patterns(dialog, BACKUP_ENDING);
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().value(0) : QString();
}

void tell(QWidget *parent, const QString &title, const QString &text)
{
    QMessageBox::warning(parent, title, text, QMessageBox::Ok);
}

} // namespace

QString ask_for_backup_path(QWidget *parent)
{
    return ask_for_path(parent, "Save backup", QFileDialog::AcceptSave);
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
    const QString path = ask_for_path(parent, "Load backup", QFileDialog::AcceptOpen);
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
