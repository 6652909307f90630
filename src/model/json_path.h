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

// Stores `value` at `path`, making objects on the way; a member on the way that isn't an object is
// replaced by one. All other members stay. An empty path changes nothing.
void json_set_path(QJsonObject &object, const std::vector<std::string> &path,
                   const QJsonValue &value);

// The property's value as a variant of its kind's type, invalid when the JSON has none of the
// right type. Whole numbers must be exact and fit an int. PROP_CHOICE takes any type unchecked.
QVariant value_from_json(const QJsonObject &object, const PropertyDesc &desc);
