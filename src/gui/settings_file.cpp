// Keeps a settings file that can't be the program's own from holding up the start.
#include "gui/settings_file.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>

namespace {

constexpr qint64 LARGEST_SETTINGS = 16 * 1024 * 1024; // bytes; usual are a few thousand

// Asked of settings under another program's name: an object for our own would read their file at
// once, which is what has to be looked at first.
QDir settings_folder()
{
    const QSettings neighbour(QSettings::IniFormat, QSettings::UserScope, "neighbour");
    return QFileInfo(neighbour.fileName()).dir();
}

bool is_usable(const QString &path)
{
    const QFileInfo file(path);
    return !file.exists() || file.isFile();
}

} // namespace

QString settings_path()
{
    return settings_folder().filePath(QCoreApplication::organizationName() + "/"
                                      + QCoreApplication::applicationName() + ".ini");
}

// The toolkit reads the maker's settings along with the program's.
bool are_settings_usable()
{
    return is_usable(settings_path())
        && is_usable(settings_folder().filePath(QCoreApplication::organizationName() + ".ini"));
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
