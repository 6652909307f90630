// Draws long curves in slices of pixel columns: the raster painter's time for one antialiased shape
// grows with the square of its columns.
#pragma once

#include <QPointF>

#include <vector>

class QPainter;

// Strokes a polyline whose point i lies in column i, with the painter's pen of at most 2 pixels.
// Each slice is clipped to whole pixel columns and drawn with a few points beyond them, so that the
// picture is that of one stroke: no seams, and a translucent pen covers nothing twice.
void stroke_columns(QPainter *painter, const std::vector<QPointF> &line, int columns_per_stroke);

// Fills the area between such a polyline, extended to the right by the first point of `closing`,
// and the base line that the last point of `closing` lies on, with the painter's brush.
void fill_columns(QPainter *painter, const std::vector<QPointF> &line,
                  const std::vector<QPointF> &closing, int columns_per_stroke);
