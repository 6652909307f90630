// Reports with members of other values or types.
#pragma once

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

// Every member of a report with a value of a type that it can't have.
inline QJsonObject with_wrong_types(const QJsonObject &object)
{
    QJsonObject wrong;
    for (auto it = object.begin(); it != object.end(); ++it)
        wrong.insert(it.key(),
                     it.value().isObject() ? QJsonValue(with_wrong_types(it->toObject()))
                                           : QJsonValue(QJsonArray{1, "x"}));
    return wrong;
}

inline QByteArray json(const QJsonObject &object)
{
    return QJsonDocument(object).toJson();
}

inline QJsonObject with(QJsonObject report, const QString &part, const QJsonObject &members)
{
    QJsonObject object = report.value(part).toObject();
    for (auto it = members.begin(); it != members.end(); ++it)
        object.insert(it.key(), it.value());
    report.insert(part, object);
    return report;
}
