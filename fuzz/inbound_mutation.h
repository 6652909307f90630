// Changes inputs of the inbound harness in ways that a seed repeats.
#pragma once

#include "simulator/random_source.h"

#include <QByteArray>

// One of the steps is damaged, doubled, left out or moved, or steps of `other` come in.
QByteArray changed_input(const QByteArray &input, const QByteArray &other,
                         simulator::RandomSource &random);
