// Reads the members of a JSON object that a person wrote, and says what is wrong with them.
#include "simulator/member_reader.h"

#include <QJsonArray>

#include <cmath>

namespace simulator {

QJsonValue MemberReader::take(const QString &name)
{
    known.append(name);
    return object.value(name);
}

void MemberReader::complain(const QString &fault)
{
    if (error.isEmpty())
        error = fault;
}

double MemberReader::number(const QString &name, double fallback, double lowest, double highest)
{
    const QJsonValue value = take(name);
    if (value.isUndefined())
        return fallback;
    const double read = value.toDouble();
    if (value.isDouble() && read >= lowest && read <= highest)
        return read;
    complain(QString("\"%1\" must be a number from %2 to %3").arg(name).arg(lowest).arg(highest));
    return fallback;
}

int MemberReader::whole(const QString &name, int fallback, int lowest, int highest)
{
    const double read = number(name, fallback, lowest, highest);
    if (std::trunc(read) == read)
        return static_cast<int>(read);
    complain(QString("\"%1\" must be a whole number").arg(name));
    return fallback;
}

bool MemberReader::flag(const QString &name, bool fallback)
{
    const QJsonValue value = take(name);
    if (!value.isUndefined() && !value.isBool())
        complain(QString("\"%1\" must be true or false").arg(name));
    return value.toBool(fallback);
}

QString MemberReader::text(const QString &name, const QString &fallback)
{
    const QJsonValue value = take(name);
    if (!value.isUndefined() && !value.isString())
        complain(QString("\"%1\" must be a text").arg(name));
    return value.toString(fallback);
}

QByteArray MemberReader::base64(const QString &name)
{
    const auto result = QByteArray::fromBase64Encoding(
        text(name).toLatin1(),
        QByteArray::Base64Encoding | QByteArray::AbortOnBase64DecodingErrors);
    if (!result)
        complain(QString("\"%1\" must be base64").arg(name));
    return result.decoded;
}

QJsonObject MemberReader::members(const QString &name)
{
    const QJsonValue value = take(name);
    if (!value.isUndefined() && !value.isObject())
        complain(QString("\"%1\" must be an object").arg(name));
    return value.toObject();
}

QJsonArray MemberReader::list(const QString &name)
{
    const QJsonValue value = take(name);
    if (!value.isUndefined() && !value.isArray())
        complain(QString("\"%1\" must be a list").arg(name));
    return value.toArray();
}

QJsonValue MemberReader::any(const QString &name)
{
    return take(name);
}

QString MemberReader::finish() const
{
    if (!error.isEmpty())
        return error;
    for (const QString &name : object.keys())
        if (!known.contains(name))
            return QString("unknown member \"%1\"").arg(name);
    return {};
}

} // namespace simulator
