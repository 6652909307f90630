// The list of devices: one row per device, its columns, their order, and what the search leaves of
// it. Knows nothing of the window around it.
#pragma once

#include "gui/column_rules.h"
#include "gui/device_list_view.h"
#include "gui/highlight_delegate.h"
#include "gui/list_copy.h"
#include "gui/row_order.h"
#include "gui/row_writer.h"
#include "gui/status_bar_text.h"
#include "support/frame_throttle.h"

#include <QPointer>
#include <QStandardItemModel>
#include <QStringList>
#include <QTimer>

#include <string>
#include <vector>

class ColumnMenu;
class EmptyNote;
class ListHeader;
class QAction;
class QMenu;

class DeviceTable : public QObject
{
    Q_OBJECT

public:
    DeviceTable();
    ~DeviceTable() override;

    void set_dark_theme(bool is_dark);
    // To be put into a layout; it goes with the layout or with the table, whichever goes first.
    DeviceListView *view() const { return device_list; }
    QStandardItemModel &model() { return device_model; }
    const QStandardItemModel &model() const { return device_model; }

    // ---- rows
    // While one of these lives, the list keeps its order; at the end of the last one it is sorted,
    // once, if it needs to be.
    class Batch
    {
    public:
        explicit Batch(DeviceTable &its_table);
        ~Batch();
        Batch(const Batch &) = delete;
        Batch &operator=(const Batch &) = delete;

    private:
        DeviceTable &table;
    };
    bool is_in_batch() const { return batches > 0; }

    // Writes the device's row, which a new device gets at its sorted place. The list keeps the
    // device's address until `remove` or `forget_devices`.
    void show(Device &device);
    void remove(const std::vector<Device *> &leaving);
    // Before devices go whose rows stay, as in a window that has closed.
    void forget_devices();
    int row_of(const Device &device) const; // -1: none
    Device *device_at(int row) const;       // null: none
    bool is_selected(const Device &device) const;
    // The devices of the selected rows that the search does not hide, in the selection's order.
    std::vector<Device *> selected() const;
    DeviceCounts counts() const;
    // All shown columns of the selected rows, both in the order in which they are seen.
    CopiedList copied() const;
    void copy_selected() const; // to the clipboard, as lines and as a table
    void repaint_meters();      // those in view
    QIcon load_icon(const QString &path) { return writer.load_icon(path); }

    // ---- order
    void sort_by(int column, Qt::SortOrder order);
    bool is_sorted() const;

    // ---- columns, in parallel lists
    const QStringList &captions() const { return column_names; }
    const std::vector<std::string> &ids() const { return column_ids; }
    const std::vector<QAction *> &actions() const { return column_actions; }
    QMenu *menu() const;
    int column_of(const std::string &id) const; // -1: none
    std::vector<int> shown_columns() const;
    void show_default_columns();
    // Follows the column's action.
    void toggle_column(size_t index);
    void show_column_menu(const QPoint &position);
    // Another set of columns makes the saved state of the old one worthless.
    QString column_signature() const { return column_names.join(":"); }
    QByteArray save_state() const;
    void restore_state(const QByteArray &state);

    // ---- what an empty list says
    void set_network(const QString &name); // empty: there is none
    EmptyNote *note() const { return empty_note; }

    // ---- search
    QString search() const { return highlight_delegate.search_text; }
    void set_search(const QString &text);
    // Looks at all rows again, at once.
    void refresh_search();
    FrameThrottle &search_pace() { return search_throttle; }
    // While held, only another search text hides or shows selected rows: an edit is its operator's
    // to end.
    void hold_selected_rows(bool on);

signals:
    void selection_changed();
    // A selected row is about to be hidden or shown by the search. Whoever listens may change rows.
    void selected_hidden();
    void column_toggled(); // and all rows have been written
    void counts_changed(); // possibly; counts() tells

private:
    void set_up_view();
    void add_columns();
    void add_column(const ListColumn &column);
    int last_column() const;
    void refresh_row(Device &device, int row);
    void insert_row(Device &device);
    void count_online(RowHead &head, bool is_online);
    void renew_note();
    void leave_rows(const std::vector<int> &rows);
    SortedBy sorted_by() const;
    void sort_if_needed();
    void note_row_hints();
    void look_at_rows(bool is_new_search);
    void ask_for_search();
    bool show_matching_rows(bool is_new_search);
    bool row_matches_search(int row, const std::vector<int> &columns) const;

    QStandardItemModel device_model;
    QPointer<DeviceListView> device_list;
    HighlightDelegate highlight_delegate;
    RowWriter writer;
    int batches = 0;
    bool sort_pending = false; // a key in the sort column has changed
    int births = 0;            // rows so far
    FrameThrottle search_throttle;
    bool is_selection_held = false;
    EmptyNote *empty_note = nullptr; // inside the view
    FrameThrottle note_throttle;
    QTimer patience; // single-shot: how long an answer may take
    QString network;

    QStringList column_names;
    std::vector<std::string> column_ids;
    std::vector<QAction *> column_actions;
    ListHeader *header = nullptr;
    ColumnMenu *header_menu = nullptr;
};
