// Draws cell texts with the search hits marked.
#pragma once

#include "gui/cell_texts.h"

#include <QIcon>
#include <QItemDelegate>
#include <QStandardItemModel>
#include <QString>

class HighlightDelegate : public QItemDelegate
{
    Q_OBJECT

public:
    using QItemDelegate::QItemDelegate;

    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;
    QSize sizeHint(const QStyleOptionViewItem &option, const QModelIndex &index) const override;

    // Whether a cell with this text satisfies the search.
    bool matches_search(const QString &text) const;

    QString search_text = {}; // what the search box held at the last search
    bool dark_theme = false;  // light text on a dark ground: marked text must turn black

protected:
    void drawDecoration(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect,
                        const QPixmap &pixmap) const override;
    // KEPT: left-aligned, in the document's own colour, selected or not.
    void drawDisplay(QPainter *painter, const QStyleOptionViewItem &option, const QRect &rect,
                     const QString &text) const override;

private:
    QModelIndex shown_index(const QModelIndex &index) const;
    // Another text in this cell's place.
    QModelIndex cell_with(const QString &text, const QModelIndex &index) const;
    void paint_plain(QPainter *painter, const QStyleOptionViewItem &option,
                     const QModelIndex &index, const QString &text) const;
    CellStyle style_of(const QStyleOptionViewItem &option) const;
    int room_in(const QStyleOptionViewItem &option) const;
    QString fitting_text(const QStyleOptionViewItem &option, const QString &text) const;

    mutable CellTexts texts;
    mutable QStandardItemModel short_cell{1, 1}; // stands in for a cell whose text is too long
    mutable QIcon picture;                       // of the cell that is being painted
};
