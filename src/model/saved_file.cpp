// Reads and replaces the files that keep device state.
#include "model/saved_file.h"

#include <QFile>
#include <QFileInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr qint64 LARGEST_FILE = 64 * 1024 * 1024;

// Growing is what a full disk refuses, and it must do so before the first old byte is gone. File
// systems that can't promise room are taken at their word.
bool has_room(int file, off_t old_size, off_t new_size)
{
    if (new_size <= old_size || fallocate(file, FALLOC_FL_KEEP_SIZE, 0, new_size) == 0)
        return true;
    return errno != ENOSPC && errno != EDQUOT && errno != EFBIG;
}

bool write_all(int file, const QByteArray &text)
{
    off_t position = 0;
    while (position < text.size()) {
        const ssize_t count
            = write(file, text.constData() + position, static_cast<size_t>(text.size() - position));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return false;
        position += count;
    }
    return true;
}

bool overwrite(int file, const QByteArray &text)
{
    struct stat state = {};
    if (fstat(file, &state) != 0 || !S_ISREG(state.st_mode))
        return false;
    const bool is_written = has_room(file, state.st_size, text.size()) && write_all(file, text);
    // What the old text was longer; after a failure, what was set aside behind it.
    const bool is_cut = ftruncate(file, is_written ? text.size() : state.st_size) == 0;
    return is_written && is_cut;
}

} // namespace

std::optional<QByteArray> read_saved_file(const QString &path)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    if (file.size() > LARGEST_FILE)
        return QByteArray();
    // Some files are larger than they say.
    const QByteArray text = file.read(LARGEST_FILE + 1);
    return text.size() > LARGEST_FILE ? QByteArray() : text;
}

bool replace_saved_file(const QString &path, const QByteArray &text)
{
    // Without waiting: a pipe that nobody reads would hold the program forever.
    const int file = open(QFile::encodeName(path).constData(),
                          O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666);
    if (file < 0)
        return false;
    const bool is_written = overwrite(file, text);
    return close(file) == 0 && is_written;
}
