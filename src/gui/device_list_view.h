// The list's view: columns as wide as their contents where there is room, at the price of one
// measuring per frame.
#pragma once

#include "gui/column_shares.h"

#include <QHash>
#include <QTimer>
#include <QTreeView>

#include <vector>

class DeviceCell;
class QStandardItemModel;

// A plain QTreeView measures every row of every column again after each changed cell, and paints
// all of its rows for a change of one. This one keeps the width of each text it has met, measures
// a column at most once per painted frame, and paints the changed row alone.
class DeviceListView : public QTreeView
{
    Q_OBJECT

public:
    explicit DeviceListView(QWidget *parent = nullptr);

    void setModel(QAbstractItemModel *new_model) override;
    // Its share of the list's width: what it needs, while there is room for all that show.
    int sizeHintForColumn(int column) const override;
    void doItemsLayout() override;
    void reset() override;

    // What a cell hides of its text, by its column's width or by the list's edge, it shows as a
    // tool tip; empty when it hides nothing.
    QString cut_text(const QModelIndex &index) const;

    // Paints the column's cells again that are in view.
    void update_column(int column);

    // How often columns have been measured since start, and all rows laid out.
    int measurements() const { return measure_count; }
    int layouts() const { return layout_count; }

    // No column waits for being measured or for taking over its width.
    bool has_settled() const { return !frame_timer.isActive() && !shrink_timer.isActive(); }

signals:
    void copy_pressed();

protected:
    bool viewportEvent(QEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;
    void dataChanged(const QModelIndex &top_left, const QModelIndex &bottom_right,
                     const QVector<int> &roles = QVector<int>()) override;
    void rowsInserted(const QModelIndex &parent, int first, int last) override;
    void changeEvent(QEvent *event) override;

private:
    struct KeptWidths
    {
        QHash<QString, int> widths = {}; // by text
        int letters = 0;                 // of all these texts
    };

    // The widths of the columns that show, in the order in which they are seen, and what they were
    // worked out from.
    struct Shares
    {
        std::vector<ColumnNeed> needs = {};
        int room = 0;
        int letter = 0; // the width of one
        std::vector<int> widths = {};
    };

    void mark_dirty(int first_column, int last_column);
    void widen_for_row(int row);
    void apply_widths();
    void measure_dirty_columns();
    void share_out(std::vector<ColumnNeed> needs) const;
    int contents_width(int column) const; // of its widest cell
    int caption_width(int column) const;
    int picture_width(int column) const; // with its margins; 0 without
    std::vector<int> measured_widths(const std::vector<int> &columns) const;
    DeviceCell *cell_at(int row, int column) const; // null in a model of other cells
    int cell_width(int row, int column, const QStyleOptionViewItem &option) const;
    int text_width(const QModelIndex &index, const QStyleOptionViewItem &option) const;
    void forget_widths(); // of all texts

    const QStandardItemModel *items = nullptr; // the model, unless it is another kind
    QTimer frame_timer;                        // a column has become wider
    QTimer shrink_timer;                       // all rows are to be measured again
    mutable std::vector<int> widths;           // by column, -1: never measured
    mutable Shares shares = {};
    mutable std::vector<KeptWidths> text_widths; // by column
    std::vector<bool> dirty;                     // by column
    mutable int measure_count = 0;
    int measuring_round = 0; // what cells keep of another one counts no more
    int layout_count = 0;
    bool awaits_layout = false; // all rows are about to be laid out and painted
};
