// Computes the frequency table and converts between pixels, Hz and dB.
#include "eq/curve_grid.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace {

constexpr double SAMPLE_RATE = 96000.0;
constexpr double TWO_PI = 6.283185307179586;
constexpr double DB_PER_LOG_UNIT = 8.685889638;

} // namespace

double angular_frequency(double freq)
{
    return freq * TWO_PI / SAMPLE_RATE;
}

int32_t row_to_int(float row, int32_t fallback)
{
    if (std::isnan(row))
        return fallback;
    const float limit = ROW_LIMIT;
    return static_cast<int32_t>(std::clamp(row, -limit, limit));
}

void CurveGrid::rebuild(int new_points, int new_height)
{
    points = std::max(new_points, 0);
    height = std::max(new_height, 0);
    center_y = 0.5F * static_cast<float>(height);
    px_per_db = static_cast<float>(height / (2.0 * db_range));
    // KEPT: filters are designed for half their gain in dB; the 2 makes up for it. Neither goes
    // alone.
    log_scale = static_cast<float>(2.0 * (px_per_db * DB_PER_LOG_UNIT));

    for (std::vector<float> *table : {&phi, &sin_w, &cos_w, &freqs}) {
        table->clear();
        table->reserve(2 * static_cast<size_t>(points));
    }
    const float ratio = std::exp(std::log(freq_max / freq_min) / static_cast<float>(points - 1));
    float f = freq_min;
    for (int32_t i = 0; i < 2 * points; ++i) {
        const double w = angular_frequency(f);
        const double half_sine = std::sin(0.5 * w);
        phi.push_back(static_cast<float>(4.0 * (half_sine * half_sine)));
        freqs.push_back(f);
        const auto rounded_w = static_cast<float>(w);
        sin_w.push_back(std::sin(rounded_w));
        cos_w.push_back(std::cos(rounded_w));
        f *= ratio; // the running product, with its rounding, is the table's definition
    }
    ready = true;
}

int32_t CurveGrid::freq_to_x(float f) const
{
    if (freqs.empty() || freqs.front() > f)
        return -1;
    // The table ascends, so halving finds the entry that a walk from the left would.
    const auto below = [f](float entry) { return !(entry >= f); };
    const auto found = std::partition_point(freqs.begin(), freqs.end(), below);
    if (found == freqs.end())
        return static_cast<int32_t>(freqs.size()) - 1;
    return static_cast<int32_t>(found - freqs.begin());
}

float CurveGrid::x_to_freq(int x) const
{
    if (points == 0)
        return freq_min;
    return freqs[static_cast<size_t>(std::clamp(x, 0, points - 1))];
}

float CurveGrid::y_to_db(int y) const
{
    if (height == 0)
        return 0.0F;
    const auto row = static_cast<float>(std::clamp(y, 0, height - 1));
    return std::trunc(-(row - center_y) / px_per_db * 10.0F) / 10.0F;
}

int32_t CurveGrid::gain_to_row(float gain) const
{
    return row_to_int(center_y - gain * px_per_db, static_cast<int32_t>(center_y));
}
