// The settings file: read at start, written soon after something worth keeping has changed.
#include "gui/kept_settings.h"

#include "gui/settings_file.h"

#include <QCoreApplication>
#include <QLockFile>

#include <algorithm>

namespace {

constexpr int KEEP_DELAY = 1000; // ms: what a kill or a lost display may cost

// Where the program's own file must not be touched, one stands in that can neither be read nor
// written: no resource has this name.
QSettings open_settings()
{
    return are_settings_usable()
        ? QSettings(QSettings::IniFormat, QSettings::UserScope,
                    QCoreApplication::organizationName(), QCoreApplication::applicationName())
        : QSettings(":/no/settings.ini", QSettings::IniFormat);
}

} // namespace

KeptSettings::KeptSettings()
    : settings(open_settings())
{
    timer.setSingleShot(true);
    timer.setInterval(KEEP_DELAY);
    connect(&timer, &QTimer::timeout, this, &KeptSettings::due);
}

QVariant KeptSettings::value(const QString &key, const QVariant &fallback) const
{
    const auto put_last = waiting.find(key);
    return put_last == waiting.end() ? settings.value(key, fallback) : put_last->second;
}

void KeptSettings::put(const QString &key, const QVariant &value)
{
    waiting[key] = value;
}

// The toolkit would wait up to 30 s for a lock that another computer left in a shared folder, and
// it looks at the lock only for what it has been given: nothing is, before the lock is free. Asking
// whether the file can be written makes its folder where that has gone: a lock would not.
bool KeptSettings::write(int patience)
{
    if (is_read_only || waiting.empty() || !settings.isWritable())
        return true;
    QLockFile lock(settings.fileName() + ".lock");
    if (!lock.tryLock(patience))
        return lock.error() != QLockFile::LockFailedError;
    lock.unlock();
    for (const auto &[key, value] : waiting)
        settings.setValue(key, value);
    waiting.clear();
    settings.sync();
    return true;
}

bool KeptSettings::has_news() const
{
    return std::any_of(waiting.begin(), waiting.end(), [this](const auto &entry) {
        return settings.value(entry.first) != entry.second;
    });
}

void KeptSettings::note_change()
{
    if (!is_read_only && !timer.isActive())
        timer.start();
}

void KeptSettings::set_read_only()
{
    is_read_only = true;
    timer.stop();
}

void KeptSettings::stop()
{
    timer.stop();
}
