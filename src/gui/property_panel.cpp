// The property panel: the rows of what is selected, and the edit of them.
#include "gui/property_panel.h"

#include "gui/panel_head.h"
#include "gui/row_editors.h"
#include "meter/meter_widget.h"
#include "model/json_path.h"

#include <QApplication>
#include <QKeyEvent>
#include <QLineEdit>
#include <QShortcut>
#include <QVBoxLayout>

#include <utility>

namespace {

constexpr int PANEL_MARGIN = 4; // pixels around the panel and between its parts
constexpr auto NAME_KEY = "ui/name";

} // namespace

PropertyPanel::PropertyPanel(SelectionSource its_selection, QWidget *parent)
    : QWidget(parent)
    , selection(std::move(its_selection))
    , head(new PanelHead)
    , sheet(new PanelSheet)
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(PANEL_MARGIN, PANEL_MARGIN, PANEL_MARGIN, PANEL_MARGIN);
    layout->setSpacing(PANEL_MARGIN);
    layout->addWidget(head);
    layout->addWidget(sheet);
    connect(head, &PanelHead::edit_pressed, this, &PropertyPanel::begin_edit_in_sight);
    connect(head, &PanelHead::cancel_pressed, this, &PropertyPanel::cancel);
    connect(head, &PanelHead::confirm_pressed, this, &PropertyPanel::confirmed);
    connect(&mark_pace, &FrameThrottle::due, this, &PropertyPanel::mark_edited_rows);
    add_shortcuts();
}

void PropertyPanel::add_shortcuts()
{
    const auto add = [this](const QKeySequence &keys, auto handler) {
        connect(new QShortcut(keys, this), &QShortcut::activated, this, handler);
    };
    add(Qt::Key_F2, &PropertyPanel::edit_name);
    for (const int enter : {Qt::Key_Return, Qt::Key_Enter})
        add(static_cast<int>(Qt::CTRL) + enter, &PropertyPanel::confirmed);
}

// ---- what is selected --------------------------------------------------------------------------

// KEPT: source channels follow rows that stand behind them, so they need a second time. All other
// rows are right after the first.
void PropertyPanel::show_selection()
{
    set_edit_mode(false);
    const PanelSheet::LayoutPause pause(*sheet);
    refresh_all_rows();
    const std::vector<Device *> selected = selection();
    for (const std::string &key : catalogue().property_keys)
        if ((row(key)->desc.flags & PF_FOLLOWS_STREAM) != 0)
            update_row(key, selected);
    sheet->order_tab_stops();
    update_edit_buttons();
}

void PropertyPanel::update_property(const std::string &key)
{
    update_row(key, selection());
    sheet->order_tab_stops();
}

// Runs for each report of a selected device, and most change nothing: only then is the selection
// asked for.
void PropertyPanel::refresh_needed_rows()
{
    if (!rows.needs_refresh())
        return;
    const PanelSheet::LayoutPause pause(*sheet);
    const std::vector<Device *> selected = selection();
    for (const std::string &key : catalogue().property_keys)
        if (row(key)->needs_update)
            update_row(key, selected);
    sheet->order_tab_stops();
}

void PropertyPanel::refresh_all_rows()
{
    const PanelSheet::LayoutPause pause(*sheet);
    const std::vector<Device *> selected = selection();
    for (const std::string &key : catalogue().property_keys)
        update_row(key, selected);
    sheet->order_tab_stops();
}

// A cursor or an open popup survives a refresh that changes no descriptor.
void PropertyPanel::update_row(const std::string &key, const std::vector<Device *> &selected)
{
    if (!row(key))
        return;
    const RowChange change = rows.refresh(key, selected);
    if (change == RowChange::HIDDEN) {
        sheet->hide_row(key);
        return;
    }
    if (change == RowChange::NEW_EDITOR)
        rebuild_editor(key);
    show_row(key, selected);
}

void PropertyPanel::rebuild_editor(const std::string &key)
{
    const RowEditor *editor = sheet->rebuild_row(key, *row(key));
    if (!editor)
        return;
    connect(editor, &RowEditor::edited, this, [this, key] { on_row_edited(key); });
    connect(editor, &RowEditor::edit_wanted, this, [this] { set_edit_mode(true); });
    connect(editor, &RowEditor::update_pressed, this, &PropertyPanel::update_pressed);
    connect(editor, &RowEditor::save_pressed, this, &PropertyPanel::save_pressed);
    connect(editor, &RowEditor::load_pressed, this, &PropertyPanel::load_pressed);
}

void PropertyPanel::show_row(const std::string &key, const std::vector<Device *> &selected)
{
    const RowWidgets &shown = *row_widgets(key);
    show_value(key, shown);
    mark_changes(key, selected);
    sheet->show_row(key);
    if (QWidget *input = shown.editor->input())
        input->setEnabled(editing && (row(key)->desc.flags & PF_READONLY) == 0);
    if (shown.meter_widget)
        shown.meter_widget->set_meter(&selected.front()->meter);
}

