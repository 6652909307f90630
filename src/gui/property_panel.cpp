// The property panel: the rows of what is selected, and the edit of them.
#include "gui/property_panel.h"

#include "gui/row_caption.h"
#include "gui/row_editors.h"
#include "meter/meter_widget.h"
#include "model/json_path.h"

#include <QApplication>
#include <QEvent>
#include <QGridLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QShortcut>
#include <QStyle>
#include <QToolButton>
#include <QVBoxLayout>

#include <algorithm>
#include <utility>

namespace {

constexpr int COLUMN_MARGIN = 4; // pixels around the panel and between its parts
constexpr int GRID_MARGIN = 6;   // pixels left and right of the rows, and between their columns
constexpr int ROW_MARGIN = 1;    // pixels above and below an editor
constexpr auto NAME_KEY = "ui/name";

// As narrow as its editors allow: when the panel has little room, the captions keep it longest.
class RowHolder : public QWidget
{
public:
    QSize sizeHint() const override
    {
        return {layout()->minimumSize().width(), layout()->sizeHint().height()};
    }
};

// Accessible names equal the tool tips: a picture alone says nothing to a screen reader.
QToolButton *make_tool_button(QStyle *style, QStyle::StandardPixmap picture, const QString &tip)
{
    auto *button = new QToolButton;
    button->setIcon(style->standardIcon(picture));
    button->setToolTip(tip);
    button->setAccessibleName(tip);
    return button;
}

// Three parts of the text's colour, one of the ground's: it can be read, and tells that nobody can
// write there now.
QColor subdued(const QColor &text, const QColor &ground)
{
    const auto mix = [](int three, int one) { return (3 * three + one) / 4; };
    return QColor(mix(text.red(), ground.red()), mix(text.green(), ground.green()),
                  mix(text.blue(), ground.blue()));
}

void hide_row(const RowWidgets &row)
{
    if (!row.holder)
        return;
    row.caption->hide();
    row.holder->hide();
}

} // namespace

PropertyPanel::PropertyPanel(SelectionSource its_selection, QWidget *parent)
    : QWidget(parent)
    , selection(std::move(its_selection))
{
    auto *layout = new QVBoxLayout(this);
    layout->setContentsMargins(COLUMN_MARGIN, COLUMN_MARGIN, COLUMN_MARGIN, COLUMN_MARGIN);
    layout->setSpacing(COLUMN_MARGIN);
    build_head();
    build_rows();
    add_shortcuts();
    connect(&mark_pace, &FrameThrottle::due, this, &PropertyPanel::mark_edited_rows);
    edit_button->setEnabled(false);
    confirm_button->setEnabled(false);
    cancel_button->setEnabled(false);
}

void PropertyPanel::build_head()
{
    edit_button = new QPushButton("Edit");
    edit_button->setObjectName("edit_button");
    cancel_button = make_tool_button(style(), QStyle::SP_DialogCancelButton, "Cancel");
    cancel_button->setObjectName("cancel_button");
    confirm_button = make_tool_button(style(), QStyle::SP_DialogApplyButton, "Confirm");
    confirm_button->setObjectName("confirm_button");
    connect(edit_button, &QPushButton::clicked, this, &PropertyPanel::begin_edit_in_sight);
    connect(cancel_button, &QToolButton::clicked, this, &PropertyPanel::cancel);
    connect(confirm_button, &QToolButton::clicked, this, &PropertyPanel::confirmed);

    auto *head = new QWidget;
    head->setObjectName("property_head");
    auto *head_layout = new QHBoxLayout(head);
    head_layout->setContentsMargins(0, 0, 0, 0);
    head_layout->addWidget(new QLabel("<b>Properties"));
    head_layout->addWidget(edit_button, 1);
    head_layout->addWidget(cancel_button);
    head_layout->addWidget(confirm_button);
    layout()->addWidget(head);
}

