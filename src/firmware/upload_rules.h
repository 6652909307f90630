// Whether a device gets an upload, and which bytes of it.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <map>

// The remote name tells the device what it is sent. KEPT: only this one is parsed as an image.
inline constexpr const char *FIRMWARE_REMOTE_NAME = "firmware.bin";

struct UploadDecision
{
    QString error = {};   // why the device is offered nothing; empty otherwise
    QString failure = {}; // why its transfer ends before it begins; empty when it gets `bytes`
    QByteArray bytes = {};
};

// What has been taken out of a file, by module type, so that a selection of a hundred devices
// shares it: taken out once for each, it would hold up the window.
struct KeptSections
{
    UploadDecision for_all = {}; // what the file's size has decided, if it has
    QByteArray file = {};
    std::map<uint32_t, UploadDecision> decisions = {};
};

// What the size of a file decides for all devices, asked before it is read; nothing when a device
// may be able to take its part. `head` is what the file begins with, FIRMWARE_HEADER_SIZE bytes of
// it.
UploadDecision decide_by_size(const QString &remote_name, qint64 size, const QByteArray &head);

// What is written behind the device's status for a result of firmware_extract; empty for success.
QString firmware_error_text(int code);

// One device's part of an offered file. A device that is offline or has not told its `fw_magic`
// (0) gets nothing under any name. Sections taken out of an image are kept in `kept`.
UploadDecision decide_upload(bool online, uint32_t fw_magic, const QString &remote_name,
                             const QByteArray &bytes, KeptSections &kept);
