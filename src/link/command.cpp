// The objects that go out to devices.
#include "link/command.h"

#include "link/datagram.h"

#include <QJsonDocument>

QJsonObject discovery_request()
{
    return {{"command", "device_info"},
            {"add_crc", true},
            {"metering", true},
            {"api_version", API_VERSION}};
}

QJsonObject device_command(const QString &command)
{
    return {{"command", command}, {"seq", 1}};
}

QJsonObject logging_command(bool on)
{
    QJsonObject object = device_command("set_params");
    object.insert("logging", QJsonObject{{"en", on}});
    return object;
}

QString traffic_line(const QString &label, const QJsonObject &object)
{
    const QByteArray json = QJsonDocument(object).toJson(QJsonDocument::Compact);
    const QString line = label + QString::fromUtf8(json) + "\n";
    return line.left(line.indexOf(QChar::Null));
}
