// Which columns the list shows, and in which order: the operator's choice, its menu, its saved
// state.
#pragma once

#include <QObject>
#include <QStringList>

#include <string>
#include <vector>

class ColumnMenu;
class ListHeader;
class QAction;
class QMenu;
class QPoint;
class QStandardItemModel;
class QTreeView;
struct ListColumn;

// Gives the view its header and the model its columns; both outlive it, or are used no more.
class ColumnChoice : public QObject
{
    Q_OBJECT

public:
    // To be made before the view has the model: it would measure its header again at each caption.
    ColumnChoice(QTreeView *its_view, QStandardItemModel &model);

    // In parallel lists.
    const QStringList &captions() const { return column_names; }
    const std::vector<std::string> &ids() const { return column_ids; }
    const std::vector<QAction *> &actions() const { return column_actions; }
    QMenu *menu() const;
    int column_of(const std::string &id) const; // -1: none
    std::vector<int> shown() const;
    void show_default();
    // Follows the column's action.
    void toggle_column(size_t index);
    void open_menu(const QPoint &position);
    // Another set of columns makes the saved state of the old one worthless.
    QString signature() const { return column_names.join(":"); }
    QByteArray save_state() const;
    void restore_state(const QByteArray &state);

signals:
    void toggled();

private:
    void add_columns(QStandardItemModel &model);
    void add_column(const ListColumn &column);

    QTreeView *view = nullptr;
    ListHeader *header = nullptr;
    ColumnMenu *header_menu = nullptr;
    QStringList column_names = {};
    std::vector<std::string> column_ids = {};
    std::vector<QAction *> column_actions = {};
};
