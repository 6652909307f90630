// The objects that go out to devices.
#pragma once

#include <QJsonObject>
#include <QString>

// The discovery request: every device answers it with its whole state.
QJsonObject discovery_request();

// A command for one device. KEPT: `seq` is 1 on each: 0 marks a device's own reports, and
// commands are not numbered.
QJsonObject device_command(const QString &command);

// "set_params" that switches the device's log stream.
QJsonObject logging_command(bool on);

// The line of an open log that shows JSON traffic: "Sending JSON: {...}\n", cut at its first NUL.
QString traffic_line(const QString &label, const QJsonObject &object);
