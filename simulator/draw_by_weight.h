// Draws a row of a table by its weight.
#pragma once

#include "simulator/random_source.h"

#include <cstddef>

namespace simulator {

// A row has an int `weight`, at least 0; at least one row has more.
template<typename Rows>
const auto &draw_by_weight(const Rows &rows, RandomSource &random)
{
    int total = 0;
    for (const auto &row : rows)
        total += row.weight;
    int draw = random.below(total);
    size_t place = 0;
    while (draw >= rows[place].weight)
        draw -= rows[place++].weight;
    return rows[place];
}

} // namespace simulator
