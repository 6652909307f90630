// Whether this is the only copy of the program that works on the kept files.
#include "gui/copy_lock.h"

#include <QtDebug>

// Where no lock can be made, as in a folder that can't be written, there is nothing to protect.
void CopyLock::take(const QString &kept_file)
{
    lock = std::make_unique<QLockFile>(kept_file + ".lock");
    is_second = !lock->tryLock(0) && lock->error() == QLockFile::LockFailedError;
    if (is_second)
        qDebug("another copy of the program is running: this one saves nothing");
}
