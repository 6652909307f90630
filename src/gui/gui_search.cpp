// The search box: which rows it leaves visible, and the texts it remembers.
#include "gui/device_cell.h"
#include "gui/device_list_view.h"
#include "gui/gui.h"
#include "gui/window_rules.h"

#include <QComboBox>
#include <QLineEdit>
#include <QSignalBlocker>

namespace {

constexpr qint64 FRAME_INTERVAL = 16; // ms

} // namespace

void Gui::refresh_search()
{
    search_timer.stop();
    search_timer.setInterval(0);
    search_pace.start();
    const QString search = search_combo->lineEdit()->text();
    const bool is_new_search = search != highlight_delegate.search_text;
    highlight_delegate.search_text = search;

    const bool selection_touched = show_matching_rows(is_new_search);
    // The marks move with the text. What changes without a new text is painted by the rows.
    if (is_new_search)
        device_list->viewport()->update();
    if (selection_touched)
        on_selection_changed();
}

// Touches only rows whose state changes; true when a selected one was among them. That one ends an
// edit first, as hidden rows are no longer part of the selection. Ending it merges the reports that
// were held back, which may sort the list again and change texts: the walk then starts afresh.
// An edit is the operator's to end: what a report would hide or show of it waits (on_edit_ended).
bool Gui::show_matching_rows(bool is_new_search)
{
    const std::vector<int> columns = shown_columns();
    bool selection_touched = false;
    for (int row = 0; row < device_model.rowCount(); ++row) {
        const bool is_hidden = !row_matches_search(row, columns);
        if (is_hidden == device_list->isRowHidden(row, QModelIndex()))
            continue;
        const QModelIndex index = device_model.index(row, 0);
        const bool is_selected = device_list->selectionModel()->isSelected(index);
        if (is_selected && panel.is_editing() && !is_new_search)
            continue;
        if (is_selected && !selection_touched) {
            selection_touched = true;
            panel.set_edit_mode(false);
            panel.refresh_all_rows();
            row = -1;
            continue;
        }
        device_list->setRowHidden(row, QModelIndex(), is_hidden);
    }
    return selection_touched;
}

std::vector<int> Gui::shown_columns() const
{
    std::vector<int> columns;
    for (int column = 0; column < device_model.columnCount(); ++column)
        if (!device_list->isColumnHidden(column))
            columns.push_back(column);
    return columns;
}

// An empty search matches any cell that exists, so a list without visible columns shows no row.
bool Gui::row_matches_search(int row, const std::vector<int> &columns) const
{
    for (const int column : columns) {
        const auto *cell = static_cast<const DeviceCell *>(device_model.item(row, column));
        if (cell && highlight_delegate.matches_search(cell->shown_text()))
            return true;
    }
    return false;
}

// Called for every report: a thousand devices would keep a refresh without pause running all the
// time, and nobody sees more than one per frame.
void Gui::start_search_refresh()
{
    if (search_timer.isActive())
        return;
    const qint64 rest = search_pace.isValid() ? FRAME_INTERVAL - search_pace.elapsed() : 0;
    search_timer.start(static_cast<int>(qBound<qint64>(0, rest, FRAME_INTERVAL)));
}

// The text stays what it is, so no search may follow: the box would start one for each entry that
// takes the place of the one removed.
void Gui::commit_search()
{
    QLineEdit *edit = search_combo->lineEdit();
    const QString text = edit->text();
    if (text.isEmpty())
        return;
    QStringList history;
    for (int i = 0; i < search_combo->count(); ++i)
        history.append(search_combo->itemText(i));

    const int cursor = edit->cursorPosition();
    const QSignalBlocker blocker(search_combo);
    search_combo->clear();
    search_combo->addItems(committed_history(history, text));
    search_combo->setCurrentIndex(0);
    edit->setCursorPosition(cursor);
}
