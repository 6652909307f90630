// The list of devices: one row per device, its columns, their order, and what the search leaves of
// it.
#include "gui/device_table.h"

#include "gui/column_menu.h"
#include "gui/device_cell.h"
#include "gui/empty_note.h"
#include "gui/list_header.h"
#include "meter/meter_item_delegate.h"
#include "support/fatal_assert.h"

#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QItemSelectionModel>
#include <QMimeData>

#include <algorithm>
#include <numeric>

namespace {

constexpr int ANSWER_TIME = 3000; // ms: six rounds of discovery

} // namespace

DeviceTable::Batch::Batch(DeviceTable &its_table)
    : table(its_table)
{
    // What fills an empty list stands as it comes until the end.
    if (table.batches++ == 0 && table.device_model.rowCount() == 0)
        table.sort_pending = true;
}

DeviceTable::Batch::~Batch()
{
    --table.batches;
    table.sort_if_needed();
}

DeviceTable::DeviceTable()
    : device_list(new DeviceListView)
    , header(new ListHeader(device_list))
    , header_menu(new ColumnMenu(device_list))
{
    device_list->setHeader(header);
    // Before the view looks: it would measure its header again at each caption.
    add_columns();
    device_list->setModel(&device_model);
    show_default_columns();
    device_model.setSortRole(DeviceCell::SORT_ROLE);
    set_up_view();
    connect(header, &QHeaderView::customContextMenuRequested, this, &DeviceTable::show_column_menu);
    connect(header, &ListHeader::menu_wanted, this, &DeviceTable::show_column_menu);
    connect(device_list, &DeviceListView::copy_pressed, this, &DeviceTable::copy_selected);
    connect(device_list->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        emit selection_changed();
        emit counts_changed();
    });
    connect(&search_throttle, &FrameThrottle::due, this, &DeviceTable::refresh_search);
    empty_note = new EmptyNote(device_list);
    patience.setSingleShot(true);
    patience.setInterval(ANSWER_TIME);
    for (auto signal : {&DeviceTable::counts_changed, &DeviceTable::column_toggled})
        connect(this, signal, &note_throttle, &FrameThrottle::ask);
    connect(&patience, &QTimer::timeout, this, &DeviceTable::renew_note);
    connect(&note_throttle, &FrameThrottle::due, this, &DeviceTable::renew_note);
}

// The view goes before the model.
DeviceTable::~DeviceTable()
{
    if (device_list) {
        disconnect(device_list->selectionModel(), nullptr, this, nullptr);
        delete device_list;
    }
    std::vector<int> rows(static_cast<size_t>(device_model.rowCount()));
    std::iota(rows.begin(), rows.end(), 0);
    remove_rows(device_model, rows);
}

void DeviceTable::set_up_view()
{
    device_list->setEditTriggers(QAbstractItemView::NoEditTriggers);
    device_list->setSelectionMode(QAbstractItemView::ExtendedSelection);
    device_list->setSelectionBehavior(QAbstractItemView::SelectRows);
    device_list->setUniformRowHeights(true);
    header->setSortIndicator(0, Qt::AscendingOrder);
    device_list->setSortingEnabled(true);
    // KEPT: points that grow with the scale, and are scaled once more when they are drawn.
    const int icon_size = static_cast<int>(qApp->devicePixelRatio() * 32);
    device_list->setIconSize({icon_size, icon_size});
    device_list->setIndentation(0);
    device_list->setAccessibleName("Devices");
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    header->setSectionResizeMode(QHeaderView::ResizeToContents);
    device_list->setItemDelegate(&highlight_delegate);
    const int meter_column = column_of("meter");
    if (meter_column >= 0)
        device_list->setItemDelegateForColumn(
            meter_column, new MeterItemDelegate(device_list, DeviceCell::METER_ROLE, this));
    set_dark_theme(false);
}

