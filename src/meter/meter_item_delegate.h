// Draws the live meters in a column of an item view.
#pragma once

#include <QStyledItemDelegate>

class QAbstractItemView;

class MeterItemDelegate : public QStyledItemDelegate
{
    Q_OBJECT

public:
    // Draws for `view` (not owned, outlives the delegate) the MeterObject * that cells hold under
    // item data role `role`; cells without one are drawn as any other.
    MeterItemDelegate(QAbstractItemView *view, int role, QObject *parent = nullptr);
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override;

private:
    QAbstractItemView *view = nullptr;
    int role = 0;
};
