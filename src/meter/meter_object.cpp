// A device's levels: what it last said, and what the bars show.
#include "meter/meter_object.h"

#include <algorithm>

namespace {
// The device counts whole dB from 0 (silence) to 70 (full scale).
constexpr float FULL_SCALE = 70.0F;
// Per tick of 85 ms: 50 dB per second.
constexpr float FALL_PER_TICK = 4.25F;
// Only a level at or above this falls further.
constexpr float FALL_FLOOR = -69.0F;
} // namespace

void MeterObject::set_levels(const std::vector<float> &peaks,
                             const std::vector<bool> &overdrive_flags)
{
    // A device without channels that stays without leaves everything alone, overdrive included.
    if (levels.empty() && peaks.empty())
        return;

    levels = peaks;
    overdrive = overdrive_flags;
    for (float &level : levels)
        level -= FULL_SCALE;
    if (display_levels.size() != peaks.size())
        display_levels = levels;
}

void MeterObject::clear_levels()
{
    set_levels({}, {});
}

void MeterObject::tick()
{
    const size_t channels = std::min(levels.size(), display_levels.size());
    for (size_t i = 0; i < channels; ++i) {
        // KEPT: the floor is tested before the step and nothing is clamped: a bar may fall below
        // its level for one tick, and may come to rest as low as -73.25.
        if (levels[i] >= display_levels[i])
            display_levels[i] = levels[i];
        else if (display_levels[i] >= FALL_FLOOR)
            display_levels[i] -= FALL_PER_TICK;
    }
    emit onUpdate();
}
