// Makes the objects that the curve view shows from the bands that the panel's rows describe.
#pragma once

#include "eq/eq_rows.h"

#include <QList>

class Filter;

// One new object per band, without a grid; the caller owns them.
QList<Filter *> make_filters(const std::vector<EqBand> &bands);

// Whether both lists draw and drag alike: type names and exact parameters at each position. The
// numbers are not looked at, which stays so.
bool same_filters(const QList<Filter *> &left, const QList<Filter *> &right);
