// How a device answers a command.
#pragma once

#include "simulator/simulated_device.h"

#include <QJsonObject>

namespace simulator {

// Carries out a command and counts it. The result is the reply: the command and its "seq" as they
// came, the device's id, and "status" "ok", or "error" with an "error" text.
QJsonObject answer_command(SimulatedDevice &device, const QJsonObject &command);

// The reply to bytes that are no JSON object.
QJsonObject answer_garbage(const SimulatedDevice &device);

// The reply to a command that is larger than LARGEST_COMMAND.
QJsonObject answer_oversize(const SimulatedDevice &device, int size);

// Whether this object is another device's reply or report, which gets no answer: two fleets would
// talk to each other for ever.
bool is_from_device(const QJsonObject &object);

} // namespace simulator
