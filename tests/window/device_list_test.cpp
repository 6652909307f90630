// The device list in the real window.
#include "gui/column_rules.h"
#include "gui/device_list_view.h"
#include "support/idle_loop.h"
#include "support/painted.h"
#include "support/window_main.h"

#include <QAction>
#include <QHeaderView>
#include <QMenu>
#include <QPushButton>
#include <QSignalSpy>

namespace {

constexpr int SORT_ROLE = 258;

QStringList shown_ids(const WindowHandle &gui)
{
    QStringList ids;
    for (int row = 0; row < gui.model().rowCount(); ++row)
        ids.append(gui.model().item(row, 0)->data(257).toString());
    return ids;
}

QJsonObject with_order(QJsonObject report, int order)
{
    QJsonObject ui = report.value("ui").toObject();
    ui.insert("order", order);
    report.insert("ui", ui);
    return report;
}

} // namespace

class DeviceListTest : public QObject
{
    Q_OBJECT

    std::unique_ptr<WindowCase> window;

    // Devices "00", "01"... at 10.0.0.1 and up.
    void report_one(int number, const QString &name)
    {
        window->report(QString("10.0.0.%1").arg(number + 1),
                       loudspeaker_report(QString("%1").arg(number, 2, 10, QChar('0')), 3, name));
    }

    void report_many(int count)
    {
        for (int i = 0; i < count; ++i)
            report_one(i, "Left");
    }

private slots:
    void init()
    {
        window = std::make_unique<WindowCase>();
        window->gui->show();
    }
    void cleanup() { window.reset(); }

    void the_first_start_shows_seven_columns_of_all()
    {
        const WindowHandle &gui = *window->gui;
        const auto columns = int(list_columns().size());
        QCOMPARE(int(gui.column_ids().size()), columns);
        QCOMPARE(gui.column_names().size(), columns);
        QCOMPARE(int(gui.column_actions().size()), columns);
        QCOMPARE(gui.model().columnCount(), columns);
        QStringList shown;
        for (int column = 0; column < columns; ++column)
            if (!gui.view()->isColumnHidden(column))
                shown.append(gui.model().horizontalHeaderItem(column)->text());
        QCOMPARE(shown,
                 QStringList({"Product", "Name", "Location", "AES67 Clock Status", "Metering", "IP",
                              "Status"}));
        QCOMPARE(gui.view()->header()->sortIndicatorSection(), 0);
        QCOMPARE(gui.view()->header()->sortIndicatorOrder(), Qt::AscendingOrder);
    }

    void a_report_makes_a_filled_row()
    {
        Device *device = window->report("10.0.0.5", loudspeaker_report("a", 3, "Centre"));
        QCOMPARE(window->gui->model().rowCount(), 1);
        QCOMPARE(window->cell(device, "product_id"), QString("VELMARK TriPoint 10 dp"));
        QCOMPARE(window->cell(device, "ui/name"), QString("Centre"));
        QCOMPARE(window->cell(device, "ui/loc"), QString("Stage"));
        QCOMPARE(window->cell(device, "rtp/lock"), QString("locked"));
        QCOMPARE(window->cell(device, "ip"), QString("10.0.0.5"));
        QCOMPARE(window->cell(device, "status"), QString("Online"));
        const QStandardItem *item = window->gui->model().item(0, 0);
        QCOMPARE(item->data(259).toString(), QString(":/icons/TriPoint.png"));
        QVERIFY(!item->data(Qt::DecorationRole).value<QIcon>().isNull());
        const QStandardItem *meter = window->gui->model().item(0, window->column("meter"));
        QCOMPARE(meter->data(259).value<MeterObject *>(), &device->meter);
    }

    void a_device_without_a_product_looks_unknown_and_has_the_first_table()
    {
        QJsonObject report = loudspeaker_report("a");
        report.remove("product_id");
        Device *device = window->report("10.0.0.5", report);
        QCOMPARE(window->cell(device, "product_id"), QString("<unknown>"));
        QCOMPARE(device->properties.size(), catalogue().product_table.front().properties.size());
    }

