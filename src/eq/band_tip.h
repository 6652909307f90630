// The numbers of an equaliser's band as a tool tip tells them.
#pragma once

#include "gui/property_row.h"

#include <QString>

#include <functional>
#include <string>

// A panel's row by its key; null when there is none.
using RowByKey = std::function<const Property *(const std::string &key)>;

// "Frequency: 1000 Hz", "Gain: -3.5 dB" and "Q: 1.50", a line each, in the very texts of the rows
// of band `number`, which counts from 1. Rows that are missing are left out.
QString band_tip(int number, const RowByKey &row_by_key);
