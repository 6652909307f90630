// Reads the bands of the user equaliser from the panel's rows, and says what a drag writes back.
#pragma once

#include "eq/filter_design.h"

#include <QVariant>

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

// The numbers that devices use.
enum EqBandType : int
{
    EQ_NONE = 0,
    EQ_LSHELF = 1,
    EQ_PEQ = 2,
    EQ_PEQ2 = 3,
    EQ_HSHELF = 4,
};

struct EqBand
{
    int number = 0; // counted from 1, as in the panel's headings
    EqBandType type = EQ_NONE;
    FilterParams params = {}; // q limited to what the model takes
};

// A row's value by its key: nothing when there is no such row. A hidden row counts as a row.
using RowValues = std::function<std::optional<QVariant>(const std::string &key)>;

// The switch of the whole equaliser.
constexpr auto EQ_ENABLE_KEY = "dsp/eq_en";

// "dsp/eq0/freq" for index 0 and the name "freq".
std::string eq_row_key(int index, const char *name);

// The rows of band `number`, its heading first, in the order in which they stand.
std::vector<std::string> eq_band_keys(int number);

// The bands to draw, in order. A band whose rows can't all be read, that is disabled or of no known
// type is left out and keeps its number; the first missing row ends the list. None when the switch
// is off.
std::vector<EqBand> read_eq_bands(const RowValues &values);

// What an edit of band `number` writes, in order: freq as a whole number, q and gain as doubles of
// their floats, unrounded. A frequency beyond an int's range is brought to its end, NaN to 0.
std::vector<std::pair<std::string, QVariant>> eq_row_edits(int number, const FilterParams &params);
