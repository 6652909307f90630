// Believable values for the properties of a product.
#pragma once

#include "simulator/device_plan.h"
#include "simulator/random_source.h"

#include <QJsonArray>
#include <QJsonObject>

namespace simulator {

// Writes a value of the right type for every property of the plan's product (pseudo rows have
// none) into `state`. A property that is already there keeps its value.
void write_property_values(QJsonObject &state, const DevicePlan &plan, const QJsonArray &sessions,
                           RandomSource &random);

} // namespace simulator
