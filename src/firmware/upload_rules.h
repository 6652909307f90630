// Whether a device gets an upload, and which bytes of it.
#pragma once

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <map>

// The remote name tells the device what it is sent. Only this one is parsed as an image.
inline constexpr const char *FIRMWARE_REMOTE_NAME = "firmware.bin";

struct UploadDecision
{
    QString error = {}; // why the device gets nothing; empty when it gets `bytes`
    QByteArray bytes = {};
};

// What has been taken out of a file, by module type, so that a selection of a hundred devices
// shares it: taken out once for each, it would hold up the window.
struct KeptSections
{
    QByteArray file = {};
    std::map<uint32_t, UploadDecision> decisions = {};
};

// What is written behind the device's status for a result of firmware_extract; empty for success.
QString firmware_error_text(int code);

// One device's part of an offered file. A device that is offline or has not told its `fw_magic`
// (0) gets nothing under any name. Sections taken out of an image are kept in `kept`.
UploadDecision decide_upload(bool online, uint32_t fw_magic, const QString &remote_name,
                             const QByteArray &bytes, KeptSections &kept);
