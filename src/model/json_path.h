// The only bridge between a property descriptor and JSON.
#pragma once

#include "model/meta.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QVariant>

#include <string>
#include <vector>

// The value at `path` (outermost member first); undefined for an empty path or a missing member.
QJsonValue json_get_path(const QJsonObject &object, const std::vector<std::string> &path);

// Reads many paths of one object. Paths that come in the order of their keys share their outer
// objects, which are then looked up once.
class JsonPathReader
{
public:
    explicit JsonPathReader(const QJsonObject &object);

    // As json_get_path.
    QJsonValue read(const std::vector<std::string> &path);

private:
    std::vector<QJsonObject> objects; // one more than `names`; the first is the whole
    std::vector<std::string> names;   // the path to the last of them
};

// Stores `value` at `path`, making objects on the way; a member on the way that isn't an object is
// replaced by one. All other members stay. An empty path changes nothing.
void json_set_path(QJsonObject &object, const std::vector<std::string> &path,
                   const QJsonValue &value);

// The property's value as a variant of its kind's type, invalid when the JSON has none of the
// right type. Whole numbers must be exact and fit an int. PROP_CHOICE takes any type unchecked.
QVariant value_from_json(const QJsonObject &object, const PropertyDesc &desc);

// The same for the JSON value itself.
QVariant value_from_json_value(const QJsonValue &value, PropertyKind kind);
