// Reads the members of a JSON object that a person wrote, and says what is wrong with them.
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <utility>

namespace simulator {

class MemberReader
{
public:
    explicit MemberReader(QJsonObject to_read)
        : object(std::move(to_read))
    {
    }

    // Each returns the member `name`, or `fallback` when it is missing or wrong; what is wrong is
    // kept for finish(). Whole numbers must lie between the bounds, both included.
    int whole(const QString &name, int fallback, int lowest, int highest);
    double number(const QString &name, double fallback, double lowest, double highest);
    bool flag(const QString &name, bool fallback);
    QString text(const QString &name, const QString &fallback = {});
    QByteArray base64(const QString &name);
    QJsonObject members(const QString &name);
    QJsonArray list(const QString &name);
    // Any value, and so without a check; undefined when missing.
    QJsonValue any(const QString &name);

    bool has(const QString &name) const { return object.contains(name); }
    // Members that are allowed although nobody reads them here.
    void allow(const QStringList &names) { known += names; }
    // Keeps a fault that the caller found.
    void complain(const QString &fault);
    // The first fault; a member that nobody has read or allowed is one. Empty when all is well.
    QString finish() const;

private:
    QJsonValue take(const QString &name);

    QJsonObject object;
    QStringList known = {};
    QString error = {};
};

} // namespace simulator
