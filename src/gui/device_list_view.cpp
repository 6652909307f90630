// The list's view: columns as wide as their contents where there is room.
#include "gui/device_list_view.h"

#include "gui/device_cell.h"
#include "gui/highlight.h"
#include "gui/list_header.h"
#include "support/frame_throttle.h"

#include <QAbstractItemDelegate>
#include <QEvent>
#include <QHeaderView>
#include <QHelpEvent>
#include <QKeyEvent>
#include <QStandardItemModel>
#include <QStyle>
#include <QToolTip>

#include <algorithm>
#include <utility>

namespace {

// What columns keep at least when there is little room, in letters.
constexpr int FEWEST_OF_CAPTION = 10;
constexpr int FEWEST_OF_CONTENTS = 14;
constexpr int FEWEST_OF_LAST = 18;   // "Online, updating 42%"
constexpr int SHRINK_INTERVAL = 250; // ms: a column that could be narrower may wait a little
// Per column, the letters of all texts whose width is kept; ever-changing numbers must not pile up.
constexpr int MOST_KEPT_LETTERS = 1 << 19;

size_t at(int column)
{
    return static_cast<size_t>(column);
}

// A key that leads to a row, and selects that row alone.
bool moves_alone(const QKeyEvent &event)
{
    if ((event.modifiers() & ~Qt::KeypadModifier) != Qt::NoModifier)
        return false;
    switch (event.key()) {
    case Qt::Key_Up:
    case Qt::Key_Down:
    case Qt::Key_Home:
    case Qt::Key_End:
    case Qt::Key_PageUp:
    case Qt::Key_PageDown:
        return true;
    default:
        return false;
    }
}

} // namespace

DeviceListView::DeviceListView(QWidget *parent)
    : QTreeView(parent)
{
    frame_timer.setSingleShot(true);
    frame_timer.setInterval(FrameThrottle::FRAME);
    connect(&frame_timer, &QTimer::timeout, this, &DeviceListView::apply_widths);
    shrink_timer.setSingleShot(true);
    shrink_timer.setInterval(SHRINK_INTERVAL);
    connect(&shrink_timer, &QTimer::timeout, this, &DeviceListView::measure_dirty_columns);
}

// The header would look at every section again after each changed cell; measuring is ours.
void DeviceListView::setModel(QAbstractItemModel *new_model)
{
    QTreeView::setModel(new_model);
    items = qobject_cast<const QStandardItemModel *>(new_model);
    disconnect(new_model, &QAbstractItemModel::dataChanged, header(), nullptr);
    // Before the model changes: the base class asks for the layout when it has changed.
    connect(new_model, &QAbstractItemModel::layoutAboutToBeChanged, this,
            [this] { awaits_layout = true; });
}

int DeviceListView::sizeHintForColumn(int column) const
{
    if (!model() || column < 0)
        return -1;
    if (isColumnHidden(column))
        return contents_width(column);
    std::vector<ColumnNeed> needs;
    needs.reserve(shares.needs.size());
    size_t place = 0;
    for (int i = 0; i < header()->count(); ++i) {
        const int shown = header()->logicalIndex(i);
        if (isColumnHidden(shown))
            continue;
        if (shown == column)
            place = needs.size();
        needs.push_back({.caption = caption_width(shown),
                         .contents = contents_width(shown),
                         .picture = picture_width(shown)});
    }
    share_out(std::move(needs));
    return shares.widths[place];
}

// The header asks for one column after the other, of which all have changed or none.
void DeviceListView::share_out(std::vector<ColumnNeed> needs) const
{
    const int room = viewport()->width();
    const int letter = fontMetrics().averageCharWidth();
    if (needs == shares.needs && room == shares.room && letter == shares.letter)
        return;
    const LeastWidths least{.caption = FEWEST_OF_CAPTION * letter,
                            .contents = FEWEST_OF_CONTENTS * letter,
                            .last = FEWEST_OF_LAST * letter};
    shares.widths = share_width(needs, room, least);
    shares.needs = std::move(needs);
    shares.room = room;
    shares.letter = letter;
}

int DeviceListView::contents_width(int column) const
{
    if (at(column) >= widths.size())
        widths.resize(at(column) + 1, -1);
    int &width = widths[at(column)];
    if (width < 0)
        width = measured_widths({column}).front();
    return width;
}

