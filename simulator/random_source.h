// Random numbers that a seed makes repeatable; eight bytes, so that every device has its own.
#pragma once

#include <cstdint>

namespace simulator {

class RandomSource
{
public:
    explicit RandomSource(uint64_t seed = 0)
        : state(seed)
    {
    }

    uint64_t next();
    // 0 to limit - 1; 0 when `limit` is below 1.
    int below(int limit);
    // Both ends included.
    int between(int lowest, int highest);
    // True in `percent` of 100 calls; never at 0, always at 100.
    bool happens(double percent);

private:
    uint64_t state;
};

} // namespace simulator
