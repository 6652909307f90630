// Frees the records of devices that have gone, a few at a time.
#include "model/late_release.h"

#include "model/device.h"

namespace {

constexpr size_t SOME = 32; // records in one turn of the event loop: about 2 ms

} // namespace

LateRelease::LateRelease()
{
    timer.setInterval(0);
    QObject::connect(&timer, &QTimer::timeout, &timer, [this] { release_some(); });
}

LateRelease::~LateRelease() = default;

void LateRelease::take(Device *device)
{
    records.emplace_back(device);
    timer.start();
}

void LateRelease::release_some()
{
    for (size_t i = 0; i < SOME && !records.empty(); ++i)
        records.pop_back();
    if (records.empty())
        timer.stop();
}
