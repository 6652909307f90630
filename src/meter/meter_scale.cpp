// Where a meter's bars lie: the scale from dB to pixels, and the rectangles of one meter.
#include "meter/meter_scale.h"

namespace {
constexpr int FRAME_LINE = 1;
// Right minus left and bottom minus top edge of a meter of 50 by 20 pixels.
constexpr int FULL_SPAN_X = 49;
constexpr int FULL_SPAN_Y = 19;

struct Span
{
    int first = 0;
    int last = 0;
};

// The middle part of `first` to `last` (inclusive edges) that spans at most `full_span`.
Span centred_span(int first, int last, int full_span)
{
    const int span = last - first;
    const bool is_full = span >= full_span;
    const int offset = is_full ? full_span / 2 : span / 2;
    const int start = (first + last) / 2 - offset;
    return {.first = start, .last = start + (is_full ? full_span : span)};
}

// Scale value, 0 to 100.
float scale_value(float level)
{
    if (level < -70.0F)
        return 0.0F;
    if (level < -60.0F)
        return 0.25F * (level + 70.0F);
    if (level < -50.0F)
        return 2.5F + 0.5F * (level + 60.0F);
    if (level < -40.0F)
        return 7.5F + 0.75F * (level + 50.0F);
    if (level < -30.0F)
        return 15.0F + 1.5F * (level + 40.0F);
    if (level < -20.0F)
        return 30.0F + 2.0F * (level + 30.0F);
    if (level < 0.0F)
        return 50.0F + 2.5F * (level + 20.0F);
    return 100.0F;
}
} // namespace

float fill_fraction(float level)
{
    return scale_value(level) * 0.01F;
}

int filled_pixels(int width, float level)
{
    if (width < 1)
        return 0;
    return static_cast<int>(static_cast<float>(width) * fill_fraction(level));
}

QRect meter_box(const QRect &cell)
{
    const Span x = centred_span(cell.left(), cell.right(), FULL_SPAN_X);
    const Span y = centred_span(cell.top(), cell.bottom(), FULL_SPAN_Y);
    return {QPoint(x.first, y.first), QPoint(x.last, y.last)};
}

QRect meter_idle_rect(const QRect &frame)
{
    const QRect inside = frame.adjusted(FRAME_LINE, FRAME_LINE, -FRAME_LINE, -FRAME_LINE);
    // Smaller than the bars' space by one pixel each way: this stays.
    return inside.adjusted(0, 0, -1, -1);
}

QRect meter_bar_rect(const QRect &frame, int channels, int channel, float level)
{
    const QRect inside = frame.adjusted(FRAME_LINE, FRAME_LINE, -FRAME_LINE, -FRAME_LINE);
    const int row_height = inside.height() / channels;
    const int pixels = filled_pixels(inside.width(), level);
    if (row_height < 1 || pixels < 1)
        return {};
    return {inside.left(), inside.top() + row_height * channel, pixels, row_height};
}
