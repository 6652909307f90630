// Draws cell texts with the search hits marked.
#include "gui/highlight_delegate.h"

#include "gui/highlight.h"

#include <QApplication>
#include <QPainter>
#include <QStyle>
#include <QTextDocument>
#include <QTextOption>

#include <algorithm>

bool HighlightDelegate::matches_search(const QString &text) const
{
    return contains_search(text, search_text);
}

void HighlightDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    picture = index.data(Qt::DecorationRole).value<QIcon>();
    const QModelIndex shown = shown_index(index);
    const QString text = shown.data(Qt::DisplayRole).toString();
    const QString fitting = fitting_text(option, text, !picture.isNull());
    QItemDelegate::paint(painter, option, fitting == text ? shown : cell_with(fitting, shown));
}

// In a column that is narrower than its contents dots stand for the middle: names of one site begin
// alike, and their ends tell them apart.
QString HighlightDelegate::fitting_text(const QStyleOptionViewItem &option, const QString &text,
                                        bool has_picture)
{
    const QStyle *style = option.widget ? option.widget->style() : QApplication::style();
    const int margin = style->pixelMetric(QStyle::PM_FocusFrameHMargin, nullptr, option.widget) + 1;
    const int beside = has_picture ? option.decorationSize.width() + 2 * margin : 0;
    const int room = option.rect.width() - beside - 2 * margin;
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
    if (shown.size() == text.size())
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
    QTextDocument document;
    document.setDocumentMargin(0);
    document.setDefaultFont(option.font);
    QTextOption text_option = document.defaultTextOption();
    text_option.setAlignment(Qt::AlignVCenter);
    text_option.setWrapMode(QTextOption::ManualWrap);
    document.setDefaultTextOption(text_option);
    document.setPageSize(rect.size());
    document.setTextWidth(rect.width());
    if (dark_theme)
        document.setDefaultStyleSheet("span { color: #000000; }");
    document.setHtml(highlight_html(text, search_text));

    const int half_height = rect.height() / 2; // halved in whole pixels
    const int above = static_cast<int>(half_height - 0.5 * document.size().height());
    painter->save();
    painter->translate(rect.left(), above + rect.top());
    painter->setClipRect(QRect(QPoint(0, 0), rect.size()), Qt::ReplaceClip);
    document.drawContents(painter, QRectF());
    painter->restore();
}
