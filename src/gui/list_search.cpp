// Which rows of the list the search leaves.
#include "gui/list_search.h"

#include "gui/device_cell.h"
#include "gui/highlight_delegate.h"

#include <QItemSelectionModel>
#include <QStandardItemModel>
#include <QTreeView>

ListSearch::ListSearch(const QStandardItemModel &its_model, HighlightDelegate &its_delegate)
    : model(its_model)
    , delegate(its_delegate)
{
    connect(&throttle, &FrameThrottle::due, this, &ListSearch::look_again);
}

QString ListSearch::text() const
{
    return delegate.search_text;
}

void ListSearch::set_text(const QString &text)
{
    const bool is_new_text = text != delegate.search_text;
    delegate.search_text = text;
    look_at_rows(is_new_text);
    // The marks move with the text. What changes without a new text is painted by the rows.
    if (is_new_text)
        view->viewport()->update();
}

void ListSearch::look_again()
{
    look_at_rows(false);
}

void ListSearch::look_at_rows(bool is_new_text)
{
    throttle.note_done();
    emit looked(show_matching_rows(is_new_text));
}

// Reports by the thousand would keep a search without pause running all the time, and nobody sees
// more than one per frame.
void ListSearch::ask()
{
    if (!delegate.search_text.isEmpty())
        throttle.ask();
}

void ListSearch::hold_selected_rows(bool on)
{
    is_selection_held = on;
    if (!on)
        ask();
}

// Touches only rows whose state changes; true when a selected one was among them. That one ends an
// edit first, as hidden rows are no longer part of the selection. Ending it merges the reports that
// were held back, which may sort the list again and change texts: the walk then starts afresh.
// KEPT: while an edit runs, no row of it is hidden or shown but by another text.
bool ListSearch::show_matching_rows(bool is_new_text)
{
    std::vector<int> columns;
    for (int column = 0; column < model.columnCount(); ++column)
        if (!view->isColumnHidden(column))
            columns.push_back(column);
    bool is_selection_touched = false;
    for (int row = 0; row < model.rowCount(); ++row) {
        const bool is_hidden = !matches(row, columns);
        if (is_hidden == view->isRowHidden(row, QModelIndex()))
            continue;
        const bool is_selected = view->selectionModel()->isSelected(model.index(row, 0));
        if (is_selected && is_selection_held && !is_new_text)
            continue;
        if (is_selected && !is_selection_touched) {
            is_selection_touched = true;
            emit selected_hidden();
            row = -1;
            continue;
        }
        if (!is_hidden)
            emit row_returns();
        view->setRowHidden(row, QModelIndex(), is_hidden);
    }
    return is_selection_touched;
}

// An empty search matches any cell that exists, so a list without visible columns shows no row.
bool ListSearch::matches(int row, const std::vector<int> &columns) const
{
    for (const int column : columns) {
        const auto *cell = static_cast<const DeviceCell *>(model.item(row, column));
        if (cell && delegate.matches_search(cell->shown_text()))
            return true;
    }
    return false;
}
