// The frequency table and the pixel scales that all filters of one curve view share.
#pragma once

#include <cstdint>
#include <vector>

// What one frequency advances per sample at the devices' 96 kHz, in radians.
double angular_frequency(double freq);

struct CurveGrid
{
    float freq_min = 16.0F;    // Hz at the left edge
    float freq_max = 25000.0F; // Hz at the last visible point
    float db_range = 20.0F;    // dB from the middle of the view to its top
    bool ready = false;        // a filter computes nothing before `rebuild`
    int32_t font_size = 0;     // points, chosen by the last paint; filters size themselves by it
    // 2 * points entries each: the upper half lies beyond the right edge of the view.
    std::vector<float> freqs = {};
    std::vector<float> phi = {}; // 4 * sin(w/2)^2. KEPT: nothing reads it
    std::vector<float> sin_w = {};
    std::vector<float> cos_w = {};
    int32_t points = 0; // visible points, one per pixel column
    int32_t height = 0; // pixels
    float center_y = 0.0F;
    float px_per_db = 0.0F;
    float log_scale
        = 0.0F; // pixels per natural-log unit of the summed magnitude; doubled on purpose

    int32_t columns_per_stroke = 64; // a curve is stroked in slices of so many columns
    uint64_t responses_computed = 0; // counts Filter::compute_response on this grid, for tests

    // Computes all tables for a view of this many columns and rows; negative sizes count as 0.
    void rebuild(int new_points, int new_height);

    // The first column whose frequency is at least `f`: -1 left of the table, the table's last
    // index (beyond the right edge) when no entry reaches `f` or `f` is no number. -1 for an empty
    // table.
    int32_t freq_to_x(float f) const;
    // Hz of a column, limited to the visible ones; `freq_min` for an empty table.
    float x_to_freq(int x) const;
    // dB of a row, limited to the visible ones and cut towards 0 to a step of 0.1 dB.
    float y_to_db(int y) const;
    // The row of a gain in dB, cut to a whole row; far rows and no-numbers are brought in reach of
    // the painter (ROW_LIMIT, the middle).
    int32_t gain_to_row(float gain) const;
};

// Rows beyond this many pixels from the top are not told apart: integer geometry stays exact.
constexpr int32_t ROW_LIMIT = 1'000'000;

// `row` cut to a whole number within +/-ROW_LIMIT; `fallback` when it is no number.
int32_t row_to_int(float row, int32_t fallback);
