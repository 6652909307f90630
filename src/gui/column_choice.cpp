// Which columns the list shows, and in which order: the operator's choice, its menu, its saved
// state.
#include "gui/column_choice.h"

#include "gui/column_menu.h"
#include "gui/column_rules.h"
#include "gui/list_header.h"
#include "support/fatal_assert.h"

#include <QAction>
#include <QStandardItemModel>
#include <QTreeView>

#include <algorithm>

ColumnChoice::ColumnChoice(QTreeView *its_view, QStandardItemModel &model)
    : view(its_view)
    , header(new ListHeader(view))
    , header_menu(new ColumnMenu(view))
{
    view->setHeader(header);
    header->setContextMenuPolicy(Qt::CustomContextMenu);
    connect(header, &QHeaderView::customContextMenuRequested, this, &ColumnChoice::open_menu);
    connect(header, &ListHeader::menu_wanted, this, &ColumnChoice::open_menu);
    add_columns(model);
}

void ColumnChoice::add_columns(QStandardItemModel &model)
{
    const std::vector<ListColumn> columns = list_columns();
    for (size_t index = 0; index < columns.size(); ++index) {
        if (index > 0 && columns[index].group != columns[index - 1].group)
            header_menu->addSeparator();
        add_column(columns[index]);
    }
    model.setHorizontalHeaderLabels(column_names);
    for (size_t index = 0; index < columns.size(); ++index)
        model.horizontalHeaderItem(static_cast<int>(index))->setToolTip(columns[index].title);
}

void ColumnChoice::add_column(const ListColumn &column)
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

QMenu *ColumnChoice::menu() const
{
    return header_menu;
}

int ColumnChoice::column_of(const std::string &id) const
{
    const auto found = std::find(column_ids.begin(), column_ids.end(), id);
    return found == column_ids.end() ? -1 : static_cast<int>(found - column_ids.begin());
}

std::vector<int> ColumnChoice::shown() const
{
    std::vector<int> columns;
    for (int column = 0; column < column_names.size(); ++column)
        if (!view->isColumnHidden(column))
            columns.push_back(column);
    return columns;
}

void ColumnChoice::show_default()
{
    for (int column = 0; column < column_names.size(); ++column)
        view->setColumnHidden(column, true);
    for (const int column : default_columns(column_names))
        view->setColumnHidden(column, false);
}

void ColumnChoice::toggle_column(size_t index)
{
    FATAL_ASSERT("gui.cpp", index < column_actions.size());
    const int column = static_cast<int>(index);
    const bool is_wanted = column_actions[index]->isChecked();
    if (is_wanted != view->isColumnHidden(column))
        return;
    view->setColumnHidden(column, !is_wanted);
    emit toggled();
}

void ColumnChoice::open_menu(const QPoint &position)
{
    for (size_t column = 0; column < column_actions.size(); ++column)
        column_actions[column]->setChecked(!view->isColumnHidden(static_cast<int>(column)));
    header_menu->popup(header->viewport()->mapToGlobal(position));
}

QByteArray ColumnChoice::save_state() const
{
    return header->saveState();
}

void ColumnChoice::restore_state(const QByteArray &state)
{
    header->restoreState(state);
    header->setStretchLastSection(false); // states of before say otherwise
}
