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

// Points are computed in blocks, each step for the whole block, so that the compiler can work on
// several points at once.
constexpr size_t BLOCK = 64;
using Block = std::array<double, BLOCK>;
using FloatBlock = std::array<float, BLOCK>;

// H is N / D; |N|^2, |D|^2 and N times the conjugate of D, which has the angle of H.
struct Products
{
    Block nn = {};
    Block dd = {};
    Block real = {};
    Block imaginary = {};
};

void multiply_out(const Biquad &biquad, const float *cos_w, const float *sin_w, Products &products)
{
    const auto [a0, a1, a2, b0, b1, b2] = biquad;
    for (size_t i = 0; i < BLOCK; ++i) {
        const double c = cos_w[i];
        const double s = sin_w[i];
        const double numerator_inner = b1 + c * b2;
        const double denominator_inner = a1 + c * a2;
        const double nr = b0 + (c * numerator_inner - s * (s * b2));
        const double ni = c * (s * b2) + s * numerator_inner;
        const double dr = 1.0 + (c * denominator_inner - s * (s * a2));
        const double di = c * (s * a2) + s * denominator_inner;
        products.nn[i] = nr * nr + ni * ni;
        products.dd[i] = dr * dr + di * di;
        products.real[i] = nr * dr + ni * di;
        products.imaginary[i] = ni * dr - nr * di;
    }
}

// atan2 for finite numbers that are not both 0, with an error below 1e-15 and, where the angle is
// small, a relative one of the same order. Angles above an eighth of the quarter turn are taken
// from the diagonal, so that the polynomial (fitted at Chebyshev nodes, error 2e-16) sees at most
// tan(pi/8).
double quick_atan2(double y, double x)
{
    const double ax = std::abs(x);
    const double ay = std::abs(y);
    const double larger = ax > ay ? ax : ay;
    const double smaller = ax > ay ? ay : ax;
    const bool is_near_diagonal = smaller > 0.41421356237309503 * larger;
    const double u = (is_near_diagonal ? smaller - larger : smaller)
        / (is_near_diagonal ? smaller + larger : larger);
    const double z = u * u;
    double p = 0.022750368263049773;
    p = p * z - 0.04483323023047655;
    p = p * z + 0.05736328645442031;
    p = p * z - 0.06649613121159346;
    p = p * z + 0.07691055104044237;
    p = p * z - 0.09090852554167844;
    p = p * z + 0.11111109636441327;
    p = p * z - 0.14285714266095184;
    p = p * z + 0.199999999998984;
    p = p * z - 0.3333333333333325;
    const double near_axis = (is_near_diagonal ? 0.25 * PI : 0.0) + (u + u * (z * p));
    const double first_quarter = ay > ax ? 0.5 * PI - near_axis : near_axis;
    return std::copysign(x < 0.0 ? PI - first_quarter : first_quarter, y);
}

// Results as floats, once with the error that they may have taken away and once with it added:
// where both are the same float, the plain arithmetic gives that float too. The margins are several
// times the errors of both ways together.
struct Bounds
{
    FloatBlock least_magnitude = {};
    FloatBlock most_magnitude = {};
    FloatBlock least_phase = {};
    FloatBlock most_phase = {};
};

void bound_results(const Products &products, Bounds &bounds)
{
    constexpr double MAGNITUDE_MARGIN = 1e-14; // relative
    constexpr double PHASE_MARGIN = 1e-12;     // degrees
    for (size_t i = 0; i < BLOCK; ++i) {
        const double magnitude = std::sqrt(products.nn[i] / products.dd[i]);
        bounds.least_magnitude[i] = static_cast<float>(magnitude * (1.0 - MAGNITUDE_MARGIN));
        bounds.most_magnitude[i] = static_cast<float>(magnitude * (1.0 + MAGNITUDE_MARGIN));
    }
    for (size_t i = 0; i < BLOCK; ++i) {
        const double phase = quick_atan2(products.imaginary[i], products.real[i]) * DEGREES;
        bounds.least_phase[i] = static_cast<float>(phase - PHASE_MARGIN);
        bounds.most_phase[i] = static_cast<float>(phase + PHASE_MARGIN);
    }
}

// Whether the square of a length is so far from overflow and underflow that quotients of two such
// are too.
bool is_tame(double square)
{
    return square > 1e-100 && square < 1e100;
}

// One block of results; the plain arithmetic stands in wherever the bounds leave a doubt.
void compute_block(const Biquad &biquad, const float *cos_w, const float *sin_w, float *magnitude,
                   float *phase)
{
    Products products;
    Bounds bounds;
    multiply_out(biquad, cos_w, sin_w, products);
    bound_results(products, bounds);
    for (size_t i = 0; i < BLOCK; ++i) {
        magnitude[i] = bounds.least_magnitude[i];
        phase[i] = bounds.least_phase[i];
        const bool is_sure = bounds.least_magnitude[i] == bounds.most_magnitude[i]
            && bounds.least_phase[i] == bounds.most_phase[i] && is_tame(products.nn[i])
            && is_tame(products.dd[i]);
        if (is_sure)
            continue;
        const ResponsePoint plain = plain_response(biquad, cos_w[i], sin_w[i]);
        magnitude[i] = plain.magnitude;
        phase[i] = plain.phase;
    }
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
    size_t i = 0;
    for (; i + BLOCK <= points; i += BLOCK)
        compute_block(biquad, &grid.cos_w[i], &grid.sin_w[i], &magnitude[i], &phase[i]);
    for (; i < points; ++i) {
        const ResponsePoint plain = plain_response(biquad, grid.cos_w[i], grid.sin_w[i]);
        magnitude[i] = plain.magnitude;
        phase[i] = plain.phase;
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
