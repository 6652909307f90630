// What is copied out of the list.
#include "gui/list_clipboard.h"

#include "gui/device_cell.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHeaderView>
#include <QItemSelectionModel>
#include <QMimeData>
#include <QStandardItemModel>
#include <QTreeView>

CopiedList selected_cells(const QTreeView &view, const QStandardItemModel &model)
{
    const QHeaderView &header = *view.header();
    std::vector<int> columns;
    for (int place = 0; place < header.count(); ++place)
        if (!header.isSectionHidden(header.logicalIndex(place)))
            columns.push_back(header.logicalIndex(place));
    CopiedList list;
    for (const int column : columns)
        list.captions.append(model.horizontalHeaderItem(column)->toolTip());
    for (int row = 0; row < model.rowCount(); ++row) {
        if (view.isRowHidden(row, QModelIndex())
            || !view.selectionModel()->isSelected(model.index(row, 0)))
            continue;
        QStringList cells;
        for (const int column : columns)
            cells.append(static_cast<const DeviceCell *>(model.item(row, column))->shown_text());
        list.rows.push_back(cells);
    }
    return list;
}

void put_on_clipboard(const CopiedList &list)
{
    if (list.rows.empty())
        return;
    auto *data = new QMimeData;
    data->setText(tab_separated(list));
    data->setHtml(html_table(list));
    QGuiApplication::clipboard()->setMimeData(data);
}
