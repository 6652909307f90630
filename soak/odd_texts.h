// Texts and values that an operator, or a device gone wrong, comes up with.
#pragma once

#include "simulator/random_source.h"

#include <QJsonValue>
#include <QString>

QString odd_text(simulator::RandomSource &random);

// Any type, rarely a fitting one.
QJsonValue odd_value(simulator::RandomSource &random);
