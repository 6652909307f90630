// The list's header: there also when no column is, and of use without a mouse.
#include "gui/list_header.h"

#include <QKeyEvent>
#include <QPainter>
#include <QStyleOptionFocusRect>

ListHeader::ListHeader(QWidget *parent)
    : QHeaderView(Qt::Horizontal, parent)
{
    // What a tree view gives to a header of its own making. The room behind the last column is
    // shared out by the list.
    setSectionsMovable(true);
    setDefaultAlignment(Qt::AlignLeft | Qt::AlignVCenter);
    setFocusPolicy(Qt::TabFocus);
    setAccessibleName("Columns");
}

QSize ListHeader::sizeHint() const
{
    QSize size = QHeaderView::sizeHint();
    if (count() > 0 && hiddenSectionCount() == count())
        size.setHeight(sectionSizeFromContents(0).height());
    return size;
}

int ListHeader::caption_width(int section) const
{
    const auto place = static_cast<size_t>(section);
    if (place >= caption_widths.size())
        caption_widths.resize(place + 1, -1);
    int &width = caption_widths[place];
    if (width < 0)
        width = QHeaderView::sectionSizeFromContents(section).width();
    return width;
}

void ListHeader::setModel(QAbstractItemModel *new_model)
{
    caption_widths.clear();
    QHeaderView::setModel(new_model);
}

void ListHeader::changeEvent(QEvent *event)
{
    if (event->type() == QEvent::FontChange || event->type() == QEvent::StyleChange)
        caption_widths.clear();
    QHeaderView::changeEvent(event);
}

QSize ListHeader::sectionSizeFromContents(int section) const
{
    return {0, QHeaderView::sectionSizeFromContents(section).height()};
}

void ListHeader::keyPressEvent(QKeyEvent *event)
{
    switch (event->key()) {
    case Qt::Key_Left:
        move_choice(-1);
        return;
    case Qt::Key_Right:
        move_choice(1);
        return;
    case Qt::Key_Space:
    case Qt::Key_Return:
    case Qt::Key_Enter:
        sort_by_choice();
        return;
    case Qt::Key_Down:
    case Qt::Key_Menu:
        emit menu_wanted({qMax(0, sectionViewportPosition(chosen_section())), height()});
        return;
    default:
        // Not the view's way with keys, which moves a current cell that a header does not show.
        QWidget::keyPressEvent(event); // NOLINT(bugprone-parent-virtual-call)
    }
}

// The first press of an arrow starts from the caption that the list is sorted by.
void ListHeader::focusInEvent(QFocusEvent *event)
{
    if (sortIndicatorSection() >= 0 && sortIndicatorSection() < count())
        chosen = sortIndicatorSection();
    QHeaderView::focusInEvent(event);
    viewport()->update();
}

void ListHeader::focusOutEvent(QFocusEvent *event)
{
    QHeaderView::focusOutEvent(event);
    viewport()->update();
}

bool ListHeader::has_short_section() const
{
    for (int section = 0; section < count(); ++section)
        if (!isSectionHidden(section) && sectionSize(section) < caption_width(section))
            return true;
    return false;
}

// The toolkit puts dots before the room is used up, so it may do that only where there is too
// little.
void ListHeader::paintEvent(QPaintEvent *event)
{
    setTextElideMode(has_short_section() ? Qt::ElideRight : Qt::ElideNone);
    QHeaderView::paintEvent(event);
}

void ListHeader::paintSection(QPainter *painter, const QRect &rect, int section) const
{
    // The base class changes the painter's clipping and pen, and does not put them back.
    painter->save();
    QHeaderView::paintSection(painter, rect, section);
    painter->restore();
    if (!hasFocus() || section != chosen_section())
        return;
    QStyleOptionFocusRect option;
    option.initFrom(this);
    option.rect = rect.adjusted(2, 2, -2, -2);
    option.state |= QStyle::State_KeyboardFocusChange;
    option.backgroundColor = palette().color(QPalette::Button);
    style()->drawPrimitive(QStyle::PE_FrameFocusRect, &option, painter, this);
}

void ListHeader::move_choice(int step)
{
    for (int place = visualIndex(chosen_section()) + step; place >= 0 && place < count();
         place += step) {
        if (isSectionHidden(logicalIndex(place)))
            continue;
        chosen = logicalIndex(place);
        const int left = sectionViewportPosition(chosen);
        if (left < 0)
            setOffset(offset() + left);
        emit sectionEntered(chosen);
        viewport()->update();
        return;
    }
}

// As a click does it: another caption sorts upwards, the same one the other way round.
void ListHeader::sort_by_choice()
{
    const int section = chosen_section();
    if (section < 0)
        return;
    const bool turns
        = section == sortIndicatorSection() && sortIndicatorOrder() == Qt::AscendingOrder;
    setSortIndicator(section, turns ? Qt::DescendingOrder : Qt::AscendingOrder);
}

int ListHeader::chosen_section() const
{
    if (chosen < count() && !isSectionHidden(chosen))
        return chosen;
    for (int place = 0; place < count(); ++place)
        if (!isSectionHidden(logicalIndex(place)))
            return logicalIndex(place);
    return -1;
}
