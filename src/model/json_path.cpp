// The only bridge between a property descriptor and JSON.
#include "model/json_path.h"

#include "model/kept_report.h"

#include <cmath>
#include <limits>

namespace {

// Paths are plain ASCII, which spares a conversion on each of the many look-ups of a report.
QLatin1String latin1(const std::string &component)
{
    return QLatin1String(component.data(), static_cast<int>(component.size()));
}

// The number as an int when it is one exactly. The range goes first: casting a double that
// doesn't fit is undefined.
QVariant whole_number(double number)
{
    constexpr double lowest = std::numeric_limits<int>::min();
    constexpr double highest = std::numeric_limits<int>::max();
    if (!(number >= lowest && number <= highest) || number != std::trunc(number))
        return {};
    return static_cast<int>(number);
}

// KEPT: any type, unchecked. Of a list or an object that would take more memory than the longest
// datagram only the type is kept: no choice is one, and it shows as no text either way.
QVariant choice_value(const QJsonValue &value)
{
    constexpr int most = 64 * 1024; // bytes
    if (parsed_weight(value, most) <= most)
        return value.toVariant();
    return value.isArray() ? QVariant(QVariantList()) : QVariant(QVariantMap());
}

// An object that its parent holds as well is copied with all its members when one is set: each is
// taken out of its parent on the way, and put back.
void set_member(QJsonObject &object, const std::vector<std::string> &path, size_t step,
                const QJsonValue &value)
{
    if (step + 1 == path.size()) {
        object.insert(latin1(path[step]), value);
        return;
    }
    QJsonValueRef member = object[latin1(path[step])];
    QJsonObject inner = member.toObject();
    member = QJsonValue();
    set_member(inner, path, step + 1, value);
    member = inner;
}

} // namespace

QJsonValue json_get_path(const QJsonObject &object, const std::vector<std::string> &path)
{
    if (path.empty())
        return QJsonValue(QJsonValue::Undefined);
    QJsonValue value = object.value(latin1(path.front()));
    for (size_t i = 1; i < path.size(); ++i)
        value = value.toObject().value(latin1(path[i]));
    return value;
}

JsonPathReader::JsonPathReader(const QJsonObject &object)
    : objects{object}
{
}

QJsonValue JsonPathReader::read(const std::vector<std::string> &path)
{
    if (path.empty())
        return QJsonValue(QJsonValue::Undefined);
    size_t shared = 0;
    while (shared < names.size() && shared + 1 < path.size() && names[shared] == path[shared])
        ++shared;
    names.resize(shared);
    objects.resize(shared + 1);
    for (size_t i = shared; i + 1 < path.size(); ++i) {
        objects.push_back(objects.back().value(latin1(path[i])).toObject());
        names.push_back(path[i]);
    }
    return objects.back().value(latin1(path.back()));
}

void json_set_path(QJsonObject &object, const std::vector<std::string> &path,
                   const QJsonValue &value)
{
    if (!path.empty())
        set_member(object, path, 0, value);
}

QVariant value_from_json(const QJsonObject &object, const PropertyDesc &desc)
{
    return value_from_json_value(json_get_path(object, desc.path), desc.kind);
}

QVariant value_from_json_value(const QJsonValue &value, PropertyKind kind)
{
    if (value.isUndefined() || value.isNull())
        return {};
    switch (kind) {
    case PROP_NONE:
    case PROP_DUMMY:
    case PROP_METER:
        return {};
    case PROP_TEXT:
    case PROP_IP:
    case PROP_FIRMWARE:
        return value.isString() ? QVariant(value.toString()) : QVariant();
    case PROP_BOOL:
        return value.isBool() ? QVariant(value.toBool()) : QVariant();
    case PROP_INT:
    case PROP_LOCK_STATUS:
        return value.isDouble() ? whole_number(value.toDouble()) : QVariant();
    case PROP_FLOAT:
        return value.isDouble() ? QVariant(value.toDouble()) : QVariant();
    case PROP_CHOICE:
        return choice_value(value);
    }
    return {};
}
