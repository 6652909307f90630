// Fleet files: what devices there are, in JSON.
#pragma once

#include "simulator/device_plan.h"

#include <QByteArray>
#include <QString>

#include <vector>

namespace simulator {

struct FleetFile
{
    std::vector<DevicePlan> plans = {};
    QString error = {}; // what is wrong and where; empty when all is well
};

// Reads the text of a fleet file: an object with the list "devices" and, optionally, "sessions" for
// devices that list none. docs/simulator.md has the members of a device.
FleetFile parse_fleet(const QByteArray &text);

// Reads a file. The error names it.
FleetFile load_fleet(const QString &path);

} // namespace simulator
