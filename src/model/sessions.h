// The AES67 sessions that a device has heard of, and the choices that they make.
#pragma once

#include "model/meta.h"

#include <QJsonObject>
#include <QMetaType>
#include <QString>

#include <vector>

struct session_item
{
    QString name;
    QString info;
    int channels = 0;

    bool operator==(const session_item &other) const = default;
};
Q_DECLARE_METATYPE(session_item)

// Makes session_item travel in variants that compare by value. Once per process is enough.
void register_session_item();

// The sessions of a report's `streams` member `list`, at most 1,024.
std::vector<session_item> sessions_of(const QJsonObject &report);

// The choices of "stream/name": "<disable>" (an empty name), then the sessions ordered by the bytes
// of their labels, "name (info)". Each carries its session_item as data.
std::vector<PropertyChoice> session_choices(const std::vector<session_item> &sessions);
