// What is kept of devices between runs: the device cache's text, and the test for a backup.
#pragma once

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

// One device's part of the cache's text, kept for as long as what it was made from stays the same.
struct SavedText
{
    QByteArray text = {}; // empty: not made yet, or the report can't be kept
    QJsonObject report = {};
    QHostAddress address = {};
};

// Makes the part anew if it is not of this address and report; true when it did. Equal reports
// count as the same. A report that no device would send, nested so deeply that its indentation
// takes a megabyte or that the file could not be read again, is left out: it would cost the others.
bool renew_saved_text(SavedText &saved, const QHostAddress &address, const QJsonObject &report);

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
