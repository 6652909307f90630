// The rows of the property panel as widgets: where each stands, its looks, and what of them is in
// sight.
#include "gui/panel_sheet.h"

#include "gui/column_rules.h"
#include "gui/row_caption.h"
#include "gui/row_editors.h"
#include "model/meta.h"

#include <QEvent>
#include <QGridLayout>
#include <QLineEdit>
#include <QScrollBar>

#include <algorithm>

namespace {

constexpr int GRID_MARGIN = 6; // pixels left and right of the rows, and between their columns
constexpr int ROW_MARGIN = 1;  // pixels above and below an editor

// As narrow as its editors allow: when the panel has little room, the captions keep it longest.
class RowHolder : public QWidget
{
public:
    QSize sizeHint() const override
    {
        return {layout()->minimumSize().width(), layout()->sizeHint().height()};
    }
};

// Three parts of the text's colour, one of the ground's: it can be read, and tells that nobody can
// write there now.
QColor subdued(const QColor &text, const QColor &ground)
{
    const auto mix = [](int three, int one) { return (3 * three + one) / 4; };
    return QColor(mix(text.red(), ground.red()), mix(text.green(), ground.green()),
                  mix(text.blue(), ground.blue()));
}

} // namespace

PanelSheet::PanelSheet(QWidget *parent)
    : QScrollArea(parent)
    , content(new QWidget)
    , grid(new QGridLayout(content))
{
    setObjectName("property_scroll");
    content->setObjectName("backw");
    grid->setVerticalSpacing(0);
    grid->setHorizontalSpacing(GRID_MARGIN);
    grid->setContentsMargins(GRID_MARGIN, ROW_MARGIN, GRID_MARGIN, ROW_MARGIN);
    int grid_row = 0;
    for (const std::string &key : catalogue().property_keys)
        rows[key].grid_row = grid_row++;
    for (const ListColumn &column : list_columns())
        if (column.title != column.name)
            groups[column.id] = column.group;
    grid->setColumnStretch(1, 1);
    grid->setRowStretch(grid_row, 1); // few rows stay at the top
    setWidgetResizable(true);
    setWidget(content);
}

void PanelSheet::set_ground(bool is_dark)
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

// ---- rows and their editors --------------------------------------------------------------------

const RowWidgets *PanelSheet::row(const std::string &key) const
{
    const auto found = rows.find(key);
    return found == rows.end() ? nullptr : &found->second;
}

// Widgets come with the first selection that has the row: until then nobody sees them, and making
// all of them would take as long as the rest of the window.
void PanelSheet::make_row_widgets(RowWidgets &made, const std::string &key)
{
    made.caption = new RowCaption(QString::fromStdString(key));
    made.caption->set_group(groups[key]);
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

RowEditor *PanelSheet::rebuild_row(const std::string &key, const Property &property)
{
    RowWidgets &rebuilt = rows.at(key);
    if (!rebuilt.holder)
        make_row_widgets(rebuilt, key);
    PropertyDesc &made_from = descriptors[key];
    mark_row(key, false);
    if (rebuilt.editor && made_from.same_editor(property.desc))
        return nullptr;
    made_from = property.desc;
    rebuild_row_widgets(rebuilt, property);
    has_new_editors = true;
    return rebuilt.editor;
}

void PanelSheet::show_row(const std::string &key)
{
    const RowWidgets &shown = rows.at(key);
    has_new_rows |= shown.holder->isHidden();
    shown.caption->show();
    shown.holder->show();
}

void PanelSheet::hide_row(const std::string &key)
{
    const RowWidgets &hidden = rows.at(key);
    if (!hidden.holder)
        return;
    hidden.caption->hide();
    hidden.holder->hide();
}

PanelSheet::LayoutPause::LayoutPause(PanelSheet &its_sheet)
    : sheet(its_sheet.grid->isEnabled() ? &its_sheet : nullptr)
{
    if (!sheet)
        return;
    sheet->has_new_rows = false;
    sheet->grid->setEnabled(false);
}

// Rows that were there before are laid out with the next frame, as ever.
PanelSheet::LayoutPause::~LayoutPause()
{
    if (!sheet)
        return;
    sheet->grid->setEnabled(true);
    if (sheet->has_new_rows && sheet->content->isVisible())
        sheet->grid->activate();
}

void PanelSheet::mark_row(const std::string &key, bool is_changed)
{
    const RowWidgets &marked = rows.at(key);
    if (!marked.caption || is_changed == marked.caption->is_marked())
        return;
    marked.caption->set_marked(is_changed);
    if (QWidget *input = marked.editor ? marked.editor->input() : nullptr)
        input->setAccessibleDescription(is_changed ? "Changed: differs from a selected device."
                                                   : QString());
}

// New editors join the tab order at its very end; each must follow the one that is read before it.
void PanelSheet::order_tab_stops()
{
    if (!has_new_editors)
        return;
    has_new_editors = false;
    QWidget *before = nullptr;
    for (const std::string &key : catalogue().property_keys) {
        const QHBoxLayout *layout = rows.at(key).row_layout;
        for (int i = 0; layout && i < layout->count(); ++i) {
            QWidget *widget = layout->itemAt(i)->widget();
            if (!widget || widget->focusPolicy() == Qt::NoFocus)
                continue;
            QWidget::setTabOrder(before, widget);
            before = widget;
        }
    }
}

// ---- what is in sight --------------------------------------------------------------------------

void PanelSheet::bring_into_sight(const std::vector<std::string> &keys)
{
    QRect wanted;
    for (const std::string &key : keys) {
        const RowWidgets *one = row(key);
        if (one && one->holder && one->holder->isVisible())
            wanted = wanted.united(one->holder->geometry());
    }
    if (wanted.isNull())
        return;
    QScrollBar *down = verticalScrollBar();
    const int lowest = std::max(down->value(), wanted.bottom() + 1 - viewport()->height());
    down->setValue(std::min(lowest, wanted.top()));
}

void PanelSheet::focus_first_in_sight()
{
    for (const std::string &key : catalogue().property_keys) {
        const RowWidgets &one = rows.at(key);
        QWidget *input = one.editor ? one.editor->input() : nullptr;
        if (!input || !input->isEnabled() || !is_in_sight(input))
            continue;
        input->setFocus(Qt::OtherFocusReason);
        if (one.line_edit && !one.line_edit->hasSelectedText())
            one.line_edit->end(false); // what is typed is appended
        return;
    }
}

bool PanelSheet::is_in_sight(const QWidget *widget) const
{
    const QRect covered(widget->mapTo(viewport(), QPoint(0, 0)), widget->size());
    return widget->isVisible() && viewport()->rect().contains(covered);
}

QPoint PanelSheet::place() const
{
    return {horizontalScrollBar()->value(), verticalScrollBar()->value()};
}

void PanelSheet::scroll_to(const QPoint &place)
{
    horizontalScrollBar()->setValue(place.x());
    verticalScrollBar()->setValue(place.y());
}

// The panel never gets narrower than its rows can be: nothing is cut, and nothing scrolls sideways.
void PanelSheet::fit_width()
{
    const int bar = verticalScrollBar()->sizeHint().width();
    setMinimumWidth(content->minimumSizeHint().width() + bar + 2 * frameWidth());
}

// The base class filters the events of what scrolls.
bool PanelSheet::eventFilter(QObject *watched, QEvent *event)
{
    if (watched == content && event->type() == QEvent::LayoutRequest)
        fit_width();
    return QScrollArea::eventFilter(watched, event);
}
