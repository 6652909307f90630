// Draws the live meters in a column of an item view.
#include "meter/meter_item_delegate.h"

#include "meter/meter_object.h"
#include "meter/meter_paint.h"
#include "meter/meter_scale.h"

#include <QAbstractItemView>

MeterItemDelegate::MeterItemDelegate(QAbstractItemView *drawn_view, int meter_role, QObject *parent)
    : QStyledItemDelegate(parent)
    , view(drawn_view)
    , role(meter_role)
{
}

void MeterItemDelegate::paint(QPainter *painter, const QStyleOptionViewItem &option,
                              const QModelIndex &index) const
{
    // Selection and background first, as in any other cell.
    QStyledItemDelegate::paint(painter, option, index);

    if (const auto *meter = view->model()->data(index, role).value<MeterObject *>())
        paint_meter(*meter, painter, view, meter_box(view->visualRect(index)));
}
