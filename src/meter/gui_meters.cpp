// Live levels: from the metering frame to the bars in the list.
#include "gui/device_list_view.h"
#include "gui/gui.h"
#include "meter/meter_item_delegate.h"
#include "meter/meter_report.h"

#include <algorithm>

namespace {

constexpr int METER_ROLE = Qt::UserRole + 3;

int column_of(const std::vector<std::string> &ids, const char *id)
{
    const auto found = std::find(ids.begin(), ids.end(), id);
    return found == ids.end() ? -1 : static_cast<int>(found - ids.begin());
}

} // namespace

void Gui::install_meter_delegate()
{
    const int column = column_of(column_ids, "meter");
    if (column >= 0)
        device_list->setItemDelegateForColumn(column,
                                              new MeterItemDelegate(device_list, METER_ROLE, this));
}

void Gui::take_metering(Device *device, const QJsonObject &message)
{
    const MeterReport report = read_meter_report(message);
    device->meter.set_levels(report.peaks, report.overdrive);
}

// Every bar falls a step; then the meter cells in view are painted again, and nothing else.
void Gui::on_meter_tick()
{
    for (const auto &[id, device] : devices)
        device->meter.tick();
    const int column = column_of(column_ids, "meter");
    if (column < 0 || device_list->isColumnHidden(column))
        return;
    const int bottom = device_list->viewport()->height();
    QModelIndex row = device_list->indexAt(QPoint(0, 0));
    while (row.isValid()) {
        const QModelIndex cell = row.siblingAtColumn(column);
        if (device_list->visualRect(cell).top() >= bottom)
            break;
        device_list->update(cell);
        row = device_list->indexBelow(row);
    }
}