void DeviceTable::set_dark_theme(bool is_dark)
{
    highlight_delegate.dark_theme = is_dark;
    device_list->setStyleSheet(is_dark ? "QTreeView { selection-background-color: #005499; }"
                                       : "QTreeView { selection-background-color: #cce8ff; }");
    if (empty_note)
        empty_note->set_dark_theme(is_dark);
}

// ---- columns ------------------------------------------------------------------------------------

void DeviceTable::add_columns()
{
    const std::vector<ListColumn> columns = list_columns();
    for (size_t index = 0; index < columns.size(); ++index) {
        if (index > 0 && columns[index].group != columns[index - 1].group)
            header_menu->addSeparator();
        add_column(columns[index]);
    }
    device_model.setColumnCount(column_names.size());
    device_model.setHorizontalHeaderLabels(column_names);
    for (size_t index = 0; index < columns.size(); ++index)
        device_model.horizontalHeaderItem(static_cast<int>(index))
            ->setToolTip(columns[index].title);
}

void DeviceTable::add_column(const ListColumn &column)
{
    const size_t index = column_ids.size();
    column_names.append(column.name);
    column_ids.push_back(column.id);
    auto *action = new QAction(column.name, this);
    action->setToolTip(column.title);
    action->setCheckable(true);
    connect(action, &QAction::toggled, this, [this, index] { toggle_column(index); });
    column_actions.push_back(action);
    header_menu->addAction(action);
// The toolkit's lists count in int, the library's in size_t.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wsign-compare"
    FATAL_ASSERT("gui.cpp", column_names.size() == column_actions.size());
    FATAL_ASSERT("gui.cpp", column_names.size() == column_ids.size());
#pragma GCC diagnostic pop
}

QMenu *DeviceTable::menu() const
{
    return header_menu;
}

int DeviceTable::column_of(const std::string &id) const
{
    const auto found = std::find(column_ids.begin(), column_ids.end(), id);
    return found == column_ids.end() ? -1 : static_cast<int>(found - column_ids.begin());
}

std::vector<int> DeviceTable::shown_columns() const
{
    std::vector<int> columns;
    for (int column = 0; column < device_model.columnCount(); ++column)
        if (!device_list->isColumnHidden(column))
            columns.push_back(column);
    return columns;
}

void DeviceTable::show_default_columns()
{
    for (int column = 0; column < column_names.size(); ++column)
        device_list->setColumnHidden(column, true);
    for (const int column : default_columns(column_names))
        device_list->setColumnHidden(column, false);
}

void DeviceTable::toggle_column(size_t index)
{
    FATAL_ASSERT("gui.cpp", index < column_actions.size());
    const int column = static_cast<int>(index);
    const bool is_wanted = column_actions[index]->isChecked();
    if (is_wanted != device_list->isColumnHidden(column))
        return;
    device_list->setColumnHidden(column, !is_wanted);
    {
        // Hidden columns are not kept up to date. One of them may be the one that the list is
        // sorted by.
        const Batch batch(*this);
        for (int row = 0; row < device_model.rowCount(); ++row)
            if (Device *device = device_at(row))
                show(*device);
    }
    emit column_toggled();
}

void DeviceTable::show_column_menu(const QPoint &position)
{
    for (size_t column = 0; column < column_actions.size(); ++column)
        column_actions[column]->setChecked(!device_list->isColumnHidden(static_cast<int>(column)));
    header_menu->popup(header->viewport()->mapToGlobal(position));
}

QByteArray DeviceTable::save_state() const
{
    return header->saveState();
}

void DeviceTable::restore_state(const QByteArray &state)
{
    header->restoreState(state);
}

// ---- rows ---------------------------------------------------------------------------------------

void DeviceTable::show(Device &device)
{
    const int row = row_of(device);
    if (row < 0)
        insert_row(device);
    else
        refresh_row(device, row);
    sort_if_needed();
}

