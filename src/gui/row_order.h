// Where rows of the device list stand: their sorted place, and the quickest way out of the model.
#pragma once

#include <QStandardItemModel>
#include <Qt>

#include <vector>

class QTreeView;
class RowHead;
struct Device;

// What the list is sorted by; nothing while `column` is none of the model's.
struct SortedBy
{
    int column = -1;
    Qt::SortOrder order = Qt::AscendingOrder;
};

RowHead *row_head(const QStandardItemModel &model, int row);       // null when there is no such row
Device *device_at(const QStandardItemModel &model, int row);       // null: none
int row_of(const QStandardItemModel &model, const Device &device); // -1: none
// Tells each device in which row it stands, after many have moved: row_of looks there first.
void note_row_hints(const QStandardItemModel &model);

bool is_in_order(const QStandardItemModel &model, const SortedBy &sorted);

// The first row that sorts behind `item`, which is in no model yet; rows with an equal key stay in
// front.
int sorted_place(const QStandardItemModel &model, const SortedBy &sorted,
                 const QStandardItem &item);

// Removes rows whose column 0 holds a RowHead; those that stay keep their order. For many rows the
// model changes its layout in between.
void remove_rows(QStandardItemModel &model, const std::vector<int> &rows);

// Before these rows go, in ascending order: the keyboard goes on from the next row that stays. Left
// to itself, the view would look for one among rows that are no longer where the operator has seen
// them.
void leave_rows(QTreeView &view, const std::vector<int> &rows);
