// What is known of one device: a plain record, one per device id.
#pragma once

#include "meter/meter_object.h"
#include "model/device_properties.h"
#include "model/kept_report.h"
#include "model/meta.h"
#include "model/saved_state.h"
#include "model/sessions.h"
#include "model/upload_state.h"

#include <QHostAddress>
#include <QString>

#include <cstdint>
#include <optional>
#include <vector>

struct Device
{
    QHostAddress address = {}; // sender of the last report
    QString interface = {};    // network on which it was last heard
    qint64 last_seen = 0;      // ms since the epoch of the last live report
    QString device_id = {};    // identity, equal to the key in the registry
    QString firmware_update_error = {};
    QString upload_error = {}; // our own text for a refused upload
    uint32_t fw_magic = 0;     // 0: unknown device
    bool upload_ok = false;    // result of the last upload
    QString dsp_error = {};
    bool stale = false; // a report came during an edit of this device and was not merged
    KeptReport last_report = {};
    bool is_merged = false;           // `values` say what last_report says
    QByteArray last_payload = {};     // the datagram that last_report was read from, else empty
    DeviceProperties properties = {}; // what this device has: at first its product's
    ValueMap values = {};             // absent or invalid: the device did not say
    std::vector<session_item> session_list = {};
    bool online = false;
    bool broken_net = false; // commands go unanswered
    bool awaiting_reply = false;
    int32_t reports_without_reply = 0;
    std::optional<UploadState> upload = {}; // what runs
    bool has_assistant = false;             // it is open, and blocks deletion
    bool assistant_dismissed = false;
    uint32_t log_pos = 0; // next expected position of the log stream
    int32_t log_escape_state = 0;
    uint8_t log_escape_count = 0;
    bool log_paused = false;
    MeterObject meter;

    SavedText saved = {};      // this device's part of the cache file
    mutable int row_hint = -1; // where the list row was last seen; row_of checks it first

    Device() = default;
    Device(const Device &) = delete;
    Device &operator=(const Device &) = delete;

    // Keeps a report, which is not merged so far. Whoever has read it from a datagram may keep the
    // bytes afterwards.
    void take_report(const QJsonObject &report);

    // The value of a property; invalid when the device did not say.
    QVariant value(const std::string &key) const;
};