int DeviceListView::caption_width(int column) const
{
    const auto *captions = qobject_cast<const ListHeader *>(header());
    return captions ? captions->caption_width(column) : 0; // another header asks for its own
}

// Where one cell has a picture, all have one of the same size.
int DeviceListView::picture_width(int column) const
{
    if (!model()->index(0, column).data(Qt::DecorationRole).isValid())
        return 0;
    const int margin = style()->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, this) + 1;
    return iconSize().width() + 4 * margin; // the text has its own two
}

// A layout follows any change of which rows exist or show, so all widths may have changed.
void DeviceListView::doItemsLayout()
{
    if (model()) {
        mark_dirty(0, model()->columnCount() - 1);
        shrink_timer.start(FrameThrottle::FRAME);
    }
    ++layout_count;
    awaits_layout = false;
    QTreeView::doItemsLayout();
}

void DeviceListView::rowsInserted(const QModelIndex &parent, int first, int last)
{
    awaits_layout = true;
    QTreeView::rowsInserted(parent, first, last);
}

void DeviceListView::reset()
{
    widths.clear();
    forget_widths();
    QTreeView::reset();
}

void DeviceListView::dataChanged(const QModelIndex &top_left, const QModelIndex &bottom_right,
                                 const QVector<int> &roles)
{
    const bool is_one_row = top_left.row() == bottom_right.row();
    // A row that the search hides shows nothing and asks for no width: once it shows again, all
    // columns are measured.
    if (is_one_row && isRowHidden(top_left.row(), top_left.parent()))
        return;
    mark_dirty(top_left.column(), bottom_right.column());
    if (is_one_row)
        widen_for_row(top_left.row());
    // Asking where a row is lays all of them out at once: for each report, while a fleet is found.
    if (awaits_layout)
        return;
    const QRect row = visualRect(top_left.siblingAtColumn(header()->logicalIndexAt(0)));
    // The topmost row decides the height of all, which the base class looks after.
    const bool is_top_row = !indexAbove(top_left).isValid();
    if (!is_one_row || is_top_row) {
        QTreeView::dataChanged(top_left, bottom_right, roles);
        return;
    }
    if (!row.isNull())
        viewport()->update(0, row.top(), viewport()->width(), row.height());
}

void DeviceListView::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange) {
        forget_widths();
        std::fill(widths.begin(), widths.end(), -1);
    }
    QTreeView::changeEvent(event);
}

bool DeviceListView::viewportEvent(QEvent *event)
{
    if (event->type() != QEvent::ToolTip)
        return QTreeView::viewportEvent(event);
    const auto *help = static_cast<QHelpEvent *>(event);
    const QModelIndex index = indexAt(help->pos());
    const QString text = cut_text(index);
    // As markup, so that a long text is broken into lines; what it holds is none.
    QToolTip::showText(help->globalPos(),
                       text.isEmpty() ? QString() : "<qt>" + text.toHtmlEscaped() + "</qt>",
                       viewport(), visualRect(index));
    return true;
}

QString DeviceListView::cut_text(const QModelIndex &index) const
{
    const QString text = index.data(Qt::DisplayRole).toString();
    if (text.isEmpty())
        return {};
    const QString shown = shown_part(text);
    const QRect seen = visualRect(index) & viewport()->rect();
    const QSize wanted = itemDelegate(index)->sizeHint(viewOptions(), index);
    const bool is_cut
        = shown != text || wanted.width() > seen.width() || text.contains(QChar('\n'));
    if (!is_cut)
        return {};
    return shown == text ? text : shown + "…";
}

