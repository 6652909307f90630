// The list of devices: one row per device, its columns, their order, and what the search leaves of
// it.
#include "gui/device_table.h"

#include "gui/desktop_colours.h"
#include "gui/device_cell.h"
#include "gui/empty_note.h"
#include "gui/list_clipboard.h"
#include "meter/meter_item_delegate.h"

#include <QApplication>
#include <QHeaderView>
#include <QItemSelectionModel>

#include <algorithm>
#include <numeric>

DeviceTable::Batch::Batch(DeviceTable &its_table)
    : table(its_table)
{
    // Rows that come into an empty list go to its end, and are sorted when all are there.
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
    , columns(device_list, device_model)
{
    device_list->setModel(&device_model);
    columns.show_default();
    device_model.setSortRole(DeviceCell::SORT_ROLE);
    set_up_view();
    connect(&columns, &ColumnChoice::toggled, this, &DeviceTable::write_all_rows);
    connect(device_list, &DeviceListView::copy_pressed, this,
            [this] { put_on_clipboard(selected_cells(*device_list, device_model)); });
    connect(device_list->selectionModel(), &QItemSelectionModel::selectionChanged, this, [this] {
        emit selection_changed();
        emit counts_changed();
    });
    connect_search();
    empty_note = new EmptyNote(device_list);
    for (auto signal : {&DeviceTable::counts_changed, &DeviceTable::column_toggled})
        connect(this, signal, empty_note, &EmptyNote::ask);
    connect(empty_note, &EmptyNote::due, this, [this] {
        empty_note->show_counts(device_model.rowCount(), hidden_at_the_top(), search());
    });
}

void DeviceTable::connect_search()
{
    list_search.set_view(device_list);
    connect(&list_search, &ListSearch::selected_hidden, this, &DeviceTable::selected_hidden);
    connect(&list_search, &ListSearch::row_returns, this, [this] { empty_note->hide(); });
    connect(&list_search, &ListSearch::looked, this, [this](bool is_selection_touched) {
        if (is_selection_touched)
            emit selection_changed();
        emit counts_changed();
    });
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
    device_list->setUniformRowHeights(true);
    device_list->header()->setSortIndicator(0, Qt::AscendingOrder);
    device_list->setSortingEnabled(true);
    // KEPT: points that grow with the scale, and are scaled once more when they are drawn.
    const int icon_size = static_cast<int>(qApp->devicePixelRatio() * 32);
    device_list->setIconSize({icon_size, icon_size});
    device_list->setIndentation(0);
    device_list->setAccessibleName("Devices");
    device_list->header()->setSectionResizeMode(QHeaderView::ResizeToContents);
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
    device_list->setStyleSheet(
        "QTreeView { selection-background-color: " + selection_colour(is_dark) + "; }");
    if (empty_note)
        empty_note->set_dark_theme(is_dark);
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
            = writer.write(device, columns.ids()[static_cast<size_t>(column)],
                           *static_cast<DeviceCell *>(device_model.item(row, column)));
        is_changed |= change.is_seen;
        sort_pending |= change.is_key && column == sorted_by().column;
    }
    if (is_changed) {
        emit device_model.dataChanged(device_model.index(row, 0),
                                      device_model.index(row, device_model.columnCount() - 1));
        list_search.ask();
    }
    count_online(*row_head(device_model, row), device.online);
}

// Hidden columns are not kept up to date. One of them may be the one that the list is sorted by.
void DeviceTable::write_all_rows()
{
    {
        const Batch batch(*this);
        for (int row = 0; row < device_model.rowCount(); ++row)
            if (Device *device = device_at(row))
                show(*device);
    }
    emit column_toggled();
}

// The row is filled before the model knows it and goes straight to its place: the list looks as if
// it had been sorted again, at the price of one insertion.
void DeviceTable::insert_row(Device &device)
{
    auto *head = new RowHead(&device);
    head->store(DeviceCell::ID_ROLE, device.device_id);
    QList<QStandardItem *> items;
    for (size_t column = 0; column < columns.ids().size(); ++column) {
        DeviceCell *cell = column == 0 ? head : new DeviceCell;
        items.append(cell);
        if (!device_list->isColumnHidden(static_cast<int>(column)))
            writer.write(device, columns.ids()[column], *cell);
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
    list_search.ask();
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
    leave_rows(*device_list, rows);
    remove_rows(device_model, rows);
    note_row_hints(device_model);
    if (device_model.rowCount() == 0)
        empty_note->begin_patience();
    emit counts_changed();
}

int DeviceTable::last_column() const
{
    return device_model.columnCount() - 1;
}

void DeviceTable::forget_devices()
{
    list_search.pace().cancel();
    empty_note->cancel();
    const int meter_column = column_of("meter");
    for (int row = 0; row < device_model.rowCount(); ++row) {
        row_head(device_model, row)->device = nullptr;
        if (meter_column >= 0)
            static_cast<DeviceCell *>(device_model.item(row, meter_column))
                ->store(DeviceCell::METER_ROLE, QVariant());
    }
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

int DeviceTable::hidden_at_the_top() const
{
    int row = 0;
    while (row < device_model.rowCount() && device_list->isRowHidden(row, QModelIndex()))
        ++row;
    return row;
}

void DeviceTable::repaint_meters()
{
    const int column = column_of("meter");
    if (device_list && column >= 0) // no list any more while the window goes
        device_list->update_column(column);
}

// ---- order --------------------------------------------------------------------------------------

SortedBy DeviceTable::sorted_by() const
{
    return {.column = device_list->header()->sortIndicatorSection(),
            .order = device_list->header()->sortIndicatorOrder()};
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
    note_row_hints(device_model);
}
