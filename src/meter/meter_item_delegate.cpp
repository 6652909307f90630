// Draws the live meters in a column of an item view.
#include "meter/meter_item_delegate.h"

#include "meter/meter_object.h"
#include "meter/meter_paint.h"
#include "meter/meter_scale.h"

#include <QAbstractItemView>
#include <QPainter>

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

    const QVariant value = view->model()->data(index, role);
    if (!value.canConvert<MeterObject *>())
        return;
    MeterObject *const meter = qobject_cast<MeterObject *>(value.value<MeterObject *>());
    if (meter == nullptr)
        return;

    painter->save();
    paint_meter(*meter, painter, view, meter_box(view->visualRect(index)));
    painter->restore();
}
