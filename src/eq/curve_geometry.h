// Pixel geometry of the curve view: sizes, handle shapes, hit order and the bubble's place.
#pragma once

#include <QPoint>
#include <QPointF>
#include <QRect>
#include <QSize>

#include <cstddef>
#include <cstdint>
#include <vector>

// Point size of the labels in a view of this size.
int curve_font_size(QSize size);

// The square marker of a band, in pixels, as it follows from the view's point size.
struct MarkerSize
{
    int half = 0;    // from the band's pixel to the left and upper side
    int even = 0;    // width and height
    int quarter = 0; // corner radius and half length of the cross
};
MarkerSize marker_size(int font_size);

// The hit circle reaches the corners of the marker; a whole number of pixels, cut.
int marker_hit_radius(int font_size);

// Half the width of the handle strips; always even.
int strip_half_width(int font_size);

// The marker's square around a band's pixel.
QRect marker_square(QPoint anchor, int font_size);

// Where a band's handles are drawn.
struct HandlePlace
{
    QPoint anchor = {}; // the band's pixel
    int low_column = 0; // of the width stubs, for a peak only
    int high_column = 0;
    int font_size = 0;
    int points = 0; // columns and rows of the view
    int height = 0;
};

// The outline of the strips, in drawing order: a cross, for a peak with a stub at each edge.
std::vector<QPoint> shelf_handles(const HandlePlace &place);
std::vector<QPoint> peak_handles(const HandlePlace &place);

// The rectangles that the parts of these shapes fill; corner to corner.
QRect gain_strip(const HandlePlace &place);
QRect freq_strip(const HandlePlace &place);
QRect width_stub(const HandlePlace &place, int column);

// A handle as the mouse feels it: 2 pixels more to the left and top, 3 to the right and bottom.
QRect with_hit_slack(const QRect &handle);

struct Marker
{
    int x = 0;
    int y = 0;
    int hit_radius = 0;
};

// The index of the marker under `position`, or -1. The first marker whose circle holds the position
// opens the search; after it the nearest wins whatever its radius, which stays so.
int nearest_marker(const std::vector<Marker> &markers, QPoint position);

// `count` (at least 1) points of ascending columns without those that a straight line between their
// neighbours passes within `tolerance` pixels, vertically. The first and the last stay.
std::vector<QPointF> thinned_line(const QPointF *points, size_t count, double tolerance);

// Which side of its anchor a bubble is on.
constexpr int32_t BUBBLE_BELOW = 1;
constexpr int32_t BUBBLE_LEFT = 2;

struct BubblePlace
{
    int32_t flags = 0; // for the next paint: a flipped bubble stays as long as there is room
    QPoint top_left = {};
};

// The place of a bubble of this size, margins included, beside an anchor in the painter's window.
BubblePlace place_bubble(const QRect &window, QSize bubble, QPoint anchor, int32_t flags);
