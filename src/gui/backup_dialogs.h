// Asks where a device's backup goes, and which one comes back.
#pragma once

#include <QJsonObject>
#include <QString>

#include <optional>

class QWidget;

// Empty when the operator wants none.
QString ask_for_backup_path(QWidget *parent);

// Tells when the disk does not take it.
void write_backup(QWidget *parent, const QString &path, const QJsonObject &report);

// A device's report out of the file that the operator picks; nothing when there is none, or when
// the file is no backup, which is told.
std::optional<QJsonObject> ask_for_backup(QWidget *parent);
