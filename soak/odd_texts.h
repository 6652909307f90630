// Texts and values that an operator, or a device gone wrong, comes up with.
#pragma once

#include "simulator/random_source.h"

#include <QJsonValue>
#include <QString>

QString odd_text(RandomSource &random);

// Any type, rarely a fitting one.
QJsonValue odd_value(RandomSource &random);
