// What is copied out of the list.
#pragma once

#include "gui/list_copy.h"

class QStandardItemModel;
class QTreeView;

// All shown columns of the selected rows that show, both in the order in which they are seen. The
// model is the view's; its cells are DeviceCells.
CopiedList selected_cells(const QTreeView &view, const QStandardItemModel &model);

// As lines and as a table. Without rows the clipboard keeps what it has.
void put_on_clipboard(const CopiedList &list);