// Each signal of a shown view's model costs a look at the columns' widths: one tells of them all.
void DeviceTable::refresh_row(Device &device, int row)
{
    bool is_changed = false;
    for (int column = 0; column < device_model.columnCount(); ++column) {
        if (device_list->isColumnHidden(column))
            continue;
        const CellChange change
            = writer.write(device, column_ids[static_cast<size_t>(column)],
                           *static_cast<DeviceCell *>(device_model.item(row, column)));
        is_changed |= change.is_seen;
        sort_pending |= change.is_key && column == sorted_by().column;
    }
    if (is_changed) {
        emit device_model.dataChanged(device_model.index(row, 0),
                                      device_model.index(row, device_model.columnCount() - 1));
        ask_for_search();
    }
    count_online(*row_head(device_model, row), device.online);
}

// The row is filled before the model knows it and goes straight to its place: the list looks as if
// it had been sorted again, at the price of one insertion.
void DeviceTable::insert_row(Device &device)
{
    auto *head = new RowHead(&device);
    head->store(DeviceCell::ID_ROLE, device.device_id);
    QList<QStandardItem *> items;
    for (size_t column = 0; column < column_ids.size(); ++column) {
        DeviceCell *cell = column == 0 ? head : new DeviceCell;
        items.append(cell);
        if (!device_list->isColumnHidden(static_cast<int>(column)))
            writer.write(device, column_ids[column], *cell);
    }
    const SortedBy sorted = sorted_by();
    const bool is_sorted_by_column = sorted.column >= 0 && sorted.column < items.size();
    const int row = is_sorted_by_column && !sort_pending
        ? sorted_place(device_model, sorted, *items.at(sorted.column))
        : device_model.rowCount();
    head->birth = births++;
    head->birth_row = row;
    if (device_model.rowCount() == 0)
        empty_note->hide(); // not a frame later: it never stands over a row
    device_model.insertRow(row, items);
    device.row_hint = row;
    count_online(*head, device.online);
    emit counts_changed();
    ask_for_search();
}

void DeviceTable::count_online(RowHead &head, bool is_online)
{
    if (head.is_online == is_online)
        return;
    head.is_online = is_online;
    emit counts_changed();
}

// All leave the selection at once, and neighbours the list together: each change of the selection
// shows all that is left of it in the panel, for a thousand devices a thousand times.
void DeviceTable::remove(const std::vector<Device *> &leaving)
{
    std::vector<int> rows;
    QItemSelection selection;
    for (const Device *device : leaving) {
        const int row = row_of(*device);
        if (row >= 0)
            rows.push_back(row);
    }
    std::sort(rows.begin(), rows.end());
    for (const int row : rows)
        if (!selection.isEmpty() && selection.last().bottom() == row - 1)
            selection.last() = QItemSelectionRange(selection.last().topLeft(),
                                                   device_model.index(row, last_column()));
        else
            selection.select(device_model.index(row, 0), device_model.index(row, last_column()));
    device_list->selectionModel()->select(selection, QItemSelectionModel::Deselect);
    leave_rows(rows);
    remove_rows(device_model, rows);
    note_row_hints();
    if (device_model.rowCount() == 0)
        patience.start();
    emit counts_changed();
}

int DeviceTable::last_column() const
{
    return device_model.columnCount() - 1;
}

// The keyboard goes on from the next row that stays. Left to itself, the view would look for one
// among rows that are no longer where the operator has seen them.
void DeviceTable::leave_rows(const std::vector<int> &rows)
{
    const QModelIndex current = device_list->currentIndex();
    const auto stays = [this, &rows](int row) {
        return !std::binary_search(rows.begin(), rows.end(), row)
            && !device_list->isRowHidden(row, QModelIndex());
    };
    if (!current.isValid() || !std::binary_search(rows.begin(), rows.end(), current.row()))
        return;
    int next = current.row() + 1;
    while (next < device_model.rowCount() && !stays(next))
        ++next;
    if (next == device_model.rowCount())
        for (next = current.row() - 1; next >= 0 && !stays(next);)
            --next;
    device_list->selectionModel()->setCurrentIndex(device_model.index(next, current.column()),
                                                   QItemSelectionModel::NoUpdate);
}

