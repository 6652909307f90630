// Computes the response of one band and the curves that all bands sum up to.
#pragma once

#include "eq/curve_grid.h"
#include "eq/filter_design.h"

#include <QPointF>

#include <vector>

// One value per visible point.
struct Response
{
    std::vector<float> magnitude = {}; // |H|, plain ratio
    std::vector<float> phase = {};     // degrees
};

// The response of normalised coefficients at every visible point of a grid that is ready, as the
// plain complex arithmetic gives it to the last float, in a fraction of its time.
void compute_biquad_response(const Biquad &biquad, const CurveGrid &grid,
                             std::vector<float> &magnitude, std::vector<float> &phase);

// One point of it by the plain complex arithmetic. KEPT: z is e^(+jw), so phases have the opposite
// of the customary sign.
struct ResponsePoint
{
    float magnitude = 1.0F;
    float phase = 0.0F; // degrees
};
ResponsePoint plain_response(const Biquad &biquad, float cos_w, float sin_w);

// The view's summed curves in pixels, point i in column i.
struct CurveLines
{
    std::vector<QPointF> magnitude = {};
    std::vector<QPointF> phase = {};
};

// A band's lists, one value per visible point; lists of another length don't take part.
struct ResponseView
{
    const std::vector<float> *magnitude = nullptr;
    const std::vector<float> *phase = nullptr;
};

// Sums the bands: magnitudes multiply, phases add, in list order and in 32-bit floats. 0 dB lies in
// the middle row, 0 degrees at three quarters of the height. `lines` is overwritten in place.
void sum_curves(const CurveGrid &grid, const std::vector<ResponseView> &bands, CurveLines &lines);

// The outline of one band's own response in pixels, unlike the sum around the uncut middle.
std::vector<QPointF> response_outline(const CurveGrid &grid, const std::vector<float> &magnitude);

// The three points that close a non-empty outline to an area against 0 dB, in order.
std::vector<QPointF> response_closing(const CurveGrid &grid, const std::vector<QPointF> &outline);

// `row` where a painter can handle it: at most a few ten thousand pixels away, and `fallback` when
// it is no number. Rows of real settings come back unchanged.
float paintable_row(float row, float fallback);
