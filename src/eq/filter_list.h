// Makes the objects that the curve view shows from the bands that the panel's rows describe.
#pragma once

#include "eq/eq_rows.h"

#include <QList>

class Filter;

// One new object per band, without a grid; the caller owns them.
QList<Filter *> make_filters(const std::vector<EqBand> &bands);

// Whether both lists draw and drag alike: numbers, type names and exact parameters at each
// position. A drag writes to the rows of its band's number: equal bands of other numbers are
// others.
bool same_filters(const QList<Filter *> &left, const QList<Filter *> &right);