void DeviceTable::forget_devices()
{
    for (FrameThrottle *throttle : {&search_throttle, &note_throttle})
        throttle->cancel();
    const int meter_column = column_of("meter");
    for (int row = 0; row < device_model.rowCount(); ++row) {
        row_head(device_model, row)->device = nullptr;
        if (meter_column >= 0)
            static_cast<DeviceCell *>(device_model.item(row, meter_column))
                ->store(DeviceCell::METER_ROLE, QVariant());
    }
}

Device *DeviceTable::device_at(int row) const
{
    const RowHead *head = row_head(device_model, row);
    return head ? head->device : nullptr;
}

// A hint saves the walk, but is never believed unseen; rows that came or went have shifted others
// by little.
int DeviceTable::row_of(const Device &device) const
{
    if (device.row_hint < 0)
        return -1;
    const int rows = device_model.rowCount();
    const int hint = std::min(device.row_hint, rows);
    for (int distance = 0; distance <= rows; ++distance)
        for (const int row : {hint - distance, hint + distance})
            if (row >= 0 && row < rows && device_at(row) == &device)
                return device.row_hint = row;
    return -1;
}

bool DeviceTable::is_selected(const Device &device) const
{
    const int row = row_of(device);
    return row >= 0 && device_list->selectionModel()->isSelected(device_model.index(row, 0));
}

// The order of selecting counts. selectedRows() would ask every column of every row for its flags,
// although here rows are always selected whole.
std::vector<Device *> DeviceTable::selected() const
{
    std::vector<Device *> devices;
    for (const QItemSelectionRange &range : device_list->selectionModel()->selection()) {
        if (range.left() > 0)
            continue;
        for (int row = range.top(); row <= range.bottom(); ++row) {
            if (device_list->isRowHidden(row, QModelIndex()))
                continue;
            if (Device *device = device_at(row))
                devices.push_back(device);
        }
    }
    return devices;
}

DeviceCounts DeviceTable::counts() const
{
    DeviceCounts counts{.devices = device_model.rowCount(),
                        .selected = static_cast<int>(selected().size())};
    for (int row = 0; row < device_model.rowCount(); ++row) {
        counts.online += row_head(device_model, row)->is_online;
        counts.hidden += device_list->isRowHidden(row, QModelIndex());
    }
    return counts;
}

CopiedList DeviceTable::copied() const
{
    std::vector<int> columns;
    for (int place = 0; place < header->count(); ++place)
        if (!header->isSectionHidden(header->logicalIndex(place)))
            columns.push_back(header->logicalIndex(place));
    CopiedList list;
    for (const int column : columns)
        list.captions.append(device_model.horizontalHeaderItem(column)->toolTip());
    for (int row = 0; row < device_model.rowCount(); ++row) {
        if (device_list->isRowHidden(row, QModelIndex())
            || !device_list->selectionModel()->isSelected(device_model.index(row, 0)))
            continue;
        QStringList cells;
        for (const int column : columns)
            cells.append(
                static_cast<const DeviceCell *>(device_model.item(row, column))->shown_text());
        list.rows.push_back(cells);
    }
    return list;
}

void DeviceTable::copy_selected() const
{
    const CopiedList list = copied();
    if (list.rows.empty())
        return;
    auto *data = new QMimeData;
    data->setText(tab_separated(list));
    data->setHtml(html_table(list));
    QGuiApplication::clipboard()->setMimeData(data);
}

// ---- what an empty list says --------------------------------------------------------------------

void DeviceTable::set_network(const QString &name)
{
    if (name == network && patience.isActive())
        return;
    network = name;
    patience.start();
    note_throttle.ask();
}

void DeviceTable::renew_note()
{
    note_throttle.note_done();
    const DeviceCounts now = counts();
    empty_note->show_texts(empty_texts({.network = network,
                                        .devices = now.devices,
                                        .hidden = now.hidden,
                                        .search = search(),
                                        .has_waited = !patience.isActive()}));
}

