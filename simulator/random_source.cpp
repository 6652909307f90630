// Random numbers that a seed makes repeatable (the SplitMix64 generator).
#include "simulator/random_source.h"

namespace simulator {

uint64_t RandomSource::next()
{
    state += 0x9E3779B97F4A7C15U;
    uint64_t mixed = state;
    mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
    mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
    return mixed ^ (mixed >> 31U);
}

int RandomSource::below(int limit)
{
    if (limit < 1)
        return 0;
    return static_cast<int>(next() % static_cast<uint64_t>(limit));
}

int RandomSource::between(int lowest, int highest)
{
    return lowest + below(highest - lowest + 1);
}

bool RandomSource::happens(double percent)
{
    if (percent <= 0)
        return false;
    return below(1'000'000) < percent * 10'000;
}

} // namespace simulator
