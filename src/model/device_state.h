// Merges what a device reports into its record, and makes up a device that does not exist.
#pragma once

#include "model/device.h"

#include <QJsonObject>

#include <array>
#include <string>
#include <vector>

// What a merge found.
struct MergeResult
{
    std::vector<const std::string *> changed_keys = {}; // into property_keys, in its order
    bool product_changed = false;                       // `properties` is another product's now

    bool device_changed() const { return !changed_keys.empty(); }
};

// Walks property_keys, reads each property that the device has and stores what differs; a value
// that has vanished from the report is replaced by an invalid one. A new product replaces
// `properties` and empties `values` first. The choices of "stream/name" follow the session list.
MergeResult merge_report(Device &device, const QJsonObject &report);

// Whether the device has firmware from before this program could talk to it properly.
bool needs_assistant(const Device &device);

// A report of a device with all defaults of the "<unknown>" product. Its id is the 32 lower-case
// hexadecimal digits of `random`.
QJsonObject dummy_report(const std::array<quint32, 4> &random);
