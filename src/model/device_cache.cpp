// Keeps the devices between runs, in one file.
#include "model/device_cache.h"

#include "model/device.h"
#include "model/registry_limit.h"
#include "model/saved_file.h"

#include <QElapsedTimer>

#include <algorithm>
#include <limits>

namespace {

constexpr int SAVE_DELAY = 500;     // ms
constexpr qint64 LONGEST_SLICE = 2; // ms; the window answers and paints in between
constexpr qint64 FOREVER = std::numeric_limits<qint64>::max();
constexpr int AROUND_PARTS = 1024; // bytes at most

} // namespace

DeviceCache::DeviceCache(const Devices &all_devices, int largest_file)
    : devices(all_devices)
    , room_for_parts(largest_file - AROUND_PARTS)
{
    delay.setSingleShot(true);
    delay.setInterval(SAVE_DELAY);
    connect(&delay, &QTimer::timeout, this, &DeviceCache::begin_slices);
    slices.setInterval(0);
    connect(&slices, &QTimer::timeout, this, &DeviceCache::continue_slices);
}

void DeviceCache::set_path(const QString &path)
{
    file_path = path;
}

void DeviceCache::set_read_only(bool on)
{
    is_read_only = on;
}

std::vector<SavedDevice> DeviceCache::load()
{
    if (!is_read_only)
        set_aside_if_larger(file_path, LARGEST_CACHE);
    const QByteArray saved = read_saved_file(file_path, LARGEST_CACHE).value_or(QByteArray());
    std::vector<SavedDevice> found = read_cache_text(saved);
    for (const SavedDevice &device : found)
        first_reports[device.data.value("device_id").toString()] = device.data;
    return found;
}

void DeviceCache::changed()
{
    if (!delay.isActive())
        delay.start();
}

void DeviceCache::save()
{
    begin_save();
    while (is_saving())
        continue_save(FOREVER);
}

void DeviceCache::stop()
{
    delay.stop();
    slices.stop();
    step = Step::IDLE;
    text = QByteArray();
}

// Nothing of a save that was under way reaches this one.
void DeviceCache::begin_save()
{
    slices.stop();
    const bool recalls = !is_recalled && !first_reports.empty();
    step = is_read_only ? Step::IDLE : recalls ? Step::RECALLING : Step::RENEWING;
    position = QString();
    text = QByteArray();
    first_size = 0;
    for (const auto &[id, device] : devices)
        if (device->saved.arrival == 0)
            first_size += device->saved.size;
}

void DeviceCache::begin_slices()
{
    if (is_saving()) {
        // What has changed behind the back of the last save comes after it.
        delay.start();
        return;
    }
    begin_save();
    if (is_saving())
        slices.start();
}

void DeviceCache::continue_slices()
{
    continue_save(LONGEST_SLICE);
}

void DeviceCache::continue_save(qint64 milliseconds)
{
    switch (step) {
    case Step::IDLE:
        break;
    case Step::RECALLING:
        if (walk_on(milliseconds, [this](Device &device) { recall(device); })) {
            is_recalled = true;
            position = QString();
            step = Step::RENEWING;
        }
        break;
    case Step::RENEWING:
        if (walk_on(milliseconds, [this](Device &device) { renew(device); }))
            choose_parts();
        break;
    case Step::ADDING:
        if (walk_on(milliseconds, [this](const Device &device) {
                if (device.saved.arrival <= last_arrival)
                    add_to_cache_text(text, device.saved);
            })) {
            end_cache_text(text);
            step = Step::WRITING;
        }
        break;
    case Step::WRITING:
        write();
        break;
    }
}

// Looks at devices for so long; true when all have been looked at. Each slice looks up its place
// anew: devices come and go in between.
template<typename Look>
bool DeviceCache::walk_on(qint64 milliseconds, Look look)
{
    QElapsedTimer elapsed;
    elapsed.start();
    auto next = position.isNull() ? devices.begin() : devices.upper_bound(position);
    for (; next != devices.end() && elapsed.elapsed() < milliseconds; ++next) {
        look(*next->second);
        position = next->first;
    }
    return next == devices.end();
}

void DeviceCache::recall(Device &device)
{
    const auto first = first_reports.find(device.device_id);
    if (first == first_reports.end() || device.saved.arrival == 0)
        return;
    device.saved.arrival = 0;
    look_at(device, first->second);
    first->second = KeptReport();
}

void DeviceCache::renew(Device &device)
{
    int &arrival = device.saved.arrival;
    if (arrival < 0)
        arrival = first_reports.count(device.device_id) == 1 ? 0 : ++arrivals;
    look_at(device, device.last_report);
}

// A device of the start may grow as long as all of them fit: none of them ever has to go.
void DeviceCache::look_at(Device &device, const KeptReport &report)
{
    SavedText &saved = device.saved;
    const bool is_first = saved.arrival == 0;
    const int size_before = saved.size;
    const qint64 room
        = is_first ? room_for_parts - first_size + size_before : qint64{room_for_parts};
    renew_saved_text(saved, device.address, report,
                     static_cast<int>(std::min<qint64>(room, LARGEST_CACHE_PART)));
    if (is_first)
        first_size += saved.size - size_before;
}

void DeviceCache::choose_parts()
{
    std::vector<const SavedText *> parts;
    qint64 size = 0;
    for (const auto &[id, device] : devices) {
        parts.push_back(&device->saved);
        size += device->saved.size;
    }
    last_arrival = size <= room_for_parts
        ? arrivals
        : last_arrival_with_room(std::move(parts), room_for_parts);
    text.reserve(static_cast<int>(std::min<qint64>(size, room_for_parts)) + AROUND_PARTS);
    begin_cache_text(text);
    position = QString();
    step = Step::ADDING;
}

void DeviceCache::write()
{
    if (make_room(file_path, text.size()) == Room::NOT_YET)
        return;
    slices.stop();
    step = Step::IDLE;
    // A failure is silent: the next change tries again.
    replace_saved_file(file_path, text);
    text = QByteArray();
}