    void the_product_column_sorts_by_order_and_then_by_address()
    {
        window->report("10.0.0.10", loudspeaker_report("b"));
        window->report("10.0.0.9", loudspeaker_report("c"));
        window->report("10.0.0.1", with_order(loudspeaker_report("d"), 5));
        window->report("10.0.0.2", with_order(loudspeaker_report("e"), -1));
        QCOMPARE(shown_ids(*window->gui), QStringList({"e", "c", "b", "d"}));
    }

    void the_ip_column_sorts_as_text()
    {
        window->gui->view()->sortByColumn(window->column("ip"), Qt::AscendingOrder);
        window->report("10.0.0.9", loudspeaker_report("a"));
        window->report("10.0.0.10", loudspeaker_report("b"));
        QCOMPARE(shown_ids(*window->gui), QStringList({"b", "a"}));
    }

    void new_rows_land_in_place_in_descending_order_too()
    {
        window->gui->view()->sortByColumn(window->column("ui/name"), Qt::DescendingOrder);
        int address = 1;
        for (const char *name : {"m", "z", "a", "m", "q"}) {
            const QString number = QString::number(address++);
            window->report("10.0.0." + number, loudspeaker_report(number, 3, name));
        }
        QCOMPARE(shown_ids(*window->gui), QStringList({"2", "5", "1", "4", "3"}));
    }

    void a_changed_key_moves_the_row_and_the_row_is_found_again()
    {
        window->gui->view()->sortByColumn(window->column("ui/name"), Qt::AscendingOrder);
        Device *first = window->report("10.0.0.1", loudspeaker_report("1", 3, "a"));
        Device *second = window->report("10.0.0.2", loudspeaker_report("2", 3, "b"));
        window->report("10.0.0.1", loudspeaker_report("1", 3, "c"));
        QCOMPARE(shown_ids(*window->gui), QStringList({"2", "1"}));
        QCOMPARE(window->gui->row_of(first), 1);
        QCOMPARE(window->gui->row_of(second), 0);
        QCOMPARE(window->cell(first, "ui/name"), QString("c"));
    }

    void the_insertion_agrees_with_the_toolkits_own_sorting()
    {
        WindowHandle &gui = *window->gui;
        for (const Qt::SortOrder order : {Qt::AscendingOrder, Qt::DescendingOrder}) {
            gui.view()->sortByColumn(window->column("ui/name"), order);
            for (int i = 0; i < 60; ++i) {
                const QString id = QString("%1-%2").arg(order).arg(i);
                window->report("10.0.1." + QString::number(i),
                               loudspeaker_report(id, 3, QString::number(i * 7 % 11)));
                const QStringList before = shown_ids(gui);
                gui.view()->sortByColumn(-1, Qt::AscendingOrder);
                gui.view()->sortByColumn(window->column("ui/name"), order);
                QCOMPARE(before, shown_ids(gui));
            }
        }
    }

    void an_unchanged_report_emits_nothing()
    {
        window->report("10.0.0.1", loudspeaker_report("1"));
        QSignalSpy changes(&window->gui->model(), &QAbstractItemModel::dataChanged);
        QSignalSpy layouts(&window->gui->model(), &QAbstractItemModel::layoutChanged);
        window->report("10.0.0.1", loudspeaker_report("1"));
        QCOMPARE(changes.count(), 0);
        QCOMPARE(layouts.count(), 0);
    }

    void a_changed_row_emits_once()
    {
        window->report("10.0.0.1", loudspeaker_report("1"));
        QSignalSpy changes(&window->gui->model(), &QAbstractItemModel::dataChanged);
        QJsonObject report = loudspeaker_report("1", 4, "Other");
        report.insert("rtp", QJsonObject{{"lock", 0}});
        window->report("10.0.0.1", report);
        QCOMPARE(changes.count(), 1);
    }

