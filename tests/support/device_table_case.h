// The list of devices by itself: no window around it, devices made by hand.
#pragma once

#include "gui/device_list_view.h"
#include "gui/device_table.h"
#include "model/device.h"
#include "support/test_parts.h"
#include "support/tool_tip.h"

#include <QHeaderView>
#include <QJsonObject>
#include <QMenu>

#include <memory>

inline QStringList shown_texts(DeviceTable &table, const std::string &id)
{
    QStringList texts;
    for (int row = 0; row < table.model().rowCount(); ++row)
        if (!table.view()->isRowHidden(row, QModelIndex()))
            texts.append(table.model().item(row, table.column_of(id))->text());
    return texts;
}

class DeviceTableCase : public QObject
{
protected:
    std::vector<std::unique_ptr<Device>> devices;
    std::unique_ptr<DeviceTable> table;

    DeviceListView *view() { return table->view(); }
    QHeaderView *header() { return view()->header(); }

    void open_table()
    {
        table = std::make_unique<DeviceTable>();
        view()->resize(900, 500);
        view()->show();
        QVERIFY(QTest::qWaitForWindowExposed(view()));
    }

    void close_table()
    {
        table.reset();
        devices.clear();
    }

    // A device that has reported; the next address each.
    Device &add(const QString &name, const QJsonObject &dsp = {}, int order = 0)
    {
        const int number = static_cast<int>(devices.size());
        devices.push_back(std::make_unique<Device>());
        Device &device = *devices.back();
        device.device_id = QString("id %1").arg(number, 4, 10, QChar('0'));
        device.address = QHostAddress(0x0A000001U + static_cast<quint32>(number));
        device.online = true;
        device.properties = catalogue().product_table.front().properties;
        tell(device, name, dsp, order);
        return device;
    }

    void tell(Device &device, const QString &name, const QJsonObject &dsp = {}, int order = 0)
    {
        const QJsonObject report{
            {"product_id", 3},
            {"ui", QJsonObject{{"name", name}, {"loc", "Stage"}, {"order", order}}},
            {"dsp", dsp}};
        merge_report(device, report); // the product first,
        merge_report(device, report); // then what it has
        table->show(device);
    }

    void show_column(const std::string &id)
    {
        table->actions().at(static_cast<size_t>(table->column_of(id)))->setChecked(true);
        table->toggle_column(static_cast<size_t>(table->column_of(id)));
    }

    QPoint middle_of(int row) { return middle_of(row, table->column_of("ui/name")); }
    QPoint middle_of(int row, int column)
    {
        const QModelIndex index = table->model().index(row, column);
        view()->scrollTo(index);
        return view()->visualRect(index).center();
    }

    void click(int row, Qt::KeyboardModifiers modifiers = {})
    {
        QTest::mouseClick(view()->viewport(), Qt::LeftButton, modifiers, middle_of(row));
    }

    QPoint place_of(const std::string &id)
    {
        QAction *action = table->actions().at(static_cast<size_t>(table->column_of(id)));
        return table->menu()->actionGeometry(action).center();
    }
};
