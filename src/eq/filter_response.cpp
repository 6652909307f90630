// Computes the response of one band and the curves that all bands sum up to.
#include "eq/filter_response.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <complex>
#include <cstddef>

namespace {

constexpr double PI = 3.141592653589793;
constexpr double DEGREES = 180.0 / PI;
constexpr float PAINT_LIMIT = 30000.0F; // the raster painter's own coordinates end at 32767

// The arc tangent of steps of 1/32 from 0 to 1.
constexpr int ARC_STEPS = 32;
const std::array<double, ARC_STEPS + 1> arc_table = [] {
    std::array<double, ARC_STEPS + 1> table{};
    for (size_t i = 0; i < table.size(); ++i)
        table[i] = std::atan(static_cast<double>(i) / ARC_STEPS);
    return table;
}();

// atan2 for finite numbers that are not both 0, with an absolute error below 1e-15 and, where the
// angle is small, a relative one of the same order. The angle to the nearest table entry is at most
// 1/64, so that six terms of the series are exact to the last bit.
double fast_atan2(double y, double x)
{
    const double ax = std::abs(x);
    const double ay = std::abs(y);
    const double larger = std::max(ax, ay);
    const double smaller = std::min(ax, ay);
    const auto step = static_cast<int>(smaller / larger * ARC_STEPS + 0.5);
    const double tangent = step * (1.0 / ARC_STEPS);
    const double u = (smaller - tangent * larger) / (larger + tangent * smaller);
    const double uu = u * u;
    const double series
        = uu * (-1.0 / 3 + uu * (1.0 / 5 + uu * (-1.0 / 7 + uu * (1.0 / 9 - uu * (1.0 / 11)))));
    double angle = arc_table[static_cast<size_t>(step)] + (u + u * series);
    if (ay > ax)
        angle = 0.5 * PI - angle;
    if (x < 0.0)
        angle = PI - angle;
    return y < 0.0 ? -angle : angle;
}

// Whether `value` is so far from the border between two floats that an error of `margin` can't move
// it across. False for a NaN.
bool rounds_surely(double value, double margin)
{
    return static_cast<float>(value - margin) == static_cast<float>(value + margin);
}

// The plain arithmetic spends its time in a scaled complex division, hypot and atan2. This one goes
// without them; it errs in the last bits of a double, and says so by `is_sure` where these bits
// could reach the float. The margins are four times the sum of both ways' errors.
struct FastPoint
{
    ResponsePoint point = {};
    bool is_sure = false;
};

FastPoint fast_response(const Biquad &biquad, double c, double s)
{
    const double numerator_inner = biquad.b1 + c * biquad.b2;
    const double denominator_inner = biquad.a1 + c * biquad.a2;
    const double nr = biquad.b0 + (c * numerator_inner - s * (s * biquad.b2));
    const double ni = c * (s * biquad.b2) + s * numerator_inner;
    const double dr = 1.0 + (c * denominator_inner - s * (s * biquad.a2));
    const double di = c * (s * biquad.a2) + s * denominator_inner;
    const double nn = nr * nr + ni * ni;
    const double dd = dr * dr + di * di;
    const auto is_tame = [](double square) { return square > 1e-100 && square < 1e100; };
    if (!is_tame(nn) || !is_tame(dd))
        return {};
    const double magnitude = std::sqrt(nn / dd);
    const double phase = fast_atan2(ni * dr - nr * di, nr * dr + ni * di) * DEGREES;
    return {.point
            = {.magnitude = static_cast<float>(magnitude), .phase = static_cast<float>(phase)},
            .is_sure = rounds_surely(magnitude, 1e-14 * magnitude) && rounds_surely(phase, 1e-12)};
}

} // namespace

ResponsePoint plain_response(const Biquad &biquad, float cos_w, float sin_w)
{
    const std::complex<double> z(cos_w, sin_w);
    const std::complex<double> h
        = (biquad.b0 + z * (biquad.b1 + z * biquad.b2)) / (1.0 + z * (biquad.a1 + z * biquad.a2));
    return {.magnitude = static_cast<float>(std::abs(h)),
            .phase = static_cast<float>(std::atan2(h.imag(), h.real()) * 180.0 / PI)};
}

void compute_biquad_response(const Biquad &biquad, const CurveGrid &grid,
                             std::vector<float> &magnitude, std::vector<float> &phase)
{
    const auto points = static_cast<size_t>(grid.points);
    magnitude.assign(points, 1.0F);
    phase.assign(points, 0.0F);
    if (biquad.is_identity())
        return;
    for (size_t i = 0; i < points; ++i) {
        const FastPoint fast = fast_response(biquad, grid.cos_w[i], grid.sin_w[i]);
        const ResponsePoint point
            = fast.is_sure ? fast.point : plain_response(biquad, grid.cos_w[i], grid.sin_w[i]);
        magnitude[i] = point.magnitude;
        phase[i] = point.phase;
    }
}

float paintable_row(float row, float fallback)
{
    return std::isnan(row) ? fallback : std::clamp(row, -PAINT_LIMIT, PAINT_LIMIT);
}

void sum_curves(const CurveGrid &grid, const std::vector<ResponseView> &bands, CurveLines &lines)
{
    const auto h = static_cast<float>(grid.height);
    const int center = static_cast<int>(grid.center_y);
    const auto center_row = static_cast<float>(center);
    const auto phase_scale = static_cast<float>(h * 0.5 / 360.0);
    const auto phase_base = static_cast<float>((h - 1.0) - center * 0.5);
    const auto takes_part = [points = static_cast<size_t>(grid.points)](const ResponseView &band) {
        return band.magnitude->size() == points && band.phase->size() == points;
    };
    std::vector<ResponseView> complete;
    std::copy_if(bands.begin(), bands.end(), std::back_inserter(complete), takes_part);

    lines.magnitude.resize(static_cast<size_t>(grid.points));
    lines.phase.resize(static_cast<size_t>(grid.points));
    QPointF *magnitude_point = lines.magnitude.data();
    QPointF *phase_point = lines.phase.data();
    for (size_t i = 0; i < static_cast<size_t>(grid.points); ++i) {
        float m = 1.0F;
        float p = 0.0F;
        for (const ResponseView &band : complete) {
            m *= (*band.magnitude)[i];
            p += (*band.phase)[i];
        }
        const auto x = static_cast<double>(i);
        const float magnitude_row = center_row - std::log(m) * grid.log_scale;
        const float phase_row = p * phase_scale + phase_base;
        *magnitude_point++ = {x, paintable_row(magnitude_row, center_row)};
        *phase_point++ = {x, paintable_row(phase_row, phase_base)};
    }
}

std::vector<QPointF> response_outline(const CurveGrid &grid, const std::vector<float> &magnitude)
{
    std::vector<QPointF> outline;
    outline.reserve(magnitude.size());
    for (const float ratio : magnitude) {
        const float row = grid.center_y - std::log(ratio) * grid.log_scale;
        outline.push_back({static_cast<double>(outline.size()), paintable_row(row, grid.center_y)});
    }
    return outline;
}

std::vector<QPointF> response_closing(const CurveGrid &grid, const std::vector<QPointF> &outline)
{
    const double right = grid.points;
    const double first_row = outline.front().y();
    const QPointF end
        = grid.height > first_row ? QPointF(0.0, grid.center_y) : QPointF(right, first_row);
    return {{right, outline.back().y()}, {right, grid.center_y}, end};
}
