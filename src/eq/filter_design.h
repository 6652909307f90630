// Derives biquad coefficients from what a band is set to.
#pragma once

struct FilterParams
{
    float freq = 0.0F; // Hz
    float q = 0.0F;
    float gain = 0.0F; // dB, nominal: as the summed curve shows it
};

// Exactly equal in all three; a NaN differs from everything, itself included.
bool same_params(const FilterParams &left, const FilterParams &right);

struct Biquad
{
    double a0 = 1.0;
    double a1 = 0.0;
    double a2 = 0.0;
    double b0 = 1.0;
    double b1 = 0.0;
    double b2 = 0.0;

    // Back to the identity.
    void reset_coefficients();
    // Divides all by a0.
    void normalize_coefficients();
    bool is_identity() const;
};

// All designs are made for half the nominal gain in dB (the summed curve counts every dB twice) and
// come back normalised. Whatever gives a NaN a2 is the identity. No range is checked.

// Identity for a q of exactly 0.
Biquad design_high_pass(float freq, float q);

// Identity for a gain of exactly 0. `variant` is the second kind, whose boost and cut are not
// mirror images.
Biquad design_peak(float freq, float q, float gain, bool variant);

// Identity for a gain of exactly 0. `slope` in dB per octave.
Biquad design_shelf(float freq, float slope, float gain, bool high);

struct PeakWidth
{
    float q = 0.0F;
    float bandwidth = 0.0F; // octaves
    float low_edge = 0.0F;  // Hz
    float high_edge = 0.0F; // Hz
};

// The width of a peak; a q at or below 0.01 becomes 0.01.
PeakWidth peak_width(float freq, float q);
