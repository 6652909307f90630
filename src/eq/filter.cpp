// The model half of the bands: parameters, coefficients, response.
#include "eq/filter.h"

#include "eq/curve_grid.h"
#include "eq/curve_widget.h"
#include "eq/filter_response.h"

Filter::Filter(int32_t band_number, CurveGrid *curve_grid)
    : number(band_number)
    , grid(curve_grid)
{
}

Filter::~Filter() = default;

void Filter::draw_handles(QPainter *)
{
}

void Filter::mouse_press(QMouseEvent *)
{
}

void Filter::mouse_move(QMouseEvent *)
{
}

bool Filter::mouse_release(QMouseEvent *)
{
    return true;
}

void Filter::set_variant(bool second_kind)
{
    variant = second_kind;
}

void Filter::compute_response()
{
    magnitude.clear();
    phase.clear();
    if (!grid || !grid->ready)
        return;
    ++grid->responses_computed;
    compute_biquad_response(enabled ? *this : Biquad(), *grid, magnitude, phase);
}

void Filter::notify_edited()
{
    if (widget)
        emit widget->on_filter_edited(this);
}

void Filter::take_coefficients(const Biquad &biquad)
{
    static_cast<Biquad &>(*this) = biquad;
}

FilterHPF::FilterHPF(int32_t band_number, CurveGrid *curve_grid)
    : Filter(band_number, curve_grid)
{
    name = "HPF";
}

void FilterHPF::set_band(float new_freq, float new_q)
{
    freq = new_freq;
    q = new_q;
    take_coefficients(design_high_pass(freq, q));
    compute_response();
}

void FilterHPF::set_params(const FilterParams &params)
{
    set_band(params.freq, params.q);
}

void FilterHPF::get_params(FilterParams &params) const
{
    params = {.freq = freq, .q = q, .gain = 0.0F};
}

QString FilterHPF::type_name() const
{
    return "hpf";
}

FilterPEQ::FilterPEQ(int32_t band_number, CurveGrid *curve_grid)
    : Filter(band_number, curve_grid)
{
    name = "PEQ";
}

void FilterPEQ::set_band(float new_freq, float new_q, float new_gain)
{
    const PeakWidth width = peak_width(new_freq, new_q);
    q = width.q;
    bandwidth = width.bandwidth;
    freq = new_freq;
    gain = new_gain;
    low_edge = width.low_edge;
    high_edge = width.high_edge;
    take_coefficients(design_peak(freq, q, gain, variant));
    compute_response();
}

void FilterPEQ::set_params(const FilterParams &params)
{
    set_band(params.freq, params.q, params.gain);
}

void FilterPEQ::get_params(FilterParams &params) const
{
    params = {.freq = freq, .q = q, .gain = gain};
}

QString FilterPEQ::type_name() const
{
    return variant ? "peq2" : "peq";
}

FilterShelf::FilterShelf(int32_t band_number, bool is_high)
    : Filter(band_number, nullptr)
    , high(is_high)
{
    name = "SHELF";
}

void FilterShelf::set_band(float new_freq, float new_slope, float new_gain, bool is_high)
{
    freq = new_freq;
    slope = new_slope;
    gain = new_gain;
    high = is_high;
    take_coefficients(design_shelf(freq, slope, gain, high));
    compute_response();
}

void FilterShelf::set_params(const FilterParams &params)
{
    set_band(params.freq, slope, params.gain, high);
}

void FilterShelf::get_params(FilterParams &params) const
{
    params = {.freq = freq, .q = 0.0F, .gain = gain};
}

QString FilterShelf::type_name() const
{
    return high ? "hshelf" : "lshelf";
}
