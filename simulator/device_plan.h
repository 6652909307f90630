// What a fleet says about one device before it is switched on.
#pragma once

#include <QJsonArray>
#include <QJsonObject>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

namespace simulator {

constexpr const char *NEWEST_FIRMWARE = "v1.5.5.8d";

struct DevicePlan
{
    int32_t product_id = 0;
    QString device_id = {}; // empty: drawn
    QString name = {};
    QString location = {};
    QString memo = {};
    int order = 0;
    uint32_t address = 0; // IPv4 in host order; 0: the next free one
    QString firmware_version = NEWEST_FIRMWARE;
    std::optional<uint32_t> fw_magic = {}; // unset: the product's module type
    std::vector<int> levels = {};          // mean peak per channel, 0 to 70; empty: drawn
    std::optional<QJsonArray> sessions
        = {};               // AES67 sessions heard of: {n, i, c}; unset: usual ones
    QJsonObject state = {}; // merged over the drawn state
    QJsonArray faults = {}; // requests as on standard input, without "device"
};

} // namespace simulator
