// The property panel: the rows of what is selected, and the edit of them.
#pragma once

#include "gui/panel_rows.h"
#include "gui/panel_sheet.h"
#include "support/frame_throttle.h"

#include <QVariant>
#include <QWidget>

#include <cstdint>
#include <functional>
#include <optional>
#include <set>
#include <string>
#include <vector>

class PanelHead;

// The selected devices in their order, asked for whenever rows are refreshed: sorting the list
// changes who leads without another selection.
using SelectionSource = std::function<std::vector<Device *>()>;

class PropertyPanel : public QWidget
{
    Q_OBJECT

public:
    explicit PropertyPanel(SelectionSource its_selection, QWidget *parent = nullptr);

    // Another selection: drops an edit without a word, and shows what is selected now.
    void show_selection();
    // Without a change, nothing happens. Ending it drops what was edited.
    void set_edit_mode(bool on);
    bool is_editing() const { return editing; }
    // What the Cancel button does.
    void cancel();
    // What F2 does: an edit that begins in the name.
    void edit_name();

    // Rows in line with the selection: one, those that are marked, all of them.
    void update_property(const std::string &key);
    void refresh_needed_rows();
    void refresh_all_rows();
    void mark(const std::string &key) { rows.mark(key); }
    void mark_dependants(const std::string &key) { rows.mark_dependants(key); }

    // Shows a value as if the operator had put it in: the editor may bound or refuse it. A hidden
    // row takes none.
    void take(const std::string &key, const QVariant &value);
    // The same, but the value stays what it is, whatever the editor makes of it.
    void take_unchanged(const std::string &key, const QVariant &value);
    // Begins an edit with what a backup says about the properties that have a flag of `mask`.
    void restore(const QJsonObject &backup, uint32_t mask);

    // What a row's editor holds: invalid for none, an ErrorValue for a refused input.
    QVariant read_row_value(const std::string &key) const;
    std::optional<RefusedRow> first_refusal() const;
    std::optional<QJsonObject> changes_for(const Device &device) const;
    // How many properties have no row because not all selected devices have them.
    int count_unshared() const { return rows.count_unshared(selection()); }

    // Scrolls up or down until these rows are in sight, the first before the others. The focus
    // stays where it is.
    void bring_into_sight(const std::vector<std::string> &keys) { sheet->bring_into_sight(keys); }

    const Property *row(const std::string &key) const { return rows.row(key); }
    // Null when the key has none.
    const RowWidgets *row_widgets(const std::string &key) const { return sheet->row(key); }

    // Black or white, as the desktop is.
    void set_ground(bool is_dark) { sheet->set_ground(is_dark); }

signals:
    // Between the change of mode and the refresh of the rows: what was held back is merged now.
    void edit_started();
    void edit_ended();
    void row_edited(const std::string &key);
    void eq_rows_changed(); // the curve has to be drawn from the rows again
    void focus_released();  // an edit ended: the panel has no use for the focus any more
    void confirmed();
    void update_pressed();
    void save_pressed();
    void load_pressed(uint32_t mask);

protected:
    void keyPressEvent(QKeyEvent *event) override;

private:
    void add_shortcuts();
    void update_row(const std::string &key, const std::vector<Device *> &selected);
    void rebuild_editor(const std::string &key);
    void show_row(const std::string &key, const std::vector<Device *> &selected);
    void show_value(const std::string &key, const RowWidgets &shown) const;
    void mark_changes(const std::string &key, const std::vector<Device *> &selected);
    void mark_later(const std::string &key);
    void mark_edited_rows();
    void on_row_edited(const std::string &key);
    void begin_edit_in_sight();
    bool has_focus_inside() const;
    void update_edit_buttons();

    SelectionSource selection;
    PanelRows rows = {};
    bool editing = false;
    FrameThrottle mark_pace = {};
    std::set<std::string> keys_to_mark = {}; // edited since the last frame
    PanelHead *head = nullptr;
    PanelSheet *sheet = nullptr;
};
