// The mouse half of the bands: which handle is held, and what a drag makes of it.
#include "eq/curve_grid.h"
#include "eq/filter.h"

#include <QMouseEvent>

#include <iterator>

namespace {

// What a filter class calls one of its handles.
struct Handle
{
    QRect rect = {};
    int32_t drag_state = 0;
};

template<size_t count>
int32_t first_hit(const Handle (&handles)[count], QPoint position)
{
    for (const Handle &handle : handles)
        if (handle.rect.contains(position))
            return handle.drag_state;
    return 0;
}

// Both classes release alike.
bool release(QMouseEvent *event, QPoint pressed, int32_t &drag_state)
{
    if (!event) {
        drag_state = 0;
        return true;
    }
    const ReleaseResult result = after_release(drag_state, event->pos() != pressed);
    drag_state = result.drag_state;
    return result.ends;
}

} // namespace

int32_t FilterPEQ::handle_at(QPoint position) const
{
    const Handle handles[] = {{.rect = center_rect, .drag_state = 3},
                              {.rect = low_rect, .drag_state = 4},
                              {.rect = high_rect, .drag_state = 4},
                              {.rect = freq_band, .drag_state = 5},
                              {.rect = gain_band, .drag_state = 6}};
    return first_hit(handles, position);
}

void FilterPEQ::mouse_press(QMouseEvent *event)
{
    drag_state = drag_state == 0 ? 2 : handle_at(event->pos());
    press_x = event->pos().x();
    press_y = event->pos().y();
    press_freq = freq;
    press_gain = gain;
    press_low_edge = low_edge;
    press_high_edge = high_edge;
}

DragStart FilterPEQ::drag_start() const
{
    return {.position = {press_x, press_y},
            .freq = press_freq,
            .gain = press_gain,
            .low_edge = press_low_edge,
            .high_edge = press_high_edge};
}

void FilterPEQ::mouse_move(QMouseEvent *event)
{
    if (drag_state < 2 || !grid)
        return;
    const DragStart start = drag_start();
    const QPoint position = event->pos();
    if (drag_state == 4)
        set_band(freq, dragged_q(*grid, start, freq, position), gain);
    else
        set_band(drag_state == 6 ? freq : dragged_freq(*grid, start, position), q,
                 drag_state == 5 ? gain : dragged_gain(*grid, start, position));
    notify_edited();
}

bool FilterPEQ::mouse_release(QMouseEvent *event)
{
    return release(event, {press_x, press_y}, drag_state);
}

int32_t FilterShelf::handle_at(QPoint position) const
{
    const Handle handles[] = {{.rect = center_rect, .drag_state = 3},
                              {.rect = freq_band, .drag_state = 4},
                              {.rect = gain_band, .drag_state = 5}};
    return first_hit(handles, position);
}

void FilterShelf::mouse_press(QMouseEvent *event)
{
    drag_state = drag_state == 0 ? 2 : handle_at(event->pos());
    press_x = event->pos().x();
    press_y = event->pos().y();
    press_freq = freq;
    press_gain = gain;
}

DragStart FilterShelf::drag_start() const
{
    return {.position = {press_x, press_y}, .freq = press_freq, .gain = press_gain};
}

void FilterShelf::mouse_move(QMouseEvent *event)
{
    if (drag_state < 2 || !grid)
        return;
    const DragStart start = drag_start();
    const QPoint position = event->pos();
    set_band(drag_state == 5 ? freq : dragged_freq(*grid, start, position), slope,
             drag_state == 4 ? gain : dragged_gain(*grid, start, position), high);
    notify_edited();
}

bool FilterShelf::mouse_release(QMouseEvent *event)
{
    return release(event, {press_x, press_y}, drag_state);
}
