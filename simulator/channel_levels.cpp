// Moving, plausible peak levels of a device's channels.
#include "simulator/channel_levels.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr int LOUDEST = 70;

int drawn_mean(RandomSource &random)
{
    return random.happens(12) ? random.between(0, 8) : random.between(34, 56);
}

} // namespace

ChannelLevels::ChannelLevels(int channels, const std::vector<int> &wanted, RandomSource &random)
{
    for (int i = 0; i < channels; ++i) {
        const auto index = std::min(static_cast<size_t>(i), wanted.size() - 1);
        means.push_back(wanted.empty() ? drawn_mean(random) : wanted[index]);
    }
    peaks = means;
    overdrive.assign(means.size(), 0);
}

void ChannelLevels::step(RandomSource &random)
{
    for (size_t i = 0; i < peaks.size(); ++i) {
        const int drift = (means[i] - peaks[i]) / 3 + random.between(-5, 5);
        const bool is_beat = means[i] > 20 && random.happens(6);
        peaks[i] = std::clamp(peaks[i] + drift + (is_beat ? 12 : 0), 0, LOUDEST);
        overdrive[i] = peaks[i] == LOUDEST ? 1 : 0;
    }
}

} // namespace simulator