    void a_lacking_key_leaves_the_cell_empty_and_later_as_it_was()
    {
        WindowHandle &gui = *window->gui;
        const int bank = window->column("dsp/bank");
        gui.view()->setColumnHidden(bank, false);
        Device *module = window->report("10.0.0.1", loudspeaker_report("1", 1000));
        QCOMPARE(window->cell(module, "dsp/bank"), QString());
        Device *device = window->report("10.0.0.2", loudspeaker_report("2", 3));
        QCOMPARE(window->cell(device, "dsp/bank"), QString("1"));
        window->report("10.0.0.2", loudspeaker_report("2", 1000));
        QCOMPARE(window->cell(device, "dsp/bank"), QString("1"));
    }

    void a_shown_column_fills_at_once_for_all()
    {
        WindowHandle &gui = *window->gui;
        Device *first = window->report("10.0.0.1", loudspeaker_report("1"));
        Device *second = window->report("10.0.0.2", loudspeaker_report("2"));
        QCOMPARE(window->cell(first, "dsp/preset"), QString());
        const auto preset = static_cast<size_t>(window->column("dsp/preset"));
        gui.show_column_menu(QPoint(1, 1));
        QVERIFY(!gui.column_actions()[preset]->isChecked());
        gui.column_actions()[preset]->trigger();
        QVERIFY(!gui.view()->isColumnHidden(window->column("dsp/preset")));
        QCOMPARE(window->cell(first, "dsp/preset"), QString("Flat"));
        QCOMPARE(window->cell(second, "dsp/preset"), QString("Flat"));
        gui.header_menu()->close();
    }

    void the_menu_of_the_columns_ticks_those_that_show()
    {
        WindowHandle &gui = *window->gui;
        const auto ticked_alone = [&gui] {
            gui.show_column_menu(QPoint(1, 1));
            gui.header_menu()->close();
            for (size_t i = 0; i < gui.column_actions().size(); ++i)
                if (gui.column_actions()[i]->isChecked()
                    == gui.view()->isColumnHidden(static_cast<int>(i)))
                    return false;
            return true;
        };
        QVERIFY(ticked_alone());
        const int memo = window->column("ui/memo");
        const int location = window->column("ui/location");
        gui.view()->setColumnHidden(memo, !gui.view()->isColumnHidden(memo));
        gui.view()->setColumnHidden(location, !gui.view()->isColumnHidden(location));
        QVERIFY(ticked_alone());
    }

    // While a fleet is found, each second report is that of a device that was found just before.
    void rows_that_come_and_change_in_one_turn_are_laid_out_once()
    {
        const DeviceListView &view = *window->gui->view();
        QApplication::processEvents();
        const int before = view.layouts();
        for (int i = 0; i < 30; ++i) {
            report_one(i, "Left");
            report_one(i, "Right");
        }
        QVERIFY(view.layouts() - before <= 1);
        QTRY_VERIFY(view.layouts() > before);
        const QModelIndex last = window->gui->model().index(29, 0);
        QTRY_COMPARE(view.visualRect(last).top(), 29 * view.visualRect(last).height());
    }

    void a_row_that_changes_later_is_painted_without_a_layout()
    {
        report_many(3);
        DeviceListView *view = window->gui->view();
        QTRY_VERIFY(view->has_settled());
        QApplication::processEvents();
        const int before = view->layouts();
        const Painted painted(view->viewport());
        report_one(1, "Lift");
        const int column = window->column("ui/name");
        QTRY_VERIFY(
            painted.region.contains(view->visualRect(window->gui->model().index(1, column))));
        QCOMPARE(view->layouts(), before);
    }

