// Turns the mouse positions of a drag into new settings of a band.
#pragma once

#include "eq/curve_grid.h"

#include <QPoint>

#include <cstdint>

// Where a drag began and what the band was set to then.
struct DragStart
{
    QPoint position = {};
    float freq = 0.0F; // Hz
    float gain = 0.0F; // dB
    float low_edge = 0.0F;
    float high_edge = 0.0F;
};

// Relative to the press, the frequency in Hz and not in columns; nothing is limited.
float dragged_freq(const CurveGrid &grid, const DragStart &start, QPoint position);
float dragged_gain(const CurveGrid &grid, const DragStart &start, QPoint position);

// The quality of a peak at `freq` whose edge is dragged to `position`. The other edge mirrors it;
// KEPT: which one is held follows from the side of the press alone. Infinite where the edges meet
// or cross, NaN where the dragged edge is at 0.
float dragged_q(const CurveGrid &grid, const DragStart &start, float freq, QPoint position);

struct ReleaseResult
{
    int32_t drag_state = 0; // what the band goes on with
    bool ends = true;       // the band is no longer the active one
};

// What a release of the button makes of a band in `drag_state`.
ReleaseResult after_release(int32_t drag_state, bool has_moved);
