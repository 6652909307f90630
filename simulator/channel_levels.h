// Moving, plausible peak levels of a device's channels.
#pragma once

#include "simulator/random_source.h"

#include <vector>

namespace simulator {

class ChannelLevels
{
public:
    // `means` are 0 to 70 per channel; the last one stands for all further channels, and channels
    // without any are drawn.
    ChannelLevels(int channels, const std::vector<int> &means, RandomSource &random);

    // The next frame: each peak drifts around its mean, jumps with the beat, and now and then
    // touches 70, which is overdrive.
    void step(RandomSource &random);

    std::vector<int> peaks = {};     // 0 to 70
    std::vector<int> overdrive = {}; // 0 or 1

private:
    std::vector<int> means = {};
};

} // namespace simulator