    void widths_fit_the_widest_row_and_are_measured_once_for_many_changes()
    {
        WindowHandle &gui = *window->gui;
        for (int i = 0; i < 200; ++i)
            window->report(QString("10.0.%1.1").arg(i), loudspeaker_report(QString::number(i)));
        const int column = window->column("ui/name");
        QVERIFY(frame_passes()); // which measures
        const int before = gui.view()->columnWidth(column);
        const int measured = gui.view()->measurements();
        for (int i = 0; i < 50; ++i) {
            window->report("10.0.7.1", loudspeaker_report("7", 3, QString("W").repeated(5 + i)));
            QApplication::processEvents(QEventLoop::AllEvents, 1);
        }
        QTRY_VERIFY(gui.view()->columnWidth(column) > before);
        const QStandardItem *item = gui.model().item(7, column);
        QVERIFY(item != nullptr);
        QTRY_VERIFY(gui.view()->columnWidth(column)
                    >= gui.view()->fontMetrics().horizontalAdvance(QString("W").repeated(54)));
        // 82 columns at most 8 of them shown: fifty changes may not cost fifty rounds.
        QVERIFY(gui.view()->measurements() - measured < 50 * 7);
        window->report("10.0.7.1", loudspeaker_report("7", 3, "w"));
        QTRY_COMPARE(gui.view()->columnWidth(column), before);
    }

    void only_selected_visible_rows_are_selected_devices()
    {
        WindowHandle &gui = *window->gui;
        Device *first = window->report("10.0.0.1", loudspeaker_report("1"));
        Device *second = window->report("10.0.0.2", loudspeaker_report("2"));
        gui.view()->selectAll();
        QCOMPARE(gui.selected_devices(), (std::vector<Device *>{first, second}));
        gui.view()->setRowHidden(0, QModelIndex(), true);
        QCOMPARE(gui.selected_devices(), (std::vector<Device *>{second}));
        QVERIFY(gui.is_selected(first));
    }

    void identify_follows_the_presence_of_the_selection()
    {
        WindowHandle &gui = *window->gui;
        window->report("10.0.0.1", loudspeaker_report("1"), false);
        gui.view()->selectAll();
        QVERIFY(!gui.identify_button()->isEnabled());
        window->report("10.0.0.1", loudspeaker_report("1"));
        QVERIFY(gui.identify_button()->isEnabled());
        window->report("10.0.0.1", loudspeaker_report("1"), false);
        QVERIFY(!gui.identify_button()->isEnabled());
    }

