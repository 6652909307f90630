// Where a meter's bars lie: the scale from dB to pixels, and the rectangles of one meter.
#pragma once

#include <QRect>

// Filled part of a bar, 0 to 1, for a level in dB: the piecewise scale of IEC 60268-18, 0 below
// -70 dB and exactly 1 from 0 dB on. All steps in 32-bit floats.
float fill_fraction(float level);

// Whole pixels of a bar `width` pixels wide that are filled at `level` dB, rounded down; 0 for a
// width below 1.
int filled_pixels(int width, float level);

// The meter's frame in a list cell: centred, at most 50 by 20 pixels, as small as the cell.
QRect meter_box(const QRect &cell);

// What fills a meter without channels, in the coordinates of its frame's rectangle: one pixel
// less each way than the bars may take.
QRect meter_idle_rect(const QRect &frame);

// The bar of `channel` out of `channels` (at least 1), in the coordinates of its frame's
// rectangle; an empty rectangle when there is nothing to draw. Bars share the height evenly and
// leave a remainder free at the bottom; with more channels than rows all of them are empty.
QRect meter_bar_rect(const QRect &frame, int channels, int channel, float level);
