// A curve view with bands, and its picture.
#pragma once

#include "eq/curve_widget.h"
#include "eq/filter_list.h"
#include "support/test_parts.h"

#include <QImage>

inline const std::vector<EqBand> BANDS{{1, EQ_LSHELF, {.freq = 100.0F, .q = 0.0F, .gain = 6.0F}},
                                       {2, EQ_PEQ, {.freq = 400.0F, .q = 2.0F, .gain = -9.0F}},
                                       {3, EQ_PEQ, {.freq = 1000.0F, .q = 0.7F, .gain = 9.0F}},
                                       {4, EQ_PEQ2, {.freq = 4000.0F, .q = 8.0F, .gain = -6.0F}},
                                       {5, EQ_HSHELF, {.freq = 8000.0F, .q = 0.0F, .gain = -4.0F}}};

inline void set_up(CurveWidget &view, QSize size)
{
    view.resize(size);
    view.set_has_curve(true);
}

inline QImage picture(CurveWidget &view)
{
    return view.grab().toImage().convertToFormat(QImage::Format_RGB32);
}
