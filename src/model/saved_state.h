// What is kept of devices between runs: the device cache's text, and the test for a backup.
#pragma once

#include "model/kept_report.h"

#include <QByteArray>
#include <QHostAddress>
#include <QJsonObject>
#include <QString>

#include <vector>

// One device as the cache tells it.
struct SavedDevice
{
    QHostAddress address = {}; // null when the text was no address
    QString interface = {};    // asked for, and never written: a cached device has no network
    QJsonObject data = {};     // what it last reported
};

// One device's part of the cache's text.
struct SavedText
{
    KeptReport report = {}; // the last one that was looked at
    bool is_looked_at = false;
    QHostAddress address = {};
    QByteArray text = {}; // the last one that could be kept, compact; empty: none yet
    int size = 0;         // bytes that the part takes in the file at the most; 0: there is none
    int arrival = -1;     // 0: it was in the cache at the start; then by order; -1: not told yet
};

// Looks whether the part is still of this address and report, and makes it anew if not. Equal
// reports count as the same. A part of more than `most` bytes, or nested so deeply that the file
// could not be read again, is left out: the device stays as it was kept before, if it ever was.
void renew_saved_text(SavedText &saved, const QHostAddress &address, const KeptReport &report,
                      int most);

// The latest arrival for which there is room in a file that holds no part of later ones.
int last_arrival_with_room(std::vector<const SavedText *> parts, int room);

// The three steps of building the cache's text in `text`: byte for byte the indented form of
// {"devices": [{"data": report, "ip": address}, ...]}. Empty parts are passed over.
void begin_cache_text(QByteArray &text);
void add_to_cache_text(QByteArray &text, const SavedText &saved);
void end_cache_text(QByteArray &text);

// The devices of a cache's text, in its order, 8,192 at most. No JSON, no "devices" or another
// type gives none; elements of wrong types give devices without address or report. What stands
// behind the end of the JSON is an older text's tail and is ignored.
std::vector<SavedDevice> read_cache_text(const QByteArray &text);

// Whether an object is a device's report, and so a backup. The family name counts with its case.
bool is_device_json(const QJsonObject &object);
