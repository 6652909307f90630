// Turns the mouse positions of a drag into new settings of a band.
#include "eq/drag_rules.h"

#include <cmath>

namespace {

constexpr double LOG10_OF_2 = 0.301029995;

} // namespace

float dragged_freq(const CurveGrid &grid, const DragStart &start, QPoint position)
{
    return start.freq + grid.x_to_freq(position.x()) - grid.x_to_freq(start.position.x());
}

float dragged_gain(const CurveGrid &grid, const DragStart &start, QPoint position)
{
    return start.gain + grid.y_to_db(position.y()) - grid.y_to_db(start.position.y());
}

float dragged_q(const CurveGrid &grid, const DragStart &start, float freq, QPoint position)
{
    const double pressed = grid.x_to_freq(start.position.x());
    const double pointed = grid.x_to_freq(position.x());
    const double square = freq * freq; // multiplied as floats, and rounded, before it is a double
    double low = 0.0;
    double high = 0.0;
    if (freq > pressed) {
        low = (start.low_edge + pointed) - pressed;
        high = square / low;
    } else {
        high = (start.high_edge + pointed) - pressed;
        low = square / high;
    }
    double octaves = std::log10(high / low) / LOG10_OF_2;
    if (octaves < 0.0)
        octaves = 0.0;
    return static_cast<float>(std::pow(2.0, octaves / 2.0) / (std::pow(2.0, octaves) - 1.0));
}

ReleaseResult after_release(int32_t drag_state, bool has_moved)
{
    // A click that pressed beside all handles ends, and so does a drag straight from the marker.
    const bool ends = (drag_state == 0 && !has_moved) || (drag_state == 2 && has_moved);
    return {.drag_state = ends ? 0 : 1, .ends = ends};
}
