// The curve view's state and mouse; its painting is in curve_paint.cpp.
#include "eq/curve_widget.h"

#include "eq/curve_geometry.h"
#include "eq/filter.h"

#include <QElapsedTimer>
#include <QMessageBox>
#include <QMouseEvent>
#include <QResizeEvent>

namespace {

constexpr int FIRST_HINT_CLICK = 3;
constexpr int CLICKS_AFTER_HINT = -2;

} // namespace

CurveWidget::CurveWidget(QWidget *parent, const QList<Filter *> &new_filters)
    : QWidget(parent)
    , grid(std::make_unique<CurveGrid>())
{
    setAttribute(Qt::WA_OpaquePaintEvent); // every paint begins by blackening all of it
    set_filters(new_filters);
    setAttribute(Qt::WA_MouseTracking); // hovering needs no pressed button
}

CurveWidget::~CurveWidget()
{
    set_filters({});
}

void CurveWidget::set_has_curve(bool shows_curve)
{
    if (has_curve == shows_curve)
        return;
    has_curve = shows_curve;
    update();
}

void CurveWidget::set_editable(bool is_editable)
{
    if (!is_editable)
        mouseReleaseEvent(nullptr);
    editable = is_editable;
}

void CurveWidget::set_filters(const QList<Filter *> &new_filters)
{
    qDeleteAll(filters);
    filters = new_filters;
    for (Filter *filter : qAsConst(filters)) {
        filter->widget = this;
        filter->grid = grid.get();
    }
    hover_index = -1;
    active_index = -1;
    for (Filter *filter : qAsConst(filters))
        filter->compute_response();
    update_curves();
    update();
}

void CurveWidget::update_curves()
{
    std::vector<ResponseView> bands;
    for (const Filter *filter : qAsConst(filters))
        bands.push_back({.magnitude = &filter->magnitude, .phase = &filter->phase});
    sum_curves(*grid, bands, next_lines);
    lines = next_lines;
}

void CurveWidget::resizeEvent(QResizeEvent *event)
{
    QElapsedTimer timer;
    timer.start();
    QWidget::resizeEvent(event);
    grid_picture = {};
    grid->rebuild(event->size().width(), event->size().height());
    for (Filter *filter : qAsConst(filters))
        filter->compute_response();
    update_curves();
    static_cast<void>(timer.elapsed()); // measured for who debugs; nothing goes by it
}

void CurveWidget::hover_at(QPoint position)
{
    std::vector<Marker> markers;
    for (const Filter *filter : qAsConst(filters))
        markers.push_back(
            {.x = filter->marker_x, .y = filter->marker_y, .hit_radius = filter->hit_radius});
    const int found = nearest_marker(markers, position);
    if (found == hover_index)
        return;
    hover_index = found;
    update();
}

void CurveWidget::mouseMoveEvent(QMouseEvent *event)
{
    if (active_index == -1)
        hover_at(event->pos());
    if (!event->buttons().testFlag(Qt::LeftButton) || active_index < 0) {
        tell_pointed(event->pos(), active_index == -1 ? hover_index : -1);
        return;
    }
    filters.at(active_index)->mouse_move(event);
    update_curves();
    update();
    tell_pointed(event->pos(), active_index);
}

void CurveWidget::tell_pointed(QPoint position, int32_t index)
{
    emit on_band_pointed(index < 0 ? 0 : filters.at(index)->number, position);
}

void CurveWidget::mousePressEvent(QMouseEvent *event)
{
    if (!editable) {
        if (hover_index >= 0)
            emit on_band_pressed(filters.at(hover_index)->number);
        count_read_only_press();
        return;
    }
    mouseMoveEvent(event); // the hovered band may be out of date
    active_index = hover_index;
    if (active_index < 0)
        return;
    emit on_band_pressed(filters.at(active_index)->number);
    filters.at(active_index)->mouse_press(event);
    update();
}

void CurveWidget::count_read_only_press()
{
    ++click_count;
    if (click_count != FIRST_HINT_CLICK)
        return;
    QMessageBox::warning(this, "Hint",
                         "Press the <b>Edit</b> button on the top right<br>"
                         " if you want to make changes.",
                         QMessageBox::Ok);
    click_count = CLICKS_AFTER_HINT;
}

void CurveWidget::mouseReleaseEvent(QMouseEvent *event)
{
    if (active_index < 0) // always so outside an edit
        return;
    if (filters.at(active_index)->mouse_release(event))
        active_index = -1;
    update();
}
