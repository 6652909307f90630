// Reads and replaces the files that keep device state, whatever stands at their paths.
#pragma once

#include <QByteArray>
#include <QString>

#include <optional>

constexpr int LARGEST_SAVED_FILE = 64 * 1024 * 1024; // bytes

// The whole file; nothing when it can't be opened or is no regular file (a pipe would never end).
// A file of more than `most` bytes comes as an empty text: it is none of ours, and reading it would
// take long.
std::optional<QByteArray> read_saved_file(const QString &path, int most = LARGEST_SAVED_FILE);

// Gives a file of more than `most` bytes another name, with ".too-large" at its end, so that it is
// neither read nor replaced. What can't be renamed stays.
void set_aside_if_larger(const QString &path, int most);

enum class Room
{
    MADE,    // the file is long enough
    NOT_YET, // longer than it was, but call again
    REFUSED, // a full disk, or no file that could be written; the old text stays
};

// Makes the file as long as a text of `size` bytes will be, up to a megabyte per call: new pages
// are what writing takes time for. The room is line ends behind the old text, where JSON may have
// as many as it likes.
Room make_room(const QString &path, int size);

// What came of writing a file.
struct WriteResult
{
    bool is_opened = false;
    int error = 0; // the system's number of what went wrong behind that; 0: nothing

    bool is_written() const { return is_opened && error == 0; }
};

// Replaces the file in place, without a second file. The new text goes over the old one in a single
// write, then what the old one was longer is cut off: a process that dies at any other moment
// leaves either text whole, the new one with an old tail at worst. On a full disk the old text
// stays, and a file that there was not before is gone again.
WriteResult write_saved_file(const QString &path, const QByteArray &text);

// The same for whom it is enough to know whether the text has been written.
bool replace_saved_file(const QString &path, const QByteArray &text);
