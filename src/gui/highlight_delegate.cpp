// Draws cell texts with the search hits marked.
#include "gui/highlight_delegate.h"

#include "gui/highlight.h"

#include <QPainter>
#include <QTextDocument>
#include <QTextOption>

bool HighlightDelegate::matches_search(const QString &text) const
{
    return contains_search(text, search_text);
}

void HighlightDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    picture = index.data(Qt::DecorationRole).value<QIcon>();
    QItemDelegate::paint(painter, option, shown_index(index));
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
    const QModelIndex cell = short_cell.index(0, 0);
    short_cell.setData(cell, shown, Qt::DisplayRole);
    short_cell.setData(cell, index.data(Qt::DecorationRole), Qt::DecorationRole);
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
