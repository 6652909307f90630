// Reads and replaces the files that keep device state.
#include "model/saved_file.h"

#include <QFile>
#include <QFileInfo>

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr off_t LARGEST_GROWTH = 1024 * 1024;

// A file that is open for writing, made if there was none; -1 for anything but a regular file.
class OpenFile
{
public:
    // Without waiting: a pipe that nobody reads would hold the program forever.
    explicit OpenFile(const QString &path)
        : descriptor(open(QFile::encodeName(path).constData(),
                          O_WRONLY | O_CREAT | O_CLOEXEC | O_NONBLOCK, 0666))
    {
    }
    ~OpenFile()
    {
        if (descriptor >= 0)
            close(descriptor);
    }
    OpenFile(const OpenFile &) = delete;
    OpenFile &operator=(const OpenFile &) = delete;

    // -1 when there is none.
    off_t size() const
    {
        struct stat state = {};
        const bool is_file
            = descriptor >= 0 && fstat(descriptor, &state) == 0 && S_ISREG(state.st_mode);
        return is_file ? state.st_size : -1;
    }

    const int descriptor;
};

// A full disk must refuse before the first old byte is gone. File systems that can't promise room
// are taken at their word.
bool is_disk_full(int file, off_t size)
{
    return fallocate(file, FALLOC_FL_KEEP_SIZE, 0, size) != 0
        && (errno == ENOSPC || errno == EDQUOT || errno == EFBIG);
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

} // namespace

std::optional<QByteArray> read_saved_file(const QString &path, int most)
{
    QFile file(path);
    if (!QFileInfo(path).isFile() || !file.open(QIODevice::ReadOnly))
        return std::nullopt;
    if (file.size() > most)
        return QByteArray();
    // Room is made for what the file says that it has: it is made before anything is read, and the
    // most that is allowed can be a hundred megabytes. Some files are larger than they say.
    QByteArray text = file.read(file.size() + 1);
    if (text.size() > file.size())
        text += file.read(qint64{most} + 1 - text.size());
    return text.size() > most ? QByteArray() : text;
}

void set_aside_if_larger(const QString &path, int most)
{
    const QFileInfo file(path);
    if (!file.isFile() || file.size() <= most)
        return;
    const QString aside = path + ".too-large";
    QFile::remove(aside);
    QFile::rename(path, aside);
}

Room make_room(const QString &path, int size)
{
    const OpenFile file(path);
    const off_t old_size = file.size();
    if (old_size < 0)
        return Room::REFUSED;
    if (old_size >= size)
        return Room::MADE;
    const off_t growth = std::min(size - old_size, LARGEST_GROWTH);
    const bool is_made = !is_disk_full(file.descriptor, size)
        && lseek(file.descriptor, 0, SEEK_END) >= 0
        && write_all(file.descriptor, QByteArray(static_cast<int>(growth), '\n'));
    if (is_made)
        return old_size + growth >= size ? Room::MADE : Room::NOT_YET;
    // Gives back what was set aside behind the old text.
    const int error = errno;
    [[maybe_unused]] const int result = ftruncate(file.descriptor, old_size);
    errno = error;
    return Room::REFUSED;
}

WriteResult write_saved_file(const QString &path, const QByteArray &text)
{
    const bool was_there = QFileInfo::exists(path);
    errno = 0;
    const OpenFile file(path);
    if (file.descriptor < 0)
        return {};
    Room room = file.size() < 0 ? Room::REFUSED : Room::NOT_YET;
    while (room == Room::NOT_YET)
        room = make_room(path, text.size());
    if (room == Room::MADE && write_all(file.descriptor, text)
        && ftruncate(file.descriptor, text.size()) == 0)
        return {.is_opened = true};
    const int error = errno == 0 ? EINVAL : errno; // what is no file says nothing itself
    if (!was_there)
        QFile::remove(path);
    return {.is_opened = true, .error = error};
}

bool replace_saved_file(const QString &path, const QByteArray &text)
{
    return write_saved_file(path, text).is_written();
}
