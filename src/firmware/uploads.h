// All running uploads, at most one per device, and what came of them.
#pragma once

#include "firmware/upload_summary.h"

#include <QObject>

#include <unordered_map>
#include <vector>

class QTFTPFileUploader;
struct Device;

// Keeps `upload` and `upload_ok` of the devices; they must outlive their transfers, or be dropped.
class Uploads : public QObject
{
    Q_OBJECT

public:
    Uploads() = default;
    ~Uploads() override;

    // To be called before devices are offered something: what was told of earlier uploads is
    // forgotten, unless one of them still runs.
    void open_round();
    // A running transfer of the device gives way without a word.
    void begin(Device *device, unsigned interface_index, const QByteArray &bytes,
               const QString &remote_name);
    // As begin, with a file that no transfer could bring to its end.
    void fail(Device *device, const QString &reason);
    // The device is offered nothing; a running transfer goes on.
    void refuse(const Device *device, const QString &reason);
    // The device's record goes, or its transfer is not wanted any more.
    void drop(Device *device);

    QTFTPFileUploader *transfer(const Device *device) const; // null when none runs
    UploadSummary summary() const;

signals:
    void changed(Device *device); // its `upload` or `upload_ok`
    void summary_changed();

private:
    enum class Fate
    {
        RUNNING,
        SUCCEEDED,
        FAILED, // its transfer came to no good end, or never began
    };
    struct Entry
    {
        const Device *device = nullptr;
        Fate fate = Fate::RUNNING;
        bool was_refused = false; // it had no transfer
        UploadFailure failure = {};
    };

    Entry &entry_of(const Device *device);
    void note_progress(Device *device);
    void finish(Device *device, bool success);
    void leave(Device *device);

    std::unordered_map<const Device *, QTFTPFileUploader *> transfers = {};
    std::vector<Entry> round = {}; // in the order of starting
};
