// Keeps the devices between runs, in one file.
#pragma once

#include "model/registry_limit.h"
#include "model/saved_state.h"

#include <QByteArray>
#include <QObject>
#include <QString>
#include <QTimer>

#include <map>
#include <vector>

struct Device;

class DeviceCache : public QObject
{
    Q_OBJECT

public:
    using Devices = std::map<QString, Device *>;

    // Walks `devices` anew whenever it saves. What it writes has no more than `largest_file` bytes.
    explicit DeviceCache(const Devices &devices, int largest_file = LARGEST_CACHE);

    void set_path(const QString &path);
    QString path() const { return file_path; }
    // A file that is only read stays as it is, whatever is saved.
    void set_read_only(bool on);

    // The devices of the file, in its order; none when there is no good one. A file larger than
    // any that is written gets another name, with ".too-large" at its end.
    std::vector<SavedDevice> load();

    // A device has changed: within 500 ms a save begins. A pending one is not pushed back, so that
    // a steady flow of changes is saved that often.
    void changed();
    void save(); // at once, and whole: for a window that closes, for devices just deleted
    void stop(); // whatever is pending or under way

    bool is_pending() const { return delay.isActive(); }
    bool is_saving() const { return step != Step::IDLE; } // in slices
    void set_delay(int ms) { delay.setInterval(ms); }

    // What the clock calls when a save is due, and in each turn until it is done.
    void begin_slices();
    void continue_slices();

private:
    // A thousand changed reports take 30 ms to be written as text, too long for a window in which
    // someone drags a curve. So a save is cut into slices, each in a turn of its own.
    enum class Step
    {
        IDLE,
        RECALLING, // what the file said at the start, lest it be lost when there is no room
        RENEWING,  // each device's part of the text
        ADDING,    // the parts to the text
        WRITING,
    };

    void begin_save();
    void continue_save(qint64 milliseconds);
    template<typename Look>
    bool walk_on(qint64 milliseconds, Look look);
    void recall(Device &device);
    void renew(Device &device);
    void look_at(Device &device, const KeptReport &report);
    void choose_parts();
    void write();

    const Devices &devices;
    const int room_for_parts; // bytes of the file
    QString file_path;
    bool is_read_only = false;
    QTimer delay{this};
    QTimer slices{this};

    // The devices of the file at the start, by id; a report is dropped when its text has been made.
    std::map<QString, KeptReport> first_reports;
    bool is_recalled = false; // all of them
    int arrivals = 0;         // of devices since the start

    // The save that is under way.
    Step step = Step::IDLE;
    QByteArray text;
    QString position;      // id of the device looked at last; null before the first
    qint64 first_size = 0; // bytes of the parts of the devices of the start
    int last_arrival = 0;  // later ones are left out
};
