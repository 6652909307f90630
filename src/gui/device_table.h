// The list of devices: one row per device, its columns, their order, and what the search leaves of
// it. Knows nothing of the window around it.
#pragma once

#include "gui/column_choice.h"
#include "gui/device_list_view.h"
#include "gui/empty_note.h"
#include "gui/highlight_delegate.h"
#include "gui/list_search.h"
#include "gui/row_order.h"
#include "gui/row_writer.h"
#include "gui/status_bar_text.h"

#include <QPointer>
#include <QStandardItemModel>
#include <QStringList>

#include <string>
#include <vector>

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
    int row_of(const Device &device) const { return ::row_of(device_model, device); } // -1: none
    Device *device_at(int row) const { return ::device_at(device_model, row); }       // null: none
    bool is_selected(const Device &device) const;
    // The devices of the selected rows that the search does not hide, in the selection's order.
    std::vector<Device *> selected() const;
    DeviceCounts counts() const;
    void repaint_meters(); // those in view
    QIcon load_icon(const QString &path) { return writer.load_icon(path); }

    // ---- order
    void sort_by(int column, Qt::SortOrder order);
    bool is_sorted() const;

    // ---- columns, in parallel lists
    const QStringList &captions() const { return columns.captions(); }
    const std::vector<std::string> &ids() const { return columns.ids(); }
    const std::vector<QAction *> &actions() const { return columns.actions(); }
    QMenu *menu() const { return columns.menu(); }
    int column_of(const std::string &id) const { return columns.column_of(id); } // -1: none
    std::vector<int> shown_columns() const { return columns.shown(); }
    void show_default_columns() { columns.show_default(); }
    void toggle_column(size_t index) { columns.toggle_column(index); }
    void show_column_menu(const QPoint &position) { columns.open_menu(position); }
    QString column_signature() const { return columns.signature(); }
    QByteArray save_state() const { return columns.save_state(); }
    void restore_state(const QByteArray &state) { columns.restore_state(state); }

    // ---- what an empty list says
    void set_network(const QString &name) { empty_note->set_network(name); }
    EmptyNote *note() const { return empty_note; }

    // ---- search
    QString search() const { return list_search.text(); }
    void set_search(const QString &text) { list_search.set_text(text); }
    // Looks at all rows again, at once.
    void refresh_search() { list_search.look_again(); }
    FrameThrottle &search_pace() { return list_search.pace(); }
    // While held, only another search text hides or shows selected rows: an edit is its operator's
    // to end.
    void hold_selected_rows(bool on) { list_search.hold_selected_rows(on); }

signals:
    void selection_changed();
    // A selected row is about to be hidden or shown by the search. Whoever listens may change rows.
    void selected_hidden();
    void column_toggled(); // and all rows have been written
    void counts_changed(); // possibly; counts() tells

private:
    void set_up_view();
    void connect_search();
    int last_column() const;
    void write_all_rows();
    void refresh_row(Device &device, int row);
    void insert_row(Device &device);
    void count_online(RowHead &head, bool is_online);
    // Above the first row that the search leaves: as many as there are rows when it leaves none.
    int hidden_at_the_top() const;
    SortedBy sorted_by() const;
    void sort_if_needed();

    QStandardItemModel device_model;
    QPointer<DeviceListView> device_list;
    ColumnChoice columns;
    HighlightDelegate highlight_delegate;
    RowWriter writer;
    int batches = 0;
    bool sort_pending = false; // a key in the sort column has changed
    int births = 0;            // rows so far
    ListSearch list_search{device_model, highlight_delegate};
    EmptyNote *empty_note = nullptr; // inside the view
};
