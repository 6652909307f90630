// The filter designs: the usual audio biquads, at half strength.
#include "eq/filter_design.h"

#include "eq/curve_grid.h"

#include <cmath>

namespace {

constexpr double OCTAVES_PER_ASINH = 2.885390082;

void guard_and_normalize(Biquad &biquad)
{
    if (std::isnan(biquad.a2))
        biquad.reset_coefficients();
    biquad.normalize_coefficients();
}

// What the columns of both shelves are made of.
struct ShelfTerms
{
    double A = 0.0;
    double B = 0.0;
    double U = 0.0;
    double V = 0.0;
};

ShelfTerms shelf_terms(float freq, float slope, float gain)
{
    const double w = angular_frequency(freq);
    const double cw = std::cos(w);
    const double S = std::pow(10.0, -slope / 20.0);
    const double A = std::pow(10.0, gain * 0.25 / 20.0);
    const double alpha
        = 0.5 * std::sin(w) * std::sqrt((A + 1.0 / A) * (1.0 / (1.0 - S) - 1.0) + 2.0);
    return {.A = A, .B = 2.0 * std::sqrt(A) * alpha, .U = (A - 1.0) * cw, .V = (A + 1.0) * cw};
}

Biquad high_shelf(const ShelfTerms &terms)
{
    const auto [A, B, U, V] = terms;
    return {.a0 = (A + 1.0) - U + B,
            .a1 = 2.0 * ((A - 1.0) - V),
            .a2 = (A + 1.0) - U - B,
            .b0 = A * ((A + 1.0) + U + B),
            .b1 = -2.0 * A * ((A - 1.0) + V),
            .b2 = A * ((A + 1.0) + U - B)};
}

Biquad low_shelf(const ShelfTerms &terms)
{
    const double A = terms.A;
    const double B = terms.B;
    // KEPT: rounded to 32 bits, unlike the high shelf's: it shows at low frequencies.
    const double U = static_cast<float>(terms.U);
    const double V = static_cast<float>(terms.V);
    return {.a0 = (A + 1.0) + U + B,
            .a1 = -2.0 * ((A - 1.0) + V),
            .a2 = (A + 1.0) + U - B,
            .b0 = A * ((A + 1.0) - U + B),
            .b1 = 2.0 * A * ((A - 1.0) - V),
            .b2 = A * ((A + 1.0) - U - B)};
}

} // namespace

bool same_params(const FilterParams &left, const FilterParams &right)
{
    return left.freq == right.freq && left.q == right.q && left.gain == right.gain;
}

void Biquad::reset_coefficients()
{
    a0 = b0 = 1.0;
    a1 = a2 = b1 = b2 = 0.0;
}

void Biquad::normalize_coefficients()
{
    b0 /= a0;
    b1 /= a0;
    b2 /= a0;
    a1 /= a0;
    a2 /= a0;
    a0 = 1.0;
}

bool Biquad::is_identity() const
{
    return a0 == 1.0 && b0 == 1.0 && a1 == 0.0 && a2 == 0.0 && b1 == 0.0 && b2 == 0.0;
}

Biquad design_high_pass(float freq, float q)
{
    if (q == 0.0F)
        return {};
    const double w = angular_frequency(freq);
    const double cw = std::cos(w);
    const double alpha = std::sin(w) / (2.0 * q);
    Biquad biquad{.a0 = 1.0 + alpha,
                  .a1 = -2.0 * cw,
                  .a2 = 1.0 - alpha,
                  .b0 = 0.5 * (1.0 + cw),
                  .b1 = -(1.0 + cw),
                  .b2 = 0.5 * (1.0 + cw)};
    guard_and_normalize(biquad);
    return biquad;
}

Biquad design_peak(float freq, float q, float gain, bool variant)
{
    if (gain == 0.0F)
        return {};
    const double w = angular_frequency(freq);
    const double cw = std::cos(w);
    const double alpha = std::sin(w) / (2.0 * q);
    const double A = std::sqrt(std::pow(10.0, variant ? gain / 20.0 : gain * 0.5 / 20.0));
    // The second kind boosts in the numerator or cuts in the denominator, the first does both.
    const double above = variant && !(gain > 0.0F) ? alpha : alpha * A;
    const double below = variant && gain > 0.0F ? alpha : alpha / A;
    Biquad biquad{.a0 = 1.0 + below,
                  .a1 = -2.0 * cw,
                  .a2 = 1.0 - below,
                  .b0 = 1.0 + above,
                  .b1 = -2.0 * cw,
                  .b2 = 1.0 - above};
    guard_and_normalize(biquad);
    return biquad;
}

Biquad design_shelf(float freq, float slope, float gain, bool high)
{
    if (gain == 0.0F)
        return {};
    const ShelfTerms terms = shelf_terms(freq, slope, gain);
    Biquad biquad = high ? high_shelf(terms) : low_shelf(terms);
    guard_and_normalize(biquad);
    return biquad;
}

PeakWidth peak_width(float freq, float q)
{
    PeakWidth width;
    if (q <= 0.01) {
        width.q = 0.01F;
        width.bandwidth = 13.288F; // octaves: what the other branch would make of this q
    } else {
        const auto half_inverse = static_cast<float>(1.0 / (2.0 * q));
        width.q = q;
        width.bandwidth = static_cast<float>(OCTAVES_PER_ASINH * std::asinh(half_inverse));
    }
    width.low_edge = static_cast<float>(std::pow(2.0, -width.bandwidth / 2.0)) * freq;
    width.high_edge = static_cast<float>(std::pow(2.0, width.bandwidth / 2.0)) * freq;
    return width;
}