// A field that is being typed in and reads as its row does keeps its text.
void PropertyPanel::show_value(const std::string &key, const RowWidgets &shown) const
{
    if (!shown.editor)
        return;
    const bool is_typed = editing && shown.editor->keeps_what_is_typed();
    if (!is_typed || read_row_value(key) != row(key)->value)
        shown.editor->show_value();
}

void PropertyPanel::mark_changes(const std::string &key, const std::vector<Device *> &selected)
{
    if (row_widgets(key)->caption)
        sheet->mark_row(key, rows.changes_any(key, selected));
}

// Comparing with a thousand devices takes longer than a key press or a step of a drag may: once per
// painted frame is as often as anyone sees it.
void PropertyPanel::mark_later(const std::string &key)
{
    keys_to_mark.insert(key);
    mark_pace.ask();
}

void PropertyPanel::mark_edited_rows()
{
    const std::vector<Device *> selected = selection();
    for (const std::string &key : std::exchange(keys_to_mark, {}))
        mark_changes(key, selected);
}

// ---- the edit ----------------------------------------------------------------------------------

// What was held back is merged after the flag, which would hold it back again, and before the
// refresh; the edits go before both, as they would keep the edited values.
void PropertyPanel::set_edit_mode(bool on)
{
    if (on == editing)
        return;
    editing = on;
    const QPoint place = sheet->place();
    const bool gives_focus_back = !on && has_focus_inside();
    update_edit_buttons();
    if (on) {
        emit edit_started();
    } else {
        rows.drop_edits();
        emit edit_ended();
    }
    refresh_all_rows();
    emit eq_rows_changed();
    sheet->lay_out();
    sheet->scroll_to(place);
    if (gives_focus_back)
        emit focus_released();
}

void PropertyPanel::cancel()
{
    set_edit_mode(false);
    refresh_all_rows();
    emit focus_released();
}

// Keys that no editor has a use for come here. An open list takes Escape for itself.
void PropertyPanel::keyPressEvent(QKeyEvent *event)
{
    if (editing && event->key() == Qt::Key_Escape)
        cancel();
    else
        QWidget::keyPressEvent(event);
}

void PropertyPanel::update_edit_buttons()
{
    head->show_mode(editing, !selection().empty());
}

// The button that was pressed is switched off now: the focus goes to where the work begins.
void PropertyPanel::begin_edit_in_sight()
{
    set_edit_mode(true);
    sheet->focus_first_in_sight();
}

void PropertyPanel::edit_name()
{
    if (selection().empty())
        return;
    set_edit_mode(true);
    const RowWidgets &name = *row_widgets(NAME_KEY);
    if (!name.line_edit || !name.line_edit->isVisible())
        return;
    bring_into_sight({NAME_KEY});
    name.line_edit->setFocus(Qt::ShortcutFocusReason);
    name.line_edit->selectAll();
}

bool PropertyPanel::has_focus_inside() const
{
    const QWidget *focus = QApplication::focusWidget();
    return focus && isAncestorOf(focus);
}

void PropertyPanel::on_row_edited(const std::string &key)
{
    if (!editing || !rows.edit(key, read_row_value(key)))
        return;
    if ((row(key)->desc.flags & PF_EQ) != 0)
        emit eq_rows_changed();
    refresh_needed_rows();
    mark_later(key);
    emit row_edited(key);
}

void PropertyPanel::take(const std::string &key, const QVariant &value)
{
    const RowWidgets *shown = row_widgets(key);
    if (!shown)
        return;
    rows.set_value(key, value, true);
    show_value(key, *shown);
    on_row_edited(key);
}

void PropertyPanel::take_unchanged(const std::string &key, const QVariant &value)
{
    const Property *taking = row(key);
    if (!taking || taking->desc.kind == PROP_NONE)
        return;
    rows.set_value(key, value, true);
    show_value(key, *row_widgets(key));
    rows.edit(key, value);
    refresh_needed_rows();
    mark_later(key);
    emit row_edited(key);
}

// An ordinary edit: nothing is sent before Confirm. The order of the keys counts, as presets follow
// the bank and source channels the stream. A hidden row has no kind, so it takes no value.
void PropertyPanel::restore(const QJsonObject &backup, uint32_t mask)
{
    set_edit_mode(true);
    for (const std::string &key : catalogue().property_keys) {
        const Property *shown = row(key);
        if (!shown || (shown->desc.flags & mask) == 0)
            continue;
        const QVariant value = value_from_json(backup, shown->desc);
        if (!value.isNull())
            take(key, value);
    }
}

QVariant PropertyPanel::read_row_value(const std::string &key) const
{
    const Property *read = row(key);
    const RowWidgets *shown = row_widgets(key);
    if (!read || !shown)
        return {};
    return editor_value(read->desc, read->uniform,
                        shown->editor ? shown->editor->state() : EditorState{});
}

std::optional<RefusedRow> PropertyPanel::first_refusal() const
{
    return rows.first_refusal([this](const std::string &key) { return read_row_value(key); });
}

std::optional<QJsonObject> PropertyPanel::changes_for(const Device &device) const
{
    return rows.changes_for(device);
}
