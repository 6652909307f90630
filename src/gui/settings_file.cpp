// Keeps a settings file that can't be the program's own from holding up the start.
#include "gui/settings_file.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

namespace {

constexpr qint64 LARGEST_SETTINGS = 16 * 1024 * 1024; // bytes; usual are a few thousand

} // namespace

// Settings under the program's own name would be read at once, so a neighbour of theirs is asked.
QString settings_path()
{
    const QSettings neighbour(QSettings::IniFormat, QSettings::UserScope,
                              QCoreApplication::organizationName(), "neighbour");
    const QDir folder = QFileInfo(neighbour.fileName()).dir();
    return folder.filePath(QCoreApplication::applicationName() + ".ini");
}

void set_huge_settings_aside()
{
    const QString path = settings_path();
    const QFileInfo file(path);
    if (!file.isFile() || file.size() <= LARGEST_SETTINGS)
        return;
    const QString aside = path + ".too-large";
    QFile::remove(aside);
    QFile::rename(path, aside);
}