void PropertyPanel::build_rows()
{
    content = new QWidget;
    content->setObjectName("backw");
    content->installEventFilter(this);
    grid = new QGridLayout(content);
    grid->setVerticalSpacing(0);
    grid->setHorizontalSpacing(GRID_MARGIN);
    grid->setContentsMargins(GRID_MARGIN, ROW_MARGIN, GRID_MARGIN, ROW_MARGIN);
    int grid_row = 0;
    for (const std::string &key : catalogue().property_keys)
        widgets[key].grid_row = grid_row++;
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(grid_row, 1); // few rows stay at the top

    property_scroll = new QScrollArea;
    property_scroll->setObjectName("property_scroll");
    property_scroll->setWidgetResizable(true);
    property_scroll->setWidget(content);
    layout()->addWidget(property_scroll);
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

void PropertyPanel::set_ground(bool is_dark)
{
    content->setStyleSheet(is_dark ? "#backw { background-color: black; }"
                                   : "#backw { background-color: white; }");
    row_colours = palette();
    const QColor desktop = row_colours.color(QPalette::Active, QPalette::Window);
    // Editors that are switched off keep the desktop's grey, which tells them from the others.
    row_colours.setColor(QPalette::Disabled, QPalette::Base, desktop);
    for (const QPalette::ColorRole role :
         {QPalette::Text, QPalette::WindowText, QPalette::ButtonText})
        row_colours.setColor(QPalette::Disabled, role,
                             subdued(row_colours.color(QPalette::Active, role), desktop));
    row_colours.setColor(QPalette::Window, is_dark ? Qt::black : Qt::white);
}

// ---- what is selected --------------------------------------------------------------------------

// KEPT: source channels follow rows that stand behind them, so they need a second time. All other
// rows are right after the first.
void PropertyPanel::show_selection()
{
    set_edit_mode(false);
    refresh_all_rows();
    const std::vector<Device *> selected = selection();
    for (const std::string &key : catalogue().property_keys)
        if ((row(key)->desc.flags & PF_FOLLOWS_STREAM) != 0)
            update_row(key, selected);
    order_tab_stops();
    update_edit_buttons();
}

void PropertyPanel::update_property(const std::string &key)
{
    update_row(key, selection());
    order_tab_stops();
}

// Runs for each report of a selected device, and most change nothing: only then is the selection
// asked for.
void PropertyPanel::refresh_needed_rows()
{
    if (!rows.needs_refresh())
        return;
    const std::vector<Device *> selected = selection();
    for (const std::string &key : catalogue().property_keys)
        if (row(key)->needs_update)
            update_row(key, selected);
    order_tab_stops();
}

void PropertyPanel::refresh_all_rows()
{
    const std::vector<Device *> selected = selection();
    for (const std::string &key : catalogue().property_keys)
        update_row(key, selected);
    order_tab_stops();
}

// A cursor or an open popup survives a refresh that changes no descriptor.
void PropertyPanel::update_row(const std::string &key, const std::vector<Device *> &selected)
{
    const auto found = widgets.find(key);
    if (found == widgets.end())
        return;
    const RowChange change = rows.refresh(key, selected);
    if (change == RowChange::HIDDEN) {
        hide_row(found->second);
        return;
    }
    if (change == RowChange::NEW_EDITOR)
        rebuild_editor(key, found->second);
    show_row(key, found->second, selected);
}

void PropertyPanel::show_row(const std::string &key, RowWidgets &shown,
                             const std::vector<Device *> &selected)
{
    show_value(key, shown);
    mark_changes(key, selected);
    shown.caption->show();
    shown.holder->show();
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

// Bold, for what Confirm would change.
void PropertyPanel::mark_changes(const std::string &key, const std::vector<Device *> &selected)
{
    const RowWidgets &shown = widgets.at(key);
    if (!shown.caption)
        return;
    const bool is_changed = rows.changes_any(key, selected);
    if (is_changed == shown.caption->is_marked())
        return;
    shown.caption->set_marked(is_changed);
    if (QWidget *input = shown.editor ? shown.editor->input() : nullptr)
        input->setAccessibleDescription(is_changed ? "Changed: differs from a selected device."
                                                   : QString());
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

// ---- rows and their editors --------------------------------------------------------------------

// Widgets come with the first selection that has the row: until then nobody sees them, and making
// all of them would take as long as the rest of the window.
void PropertyPanel::make_row_widgets(RowWidgets &made, const std::string &key)
{
    made.caption = new RowCaption(QString::fromStdString(key));
    made.holder = new RowHolder;
    made.holder->setSizePolicy(QSizePolicy::Minimum, QSizePolicy::Minimum);
    made.holder->setAutoFillBackground(true);
    made.holder->setPalette(row_colours);
    made.row_layout = new QHBoxLayout(made.holder);
    made.row_layout->setSpacing(0);
    made.row_layout->setContentsMargins(0, ROW_MARGIN, 0, ROW_MARGIN);
    grid->addWidget(made.caption, made.grid_row, 0);
    grid->addWidget(made.holder, made.grid_row, 1);
}

void PropertyPanel::rebuild_editor(const std::string &key, RowWidgets &rebuilt)
{
    if (!rebuilt.holder)
        make_row_widgets(rebuilt, key);
    rebuild_row_widgets(rebuilt, *row(key));
    rebuilt.caption->set_marked(false);
    has_new_editors = true;
    if (!rebuilt.editor)
        return;
    connect(rebuilt.editor, &RowEditor::edited, this, [this, key] { on_row_edited(key); });
    connect(rebuilt.editor, &RowEditor::edit_wanted, this, [this] { set_edit_mode(true); });
    connect(rebuilt.editor, &RowEditor::update_pressed, this, &PropertyPanel::update_pressed);
    connect(rebuilt.editor, &RowEditor::save_pressed, this, &PropertyPanel::save_pressed);
    connect(rebuilt.editor, &RowEditor::load_pressed, this, &PropertyPanel::load_pressed);
}

// New editors join the tab order at its very end; each must follow the one that is read before it.
void PropertyPanel::order_tab_stops()
{
    if (!has_new_editors)
        return;
    has_new_editors = false;
    QWidget *before = nullptr;
    for (const std::string &key : catalogue().property_keys) {
        const QHBoxLayout *layout = widgets.at(key).row_layout;
        for (int i = 0; layout && i < layout->count(); ++i) {
            QWidget *widget = layout->itemAt(i)->widget();
            if (!widget || widget->focusPolicy() == Qt::NoFocus)
                continue;
            QWidget::setTabOrder(before, widget);
            before = widget;
        }
    }
}

const RowWidgets *PropertyPanel::row_widgets(const std::string &key) const
{
    const auto found = widgets.find(key);
    return found == widgets.end() ? nullptr : &found->second;
}

// The panel never gets narrower than its rows can be: nothing is cut, and nothing scrolls sideways.
void PropertyPanel::fit_width()
{
    const int bar = property_scroll->verticalScrollBar()->sizeHint().width();
    property_scroll->setMinimumWidth(content->minimumSizeHint().width() + bar
                                     + 2 * property_scroll->frameWidth());
}

bool PropertyPanel::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == content && event->type() == QEvent::LayoutRequest)
        fit_width();
    return QWidget::eventFilter(watched, event);
}

void PropertyPanel::bring_into_sight(const std::vector<std::string> &keys)
{
    QRect place;
    for (const std::string &key : keys) {
        const RowWidgets *one = row_widgets(key);
        if (one && one->holder && one->holder->isVisible())
            place = place.united(one->holder->geometry());
    }
    if (place.isNull())
        return;
    QScrollBar *down = property_scroll->verticalScrollBar();
    const int height = property_scroll->viewport()->height();
    const int lowest = std::max(down->value(), place.bottom() + 1 - height);
    down->setValue(std::min(lowest, place.top()));
}

// ---- the edit ----------------------------------------------------------------------------------

// What was held back is merged after the flag, which would hold it back again, and before the
// refresh; the edits go before both, as they would keep the edited values.
void PropertyPanel::set_edit_mode(bool on)
{
    if (on == editing)
        return;
    editing = on;
    QScrollBar *across = property_scroll->horizontalScrollBar();
    QScrollBar *down = property_scroll->verticalScrollBar();
    const QPoint place(across->value(), down->value());
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
    content->updateGeometry();
    across->setValue(place.x());
    down->setValue(place.y());
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
    confirm_button->setEnabled(editing);
    cancel_button->setEnabled(editing);
    edit_button->setEnabled(!editing && !selection().empty());
}

// The button that was pressed is switched off now: the focus goes to where the work begins.
void PropertyPanel::begin_edit_in_sight()
{
    set_edit_mode(true);
    for (const std::string &key : catalogue().property_keys) {
        const RowWidgets &one = widgets.at(key);
        QWidget *input = one.editor ? one.editor->input() : nullptr;
        if (input && input->isEnabled() && is_in_sight(input)) {
            input->setFocus(Qt::OtherFocusReason);
            if (one.line_edit && !one.line_edit->hasSelectedText())
                one.line_edit->end(false); // what is typed is appended
            return;
        }
    }
}

void PropertyPanel::edit_name()
{
    if (selection().empty())
        return;
    set_edit_mode(true);
    const RowWidgets &name = widgets.at(NAME_KEY);
    if (!name.line_edit || !name.line_edit->isVisible())
        return;
    bring_into_sight({NAME_KEY});
    name.line_edit->setFocus(Qt::ShortcutFocusReason);
    name.line_edit->selectAll();
}

bool PropertyPanel::is_in_sight(const QWidget *widget) const
{
    const QWidget *view = property_scroll->viewport();
    const QRect place(widget->mapTo(view, QPoint(0, 0)), widget->size());
    return widget->isVisible() && view->rect().contains(place);
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
    const auto found = widgets.find(key);
    if (found == widgets.end())
        return;
    rows.set_value(key, value, true);
    show_value(key, found->second);
    on_row_edited(key);
}

void PropertyPanel::take_unchanged(const std::string &key, const QVariant &value)
{
    const Property *taking = row(key);
    if (!taking || taking->desc.kind == PROP_NONE)
        return;
    rows.set_value(key, value, true);
    show_value(key, widgets.at(key));
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
