// A realistic installation of any size: who stands where.
#pragma once

#include "simulator/device_plan.h"

#include <vector>

namespace simulator {

// Plans of `count` devices. The first ones are every product once; the one without a product comes
// last of these, as a new module does. Names are numbered per kind of place.
std::vector<DevicePlan> make_fleet_mix(int count);

// The AES67 sessions that every device of the installation hears.
QJsonArray usual_sessions();

} // namespace simulator
