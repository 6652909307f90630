// A datagram of the simulator, taken apart.
#pragma once

#include "link/crc32.h"

#include <QByteArray>
#include <QHostAddress>
#include <QJsonDocument>
#include <QJsonObject>

struct Heard
{
    QHostAddress from = {};
    QJsonObject object = {};
    QByteArray attachment = {};
    bool has_checksum = false;
    bool is_right = false;

    bool is_report() const { return object.value("product").toString() == "KESTA"; }
    bool is_reply() const { return object.contains("status"); }
    bool is_frame() const { return command() == "broadcast_info"; }
    bool is_log() const { return command() == "raw_log"; }
    QString command() const { return object.value("command").toString(); }
};

inline Heard take_apart(const QHostAddress &from, QByteArray bytes)
{
    Heard heard{.from = from};
    heard.has_checksum = bytes.size() > 12 && bytes.mid(bytes.size() - 12, 4) == "\n//#";
    if (heard.has_checksum) {
        const uint32_t told = bytes.right(8).toUInt(nullptr, 16);
        bytes.chop(12);
        heard.is_right = told
            == crc32(0, reinterpret_cast<const uint8_t *>(bytes.constData()),
                     static_cast<size_t>(bytes.size()));
    }
    const int separator = bytes.indexOf('\0');
    if (separator >= 0) {
        heard.attachment = bytes.mid(separator + 1);
        bytes.truncate(separator);
    }
    heard.object = QJsonDocument::fromJson(bytes).object();
    return heard;
}