void DeviceTable::repaint_meters()
{
    DeviceListView *list = device_list; // none any more while the window goes
    const int column = column_of("meter");
    if (!list || column < 0 || list->isColumnHidden(column))
        return;
    const int bottom = list->viewport()->height();
    QModelIndex row = list->indexAt(QPoint(0, 0));
    while (row.isValid()) {
        const QModelIndex cell = row.siblingAtColumn(column);
        if (list->visualRect(cell).top() >= bottom)
            break;
        list->update(cell);
        row = list->indexBelow(row);
    }
}

// ---- order --------------------------------------------------------------------------------------

SortedBy DeviceTable::sorted_by() const
{
    return {.column = header->sortIndicatorSection(), .order = header->sortIndicatorOrder()};
}

void DeviceTable::sort_by(int column, Qt::SortOrder order)
{
    device_list->sortByColumn(column, order);
}

bool DeviceTable::is_sorted() const
{
    return is_in_order(device_model, sorted_by());
}

// A key that changed without leaving its place needs no sorting at all.
void DeviceTable::sort_if_needed()
{
    if (!sort_pending || batches > 0)
        return;
    sort_pending = false;
    const SortedBy sorted = sorted_by();
    if (is_in_order(device_model, sorted))
        return;
    device_list->sortByColumn(-1, Qt::AscendingOrder);
    device_list->sortByColumn(sorted.column, sorted.order);
    note_row_hints();
}

void DeviceTable::note_row_hints()
{
    for (int row = 0; row < device_model.rowCount(); ++row)
        if (Device *device = device_at(row))
            device->row_hint = row;
}

// ---- search -------------------------------------------------------------------------------------

void DeviceTable::set_search(const QString &text)
{
    const bool is_new_search = text != highlight_delegate.search_text;
    highlight_delegate.search_text = text;
    look_at_rows(is_new_search);
    // The marks move with the text. What changes without a new text is painted by the rows.
    if (is_new_search)
        device_list->viewport()->update();
}

void DeviceTable::refresh_search()
{
    look_at_rows(false);
}

void DeviceTable::look_at_rows(bool is_new_search)
{
    search_throttle.note_done();
    const bool selection_touched = show_matching_rows(is_new_search);
    if (selection_touched)
        emit selection_changed();
    emit counts_changed();
}

// Reports by the thousand would keep a search without pause running all the time, and nobody sees
// more than one per frame.
void DeviceTable::ask_for_search()
{
    if (!highlight_delegate.search_text.isEmpty())
        search_throttle.ask();
}

void DeviceTable::hold_selected_rows(bool on)
{
    is_selection_held = on;
    if (!on)
        ask_for_search();
}

// Touches only rows whose state changes; true when a selected one was among them. That one ends an
// edit first, as hidden rows are no longer part of the selection. Ending it merges the reports that
// were held back, which may sort the list again and change texts: the walk then starts afresh.
bool DeviceTable::show_matching_rows(bool is_new_search)
{
    const std::vector<int> columns = shown_columns();
    bool selection_touched = false;
    for (int row = 0; row < device_model.rowCount(); ++row) {
        const bool is_hidden = !row_matches_search(row, columns);
        if (is_hidden == device_list->isRowHidden(row, QModelIndex()))
            continue;
        const bool is_row_selected
            = device_list->selectionModel()->isSelected(device_model.index(row, 0));
        if (is_row_selected && is_selection_held && !is_new_search)
            continue;
        if (is_row_selected && !selection_touched) {
            selection_touched = true;
            emit selected_hidden();
            row = -1;
            continue;
        }
        if (!is_hidden)
            empty_note->hide();
        device_list->setRowHidden(row, QModelIndex(), is_hidden);
    }
    return selection_touched;
}

// An empty search matches any cell that exists, so a list without visible columns shows no row.
bool DeviceTable::row_matches_search(int row, const std::vector<int> &columns) const
{
    for (const int column : columns) {
        const auto *cell = static_cast<const DeviceCell *>(device_model.item(row, column));
        if (cell && highlight_delegate.matches_search(cell->shown_text()))
            return true;
    }
    return false;
}
