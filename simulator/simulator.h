// The simulator as a program: command line, standard input and output, signals.
#pragma once

#include <QStringList>

namespace simulator {

// Runs the fleet that the command line asks for, inside a QCoreApplication's event loop. The result
// is the exit code: 0, 1 when the fleet could not start, 2 for a wrong command line.
int run_simulator(const QStringList &arguments);

} // namespace simulator