    void going_offline_clears_levels_and_broken_net()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("1"));
        device->meter.set_levels({70}, {});
        device->broken_net = true;
        device->assistant_dismissed = true;
        window->gui->update(device);
        QCOMPARE(window->cell(device, "status"), QString("Broken net"));
        device->online = false;
        window->gui->update(device);
        QCOMPARE(window->cell(device, "status"), QString("Offline"));
        QVERIFY(!device->broken_net);
        QVERIFY(!device->assistant_dismissed);
        QVERIFY(device->meter.levels.empty());
    }

    // A list by status is sorted anew when devices come or go: for all that go together once.
    void a_fleet_that_falls_silent_is_sorted_once()
    {
        WindowHandle &gui = *window->gui;
        gui.discovery_timer().stop();
        gui.view()->sortByColumn(window->column("status"), Qt::AscendingOrder);
        report_many(40);
        QSignalSpy sortings(&gui.model(), &QAbstractItemModel::layoutChanged);
        for (const auto &[id, device] : gui.all_devices())
            device->last_seen -= id < "20" ? 0 : 5000; // those that stand last
        gui.discover();
        QVERIFY2(sortings.count() <= 2, qPrintable(QString::number(sortings.count())));
        QVERIFY(gui.is_sorted());
        QCOMPARE(window->cell(gui.find_device("30"), "status"), QString("Offline"));
        gui.view()->sortByColumn(window->column("status"), Qt::DescendingOrder);
        sortings.clear();
        gui.network_changed();
        QVERIFY2(sortings.count() <= 2, qPrintable(QString::number(sortings.count())));
        QCOMPARE(window->cell(gui.find_device("10"), "status"), QString("Offline"));
    }

    void what_was_held_back_during_an_edit_is_sorted_once()
    {
        WindowHandle &gui = *window->gui;
        gui.discovery_timer().stop();
        gui.view()->sortByColumn(window->column("ui/name"), Qt::AscendingOrder);
        report_many(40);
        gui.view()->selectAll();
        gui.set_edit_mode(true);
        for (int i = 0; i < 40; ++i) // the last becomes the first, one after the other
            report_one(i, QString::number(999 - i));
        QSignalSpy sortings(&gui.model(), &QAbstractItemModel::layoutChanged);
        gui.set_edit_mode(false);
        QVERIFY2(sortings.count() <= 2, qPrintable(QString::number(sortings.count())));
        QVERIFY(gui.is_sorted());
        QCOMPARE(window->cell(gui.find_device("39"), "ui/name"), QString("960"));
    }

    // Each change of the selection shows all that is left of it in the panel.
    void deleting_many_changes_the_selection_a_few_times_at_most_data()
    {
        QTest::addColumn<int>("every");
        QTest::newRow("all") << 1;
        QTest::newRow("every other one") << 2;
        QTest::newRow("every third") << 3;
    }
    void deleting_many_changes_the_selection_a_few_times_at_most()
    {
        QFETCH(int, every);
        WindowHandle &gui = *window->gui;
        report_many(60);
        QStringList kept;
        QItemSelection chosen;
        for (int row = 0; row < 60; ++row) {
            const QModelIndex index = gui.model().index(row, 0);
            if (row % every == 0)
                chosen.select(index, index);
            else
                kept.append(shown_ids(gui).at(row));
        }
        gui.view()->selectionModel()->select(
            chosen, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
        QSignalSpy changes(gui.view()->selectionModel(), &QItemSelectionModel::selectionChanged);
        gui.delete_selected();
        QCOMPARE(shown_ids(gui), kept);
        QCOMPARE(gui.all_devices().size(), size_t(kept.size()));
        for (const QString &id : kept)
            QVERIFY(gui.row_of(gui.find_device(id)) == kept.indexOf(id));
        QVERIFY2(changes.count() <= 3, qPrintable(QString::number(changes.count())));
    }

    // A second press of Delete must not take a device that nobody has chosen.
    void after_a_deletion_nothing_is_selected_data()
    {
        QTest::addColumn<int>("last");
        QTest::newRow("one") << 3;
        QTest::newRow("three") << 5;
        QTest::newRow("up to the end") << 9;
    }
    void after_a_deletion_nothing_is_selected()
    {
        QFETCH(int, last);
        WindowHandle &gui = *window->gui;
        report_many(10);
        const auto click = [&gui](int row, Qt::KeyboardModifiers modifiers) {
            const QModelIndex index = gui.model().index(row, 0);
            gui.view()->scrollTo(index);
            QTest::mouseClick(gui.view()->viewport(), Qt::LeftButton, modifiers,
                              gui.view()->visualRect(index).center());
        };
        click(3, {});
        click(last, Qt::ShiftModifier);
        QCOMPARE(gui.selected_devices().size(), size_t(last - 2));
        gui.delete_selected();
        QVERIFY(gui.selected_devices().empty());
        QCOMPARE(gui.all_devices().size(), size_t(12 - last));
    }

    void an_unreadable_icon_is_an_empty_one()
    {
        QVERIFY(window->gui->load_icon(":/icons/none.png").availableSizes().isEmpty());
    }

    void a_metering_frame_repaints_nothing_but_meters()
    {
        Device *device = window->report("10.0.0.1", loudspeaker_report("1"));
        QSignalSpy changes(&window->gui->model(), &QAbstractItemModel::dataChanged);
        window->gui->deliver(
            QHostAddress("10.0.0.1"),
            R"({"command":"broadcast_info","device_id":"1","metering":{"channel_peaks":[35]}})");
        QCOMPARE(device->meter.levels, (std::vector<float>{-35.0F}));
        QCOMPARE(changes.count(), 0);
        QCOMPARE(window->gui->model().item(0, 0)->data(SORT_ROLE).type(), QVariant::LongLong);
    }
};

WINDOW_TEST_MAIN(DeviceListTest)
#include "device_list_test.moc"
