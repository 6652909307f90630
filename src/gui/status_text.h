// The words of the list's status column, and a log window's title.
#pragma once

#include "model/upload_state.h"

#include <QHostAddress>
#include <QString>

#include <optional>

struct StatusFacts
{
    bool online = false;
    bool broken_net = false;
    bool is_muted = false; // the device's `dsp/mute` equals true
    std::optional<UploadState> upload = {};
    QString upload_error = {}; // our own refusal
    QString firmware_update_error = {};
    QString dsp_error = {};
};

// "Online", "Offline" or "Broken net", then ", updating 42%" or ", muted", then the errors, each
// behind " / ". An offline device is never "Broken net".
QString status_text(const StatusFacts &facts);

// "Firmware log (PRODUCT at ADDRESS 'NAME')", with " [PAUSED]" behind it while paused.
QString log_title(const QString &product, const QHostAddress &address, const QString &name,
                  bool is_paused);