// The base class would copy the one cell that is current. And it selects nothing when a key finds
// no way to go: a list that has just got the focus stands on its first row without having it
// selected.
void DeviceListView::keyPressEvent(QKeyEvent *event)
{
    if (event->matches(QKeySequence::Copy)) {
        emit copy_pressed();
        event->accept();
        return;
    }
    QTreeView::keyPressEvent(event);
    if (moves_alone(*event) && currentIndex().isValid()
        && !selectionModel()->isSelected(currentIndex()))
        selectionModel()->select(currentIndex(),
                                 QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void DeviceListView::mark_dirty(int first_column, int last_column)
{
    if (last_column < 0)
        return;
    dirty.resize(std::max(dirty.size(), at(last_column) + 1));
    std::fill(dirty.begin() + first_column, dirty.begin() + last_column + 1, true);
    if (!shrink_timer.isActive())
        shrink_timer.start(SHRINK_INTERVAL);
}

// A changed row can make a column wider at once; whether one has become narrower only a look at all
// rows can tell.
void DeviceListView::widen_for_row(int row)
{
    const QStyleOptionViewItem option = viewOptions();
    for (size_t column = 0; column < widths.size(); ++column) {
        if (widths[column] < 0 || isColumnHidden(static_cast<int>(column)))
            continue;
        const int width = cell_width(row, static_cast<int>(column), option);
        if (width <= widths[column])
            continue;
        widths[column] = width;
        if (!frame_timer.isActive())
            frame_timer.start();
    }
}

// Setting the mode that is set already makes the header take over the widths.
void DeviceListView::apply_widths()
{
    header()->setSectionResizeMode(QHeaderView::ResizeToContents);
}

void DeviceListView::measure_dirty_columns()
{
    std::vector<int> columns;
    for (size_t column = 0; column < std::min(dirty.size(), widths.size()); ++column) {
        if (!dirty[column] || isColumnHidden(static_cast<int>(column)))
            continue;
        dirty[column] = false;
        columns.push_back(static_cast<int>(column));
    }
    const std::vector<int> measured = measured_widths(columns);
    bool has_changed = false;
    for (size_t i = 0; i < columns.size(); ++i)
        has_changed |= std::exchange(widths[at(columns[i])], measured[i]) != measured[i];
    if (has_changed)
        apply_widths();
}

// Of the widest cell that shows, for each of these columns.
std::vector<int> DeviceListView::measured_widths(const std::vector<int> &columns) const
{
    measure_count += static_cast<int>(columns.size());
    const QStyleOptionViewItem option = viewOptions();
    std::vector<int> measured(columns.size(), 0);
    for (int row = 0; row < model()->rowCount(); ++row) {
        if (isRowHidden(row, QModelIndex()))
            continue;
        for (size_t i = 0; i < columns.size(); ++i)
            measured[i] = std::max(measured[i], cell_width(row, columns[i], option));
    }
    return measured;
}

DeviceCell *DeviceListView::cell_at(int row, int column) const
{
    QStandardItem *item = items ? items->item(row, column) : nullptr;
    return item && item->type() == DeviceCell::TYPE ? static_cast<DeviceCell *>(item) : nullptr;
}

// Thousands of cells are asked whenever one has become narrower, so each keeps its answer.
int DeviceListView::cell_width(int row, int column, const QStyleOptionViewItem &option) const
{
    DeviceCell *cell = cell_at(row, column);
    if (cell && cell->kept_width(measuring_round) >= 0)
        return cell->kept_width(measuring_round);
    const int width = text_width(model()->index(row, column), option);
    if (cell)
        cell->keep_width(measuring_round, width);
    return width;
}

void DeviceListView::forget_widths()
{
    text_widths.clear();
    ++measuring_round;
}

int DeviceListView::text_width(const QModelIndex &index, const QStyleOptionViewItem &option) const
{
    const size_t column = at(index.column());
    if (column >= text_widths.size())
        text_widths.resize(column + 1);
    KeptWidths &kept = text_widths[column];
    const bool has_picture = index.data(Qt::DecorationRole).isValid();
    const QString text
        = (has_picture ? "+" : "-") + shown_part(index.data(Qt::DisplayRole).toString());
    const auto known = kept.widths.constFind(text);
    if (known != kept.widths.constEnd())
        return *known;
    kept.letters += text.size();
    if (kept.letters > MOST_KEPT_LETTERS)
        kept = {.letters = text.size()};
    const int width = itemDelegate(index)->sizeHint(option, index).width();
    kept.widths.insert(text, width);
    return width;
}

void DeviceListView::update_column(int column)
{
    if (isColumnHidden(column))
        return;
    const int bottom = viewport()->height();
    QModelIndex row = indexAt(QPoint(0, 0));
    while (row.isValid()) {
        const QModelIndex cell = row.siblingAtColumn(column);
        if (visualRect(cell).top() >= bottom)
            break;
        update(cell);
        row = indexBelow(row);
    }
}
