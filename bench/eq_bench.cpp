// What the equaliser's response, a drag step and a paint cost, as ratios to the plain way.
#include "bench_main.h"
#include "eq/curve_grid.h"
#include "eq/curve_widget.h"
#include "eq/filter.h"
#include "eq/filter_list.h"
#include "eq/filter_response.h"
#include "measure.h"

#include <QApplication>
#include <QMouseEvent>

#include <algorithm>
#include <cstdio>
#include <limits>
#include <vector>

namespace {

const std::vector<EqBand> BANDS{
    {.number = 1, .type = EQ_LSHELF, .params = {.freq = 100.0F, .q = 0.0F, .gain = 6.0F}},
    {.number = 2, .type = EQ_PEQ, .params = {.freq = 400.0F, .q = 2.0F, .gain = -9.0F}},
    {.number = 3, .type = EQ_PEQ, .params = {.freq = 1000.0F, .q = 0.7F, .gain = 9.0F}},
    {.number = 4, .type = EQ_PEQ2, .params = {.freq = 4000.0F, .q = 8.0F, .gain = -6.0F}},
    {.number = 5, .type = EQ_HSHELF, .params = {.freq = 8000.0F, .q = 0.0F, .gain = -4.0F}}};

int rounds = 7;

// The least of several measurements: what the machine's other work adds is left out.
template<typename Work>
double least_microseconds(int repeats, Work work)
{
    double least = std::numeric_limits<double>::infinity();
    for (int round = 0; round < rounds; ++round)
        least = std::min(least, cpu_microseconds(repeats, work));
    return least;
}

void plain_biquad_response(const Biquad &biquad, const CurveGrid &grid, Response &response)
{
    response.magnitude.clear();
    response.phase.clear();
    for (size_t i = 0; i < static_cast<size_t>(grid.points); ++i) {
        const ResponsePoint point = plain_response(biquad, grid.cos_w[i], grid.sin_w[i]);
        response.magnitude.push_back(point.magnitude);
        response.phase.push_back(point.phase);
    }
}

void measure_response()
{
    CurveGrid grid;
    grid.rebuild(2000, 500);
    std::vector<Biquad> biquads;
    QList<Filter *> filters = make_filters(BANDS);
    for (const Filter *filter : filters)
        biquads.push_back(*filter);
    qDeleteAll(filters);
    Response quick;
    Response plain;
    bool is_same = true;
    for (const Biquad &biquad : biquads) {
        compute_biquad_response(biquad, grid, quick.magnitude, quick.phase);
        plain_biquad_response(biquad, grid, plain);
        is_same = is_same && quick.magnitude == plain.magnitude && quick.phase == plain.phase;
    }
    const double plain_cost = least_microseconds(100, [&biquads, &grid, &plain] {
        for (const Biquad &biquad : biquads)
            plain_biquad_response(biquad, grid, plain);
    });
    const double quick_cost = least_microseconds(100, [&biquads, &grid, &quick] {
        for (const Biquad &biquad : biquads)
            compute_biquad_response(biquad, grid, quick.magnitude, quick.phase);
    });
    at_most_times("response of 5 bands over 2,000 points", quick_cost, "us", plain_cost,
                  "plain complex numbers", 0.6);
    must_hold("both responses are equal", is_same);
}

void send_mouse(CurveWidget &view, QEvent::Type type, QPoint position)
{
    const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
    QMouseEvent event(type, position, button, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(&view, &event);
}

// From a move of the mouse to the painted widget, the third band being dragged.
double drag_step_microseconds(CurveWidget &view, int columns_per_stroke)
{
    view.grid->columns_per_stroke = columns_per_stroke;
    const QPoint marker(view.filters.at(2)->marker_x, view.filters.at(2)->marker_y);
    send_mouse(view, QEvent::MouseButtonPress, marker);
    int step = 0;
    const double cost = least_microseconds(30, [&view, &step, marker] {
        ++step;
        send_mouse(view, QEvent::MouseMove, marker + QPoint(step % 40, step % 23));
        QCoreApplication::processEvents();
    });
    send_mouse(view, QEvent::MouseMove, marker);
    send_mouse(view, QEvent::MouseButtonRelease, marker + QPoint(1, 0));
    QCoreApplication::processEvents();
    return cost;
}

void measure_painting()
{
    CurveWidget view(nullptr, make_filters(BANDS));
    view.resize(1900, 500);
    view.set_has_curve(true);
    view.set_editable(true);
    view.show();
    QCoreApplication::processEvents();
    const int columns = CurveGrid().columns_per_stroke;
    const double one_stroke = drag_step_microseconds(view, std::numeric_limits<int>::max());
    const double sliced = drag_step_microseconds(view, columns);
    at_most_times("a drag step at 1900 x 500", sliced, "us", one_stroke, "one stroke per curve",
                  0.25);
    const double idle = least_microseconds(30, [&view] { view.repaint(); });
    view.grid->columns_per_stroke = std::numeric_limits<int>::max();
    const double plain = least_microseconds(30, [&view] { view.repaint(); });
    view.grid->columns_per_stroke = columns;
    at_most_times("paint of the idle view", idle, "us", plain, "one stroke per curve", 0.5);
    view.set_has_curve(false);
    const double blank = least_microseconds(30, [&view] { view.repaint(); });
    tell("paint of the background alone", blank, "us");
    const double refresh = least_microseconds(100, [&view] {
        const QList<Filter *> filters = make_filters(BANDS);
        static_cast<void>(same_filters(filters, view.filters));
        qDeleteAll(filters);
    });
    at_most("finding that a report changed no band", refresh, "us", 50);
}

} // namespace

int main(int argc, char **argv)
{
    return bench_main(argc, argv, [](bool is_short, const QStringList &) {
        if (is_short)
            rounds = 5;
        measure_response();
        measure_painting();
    });
}
