// Faults and interventions that concern one device alone, as they are asked for in JSON.
#pragma once

#include "simulator/member_reader.h"
#include "simulator/simulated_device.h"

#include <QString>

namespace simulator {

// Whether `name` is one of the faults below.
bool is_device_fault(const QString &name);

// Switches the fault of this name; its members are read from `request`, where "fault", "device",
// "after" and "id" are allowed as well. The result is what is wrong with the request, in which case
// nothing has changed; empty when all is well.
QString apply_device_fault(SimulatedDevice &device, const QString &name, MemberReader &request);

} // namespace simulator
