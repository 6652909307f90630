// Turns a rate into whole numbers of things to do now, without drift.
#pragma once

#include <algorithm>

namespace simulator {

struct Pace
{
    double credit = 0;

    // How many are due after `seconds` more at `rate` per second. Of a stall at most a fifth of a
    // second is caught up.
    int due(double rate, double seconds)
    {
        credit = std::min(credit + rate * seconds, std::max(rate * 0.2, 1.0));
        const int whole = static_cast<int>(credit);
        credit -= whole;
        return whole;
    }
};

} // namespace simulator
