// Damages datagrams in ways that a seed repeats: for runs without a fuzzing engine.
#pragma once

#include "simulator/random_source.h"

#include <QByteArray>

// One to eight damages: bits, bytes, lengths, doubled and missing parts, numbers, and words that
// the manager looks for. Whatever comes in, the result is at most 65,507 bytes, which is what fits
// into one datagram; in half of the cases it ends with a right checksum.
QByteArray damaged(const QByteArray &datagram, simulator::RandomSource &random);
