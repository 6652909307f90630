// Where rows of the device list stand: their sorted place, and the quickest way out of the model.
#include "gui/row_order.h"

#include "gui/device_cell.h"
#include "model/device.h"

#include <QItemSelectionModel>
#include <QTreeView>

#include <algorithm>
#include <functional>

namespace {

constexpr size_t FEW_ROWS = 4; // below this the toolkit's search costs less than a new arrangement

// Neighbours put together; `rows` come from the lowest in the list to the topmost.
template<typename Take>
void take_in_ranges(const std::vector<int> &rows, Take take)
{
    for (size_t i = 0; i < rows.size();) {
        size_t end = i + 1;
        while (end < rows.size() && rows[end] == rows[end - 1] - 1)
            ++end;
        take(rows[end - 1], static_cast<int>(end - i));
        i = end;
    }
}

struct Row
{
    RowHead *head = nullptr;
    DeviceCell *second = nullptr; // in column 1
};

// Gives each row the number of the place where it is to stand, and lets the model sort by that.
void arrange(QStandardItemModel &model, const std::vector<Row> &order)
{
    for (size_t turn = 0; turn < order.size(); ++turn)
        order[turn].second->store(DeviceCell::TURN_ROLE, static_cast<int>(turn));
    const int usual_role = model.sortRole();
    model.setSortRole(DeviceCell::TURN_ROLE);
    model.sort(1);
    model.setSortRole(usual_role);
}

} // namespace

RowHead *row_head(const QStandardItemModel &model, int row)
{
    return static_cast<RowHead *>(model.item(row, 0));
}

Device *device_at(const QStandardItemModel &model, int row)
{
    const RowHead *head = row_head(model, row);
    return head ? head->device : nullptr;
}

// A hint saves the walk, but is never believed unseen; rows that came or went have shifted others
// by little.
int row_of(const QStandardItemModel &model, const Device &device)
{
    if (device.row_hint < 0)
        return -1;
    const int rows = model.rowCount();
    const int hint = std::min(device.row_hint, rows);
    for (int distance = 0; distance <= rows; ++distance)
        for (const int row : {hint - distance, hint + distance})
            if (row >= 0 && row < rows && device_at(model, row) == &device)
                return device.row_hint = row;
    return -1;
}

void note_row_hints(const QStandardItemModel &model)
{
    for (int row = 0; row < model.rowCount(); ++row)
        if (Device *device = device_at(model, row))
            device->row_hint = row;
}

bool is_in_order(const QStandardItemModel &model, const SortedBy &sorted)
{
    if (sorted.column < 0 || sorted.column >= model.columnCount())
        return true;
    for (int row = 1; row < model.rowCount(); ++row) {
        const QStandardItem *upper = model.item(row - 1, sorted.column);
        const QStandardItem *lower = model.item(row, sorted.column);
        if (sorted.order == Qt::AscendingOrder ? *lower < *upper : *upper < *lower)
            return false;
    }
    return true;
}

// A model of its own lends the item the list's way of comparing.
int sorted_place(const QStandardItemModel &model, const SortedBy &sorted, const QStandardItem &item)
{
    QStandardItemModel lender;
    lender.setSortRole(model.sortRole());
    auto *probe = new QStandardItem;
    probe->setData(item.data(model.sortRole()), model.sortRole());
    lender.appendRow(probe);

    int low = 0;
    int high = model.rowCount();
    while (low < high) {
        const int middle = (low + high) / 2;
        const QStandardItem *other = model.item(middle, sorted.column);
        if (sorted.order == Qt::AscendingOrder ? *probe < *other : *other < *probe)
            high = middle;
        else
            low = middle + 1;
    }
    return low;
}

// The toolkit looks for each item that goes, through the cells of all rows, and begins where it put
// the item when it was new: at a thousand devices that takes a second and a half. So the rows that
// go are arranged as if they had come last of all, each to the place that it once got, and go in
// the opposite order, the latest first: then each item is found at the first look.
void remove_rows(QStandardItemModel &model, const std::vector<int> &rows)
{
    const auto take = [&model](int first, int count) { model.removeRows(first, count); };
    std::vector<int> upwards = rows;
    std::sort(upwards.begin(), upwards.end(), std::greater<>());
    if (rows.size() < FEW_ROWS) {
        take_in_ranges(upwards, take);
        return;
    }
    std::vector<Row> order;
    std::vector<Row> leaving;
    for (int row = 0; row < model.rowCount(); ++row) {
        const bool goes = !upwards.empty() && upwards.back() == row;
        if (goes)
            upwards.pop_back();
        (goes ? leaving : order)
            .push_back({.head = row_head(model, row),
                        .second = static_cast<DeviceCell *>(model.item(row, 1))});
    }
    std::sort(leaving.begin(), leaving.end(), [](const Row &left, const Row &right) {
        return left.head->birth < right.head->birth;
    });
    std::vector<int> exits;
    for (const Row &row : leaving) {
        exits.push_back(std::min(row.head->birth_row, static_cast<int>(order.size())));
        order.insert(order.begin() + exits.back(), row);
    }
    arrange(model, order);
    std::reverse(exits.begin(), exits.end());
    take_in_ranges(exits, take);
}

void leave_rows(QTreeView &view, const std::vector<int> &rows)
{
    const QAbstractItemModel &model = *view.model();
    const QModelIndex current = view.currentIndex();
    const auto stays = [&view, &rows](int row) {
        return !std::binary_search(rows.begin(), rows.end(), row)
            && !view.isRowHidden(row, QModelIndex());
    };
    if (!current.isValid() || !std::binary_search(rows.begin(), rows.end(), current.row()))
        return;
    int next = current.row() + 1;
    while (next < model.rowCount() && !stays(next))
        ++next;
    if (next == model.rowCount())
        for (next = current.row() - 1; next >= 0 && !stays(next);)
            --next;
    view.selectionModel()->setCurrentIndex(model.index(next, current.column()),
                                           QItemSelectionModel::NoUpdate);
}
