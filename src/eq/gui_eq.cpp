// Ties the curve to the panel's rows: what the rows say is drawn, what is dragged is written back.
#include "eq/curve_widget.h"
#include "eq/eq_rows.h"
#include "eq/filter.h"
#include "eq/filter_list.h"
#include "gui/gui.h"

#include <QPushButton>

void Gui::refresh_eq_view()
{
    if (selected_devices().empty())
        return;
    const Property *enable = panel.row(EQ_ENABLE_KEY);
    if (!enable || enable->desc.kind == PROP_NONE) {
        curve_widget->set_has_curve(false);
        eq_button->setChecked(false);
        return;
    }
    load_curve_from_rows();
}

// A list of bands that says the same leaves the curve alone: taking over a new one would end the
// hovering and the drag.
void Gui::load_curve_from_rows()
{
    curve_widget->set_has_curve(true);
    const auto row_value = [this](const std::string &key) -> std::optional<QVariant> {
        const Property *row = panel.row(key);
        return row ? std::optional(row->value) : std::nullopt;
    };
    const QList<Filter *> bands = make_filters(read_eq_bands(row_value));
    if (same_filters(bands, curve_widget->filters))
        qDeleteAll(bands);
    else
        curve_widget->set_filters(bands);
}

// Runs inside the filter's own handling of the mouse: nothing here may replace the filters.
void Gui::apply_band_edit(Filter *filter)
{
    FilterParams params;
    filter->get_params(params);
    for (const auto &[key, value] : eq_row_edits(filter->number, params))
        panel.take_unchanged(key, value);
}
