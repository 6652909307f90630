// The settings file: read at start, written soon after something worth keeping has changed.
#pragma once

#include <QObject>
#include <QSettings>
#include <QTimer>
#include <QVariant>

#include <map>

class KeptSettings : public QObject
{
    Q_OBJECT

public:
    // Reads the file at settings_path(). What is no regular file is not opened: there are no
    // settings then, and none are written.
    KeptSettings();

    // What was put last, else what the file holds.
    QVariant value(const QString &key, const QVariant &fallback = QVariant()) const;
    void put(const QString &key, const QVariant &value);

    // Something was put that differs from what the file held when it was last read or written.
    bool has_news() const;

    // Writes what was put. Another program may hold the file's lock, or may have left one: then
    // waits up to `patience` ms, and returns false with nothing written.
    bool write(int patience);

    // `due` follows within a second, for all changes until then at once.
    void note_change();
    void set_read_only(); // from here on nothing is written
    void stop();

signals:
    void due();

private:
    QSettings settings;
    std::map<QString, QVariant> waiting; // put, not written yet
    bool is_read_only = false;
    QTimer timer;
};
