// Frees the records of devices that have gone, a few at a time.
#pragma once

#include <QTimer>

#include <memory>
#include <vector>

struct Device;

// A record takes some 50 us to free: for a thousand that go at once the window would stand still.
// Nothing may point at a record that is handed over.
class LateRelease
{
public:
    LateRelease();
    ~LateRelease();
    Q_DISABLE_COPY_MOVE(LateRelease)

    void take(Device *device);
    size_t waiting() const { return records.size(); }

private:
    void release_some();

    std::vector<std::unique_ptr<Device>> records = {};
    QTimer timer; // 0 ms, while any wait
};
