// How the list's columns share its width.
#pragma once

#include <vector>

// What a column would like to have, in pixels.
struct ColumnNeed
{
    int caption = 0;
    int contents = 0; // of its widest cell
    int picture = 0;  // of that, what stands beside the text

    bool operator==(const ColumnNeed &) const = default;
};

// What a column keeps when there is little room, in pixels. Beside a picture a text keeps as much
// as a caption does.
struct LeastWidths
{
    int caption = 0;
    int contents = 0;
    int last = 0; // contents of the last column
};

// The widths of the columns that show, in the order in which they are seen. Where there is room,
// each has all that it needs, and the last one takes the rest. Where there is little, captions give
// way first, long contents next, each for the same share, and the last column's contents at the
// very end. Where even that does not fit, all are whole and their sum is larger than `room`.
std::vector<int> share_width(const std::vector<ColumnNeed> &needs, int room,
                             const LeastWidths &least);
