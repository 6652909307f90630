// Draws cell texts with the search hits marked.
#include "gui/highlight_delegate.h"

#include "gui/highlight.h"

#include <QApplication>
#include <QPainter>
#include <QStyle>

#include <algorithm>

bool HighlightDelegate::matches_search(const QString &text) const
{
    return contains_search(text, search_text);
}

void HighlightDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    const QVariant decoration = index.data(Qt::DecorationRole);
    picture = decoration.value<QIcon>();
    const QString whole = index.data(Qt::DisplayRole).toString();
    const bool has_icon_at_most
        = !decoration.isValid() || decoration.userType() == QMetaType::QIcon;
    const bool is_simple = has_icon_at_most && is_plain_text(whole) && shown_part(whole) == whole;
    if (is_simple && option.showDecorationSelected) {
        paint_plain(painter, option, index, whole);
        return;
    }
    const QModelIndex shown = shown_index(index);
    const QString text = shown.data(Qt::DisplayRole).toString();
    const QString fitting = fitting_text(option, text);
    QItemDelegate::paint(painter, option, fitting == text ? shown : cell_with(fitting, shown));
}

// As the base class paints, which lays the text out to learn how large it is, and then gives it all
// the room that the picture leaves.
void HighlightDelegate::paint_plain(QPainter *painter, const QStyleOptionViewItem &option,
                                    const QModelIndex &index, const QString &text) const
{
    const QStyleOptionViewItem cell = setOptions(index, option);
    const QString shown = texts.fitting(cell.font, cell.fontMetrics, text, room_in(cell));
    QRect check_rect;
    QRect picture_rect;
    if (!picture.isNull())
        picture_rect = QRect(QPoint(0, 0), picture.actualSize(cell.decorationSize));
    QRect text_rect(0, 0, 1, 1);
    doLayout(cell, &check_rect, &picture_rect, &text_rect, false);
    painter->save();
    painter->setClipRect(cell.rect);
    drawBackground(painter, cell, index);
    drawDecoration(painter, cell, picture_rect, {});
    if (shown == text)
        texts.draw_plain(painter, style_of(cell), text_rect, shown);
    else
        drawDisplay(painter, cell, text_rect, shown);
    drawFocus(painter, cell, text_rect);
    painter->restore();
}

// Pixels that the picture and the margins leave to the text.
int HighlightDelegate::room_in(const QStyleOptionViewItem &option) const
{
    const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
    const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
    const int beside = picture.isNull() ? 0 : option.decorationSize.width() + 2 * margin;
    return option.rect.width() - beside - 2 * margin;
}

// In a column that is narrower than its contents dots stand for the middle: names of one site begin
// alike, and their ends tell them apart.
QString HighlightDelegate::fitting_text(const QStyleOptionViewItem &option,
                                        const QString &text) const
{
    const int room = room_in(option);
    if (is_plain_text(text))
        return texts.fitting(option.font, option.fontMetrics, text, room);
    if (text.contains(QChar('\n')) || option.fontMetrics.horizontalAdvance(text) <= room)
        return text;
    return option.fontMetrics.elidedText(text, Qt::ElideMiddle, std::max(room, 0));
}

// A selected row lies behind its picture, not over it: products are told apart by their looks.
void HighlightDelegate::drawDecoration(QPainter *painter, const QStyleOptionViewItem &option,
                                       const QRect &rect, const QPixmap &pixmap) const
{
    if (!picture.isNull()) {
        picture.paint(painter, rect, option.decorationAlignment);
        return;
    }
    QStyleOptionViewItem plain = option;
    plain.state &= ~QStyle::State_Selected;
    QItemDelegate::drawDecoration(painter, plain, rect, pixmap);
}

QSize HighlightDelegate::sizeHint(const QStyleOptionViewItem &option,
                                  const QModelIndex &index) const
{
    return QItemDelegate::sizeHint(option, shown_index(index));
}

// The base class lays out what the model holds, however long that is.
QModelIndex HighlightDelegate::shown_index(const QModelIndex &index) const
{
    const QString text = index.data(Qt::DisplayRole).toString();
    const QString shown = shown_part(text);
    if (shown == text)
        return index;
    return cell_with(shown, index);
}

QModelIndex HighlightDelegate::cell_with(const QString &text, const QModelIndex &index) const
{
    const QVariant decoration = index.data(Qt::DecorationRole);
    const QModelIndex cell = short_cell.index(0, 0);
    short_cell.setData(cell, text, Qt::DisplayRole);
    short_cell.setData(cell, decoration, Qt::DecorationRole);
    return cell;
}

void HighlightDelegate::drawDisplay(QPainter *painter, const QStyleOptionViewItem &option,
                                    const QRect &rect, const QString &text) const
{
    texts.draw(painter, style_of(option), rect, text);
}

CellStyle HighlightDelegate::style_of(const QStyleOptionViewItem &option) const
{
    return {.font = option.font, .search = search_text, .dark_theme = dark_theme};
}
