// The list of devices by itself: no window around it, devices made by hand.
#include "gui/device_cell.h"
#include "gui/empty_note.h"
#include "model/device_state.h"
#include "support/contrast.h"
#include "support/device_table_case.h"
#include "support/idle_loop.h"

#include <QApplication>
#include <QClipboard>
#include <QLabel>
#include <QMimeData>
#include <QSignalSpy>
#include <QtTest>

#include <algorithm>

class DeviceTableTest : public DeviceTableCase
{
    Q_OBJECT

private slots:
    void initTestCase() { build_catalogue(); }

    void init() { open_table(); }
    void cleanup() { close_table(); }

    // ---- rows

    void the_selection_has_a_colour_of_its_own_in_each_theme()
    {
        table->set_dark_theme(true);
        QCOMPARE(view()->styleSheet(),
                 QString("QTreeView { selection-background-color: #005499; }"));
        table->set_dark_theme(false);
        QCOMPARE(view()->styleSheet(),
                 QString("QTreeView { selection-background-color: #cce8ff; }"));
    }

    void a_click_selects_the_whole_row()
    {
        add("Left");
        add("Right");
        QTest::mouseClick(view()->viewport(), Qt::LeftButton, {},
                          middle_of(1, table->column_of("ui/loc")));
        QVERIFY(view()->selectionModel()->isRowSelected(1, QModelIndex()));
        QVERIFY(!view()->selectionModel()->isSelected(table->model().index(0, 0)));
        QCOMPARE(table->selected(), (std::vector<Device *>{devices[1].get()}));
    }

    void values_are_not_edited_in_the_list()
    {
        add("Left");
        click(0);
        QTest::mouseDClick(view()->viewport(), Qt::LeftButton, {}, middle_of(0));
        QTest::keyClick(view(), Qt::Key_F2);
        QTest::keyClicks(view(), "x");
        QCOMPARE(view()->editTriggers(), QAbstractItemView::NoEditTriggers);
        QCOMPARE(shown_texts(*table, "ui/name"), QStringList("Left"));
        QVERIFY(view()->viewport()->findChildren<QWidget *>().isEmpty());
    }

    // As any model's cell: what is written from outside is told, once.
    void a_cell_tells_what_is_written_into_it()
    {
        add("Left");
        QStandardItem *cell = table->model().item(0, table->column_of("ui/name"));
        QSignalSpy changes(&table->model(), &QAbstractItemModel::dataChanged);
        cell->setData("Right", Qt::DisplayRole);
        QCOMPARE(changes.size(), 1);
        QCOMPARE(cell->text(), QString("Right"));
        cell->setData("Right", Qt::EditRole);
        QCOMPARE(changes.size(), 1);
        cell->setData("tip", Qt::ToolTipRole);
        QCOMPARE(changes.size(), 2);
        QCOMPARE(cell->data(Qt::ToolTipRole), QVariant("tip"));
    }

    void pictures_have_32_points()
    {
        QCOMPARE(view()->iconSize(), QSize(32, 32) * qApp->devicePixelRatio());
    }

    void all_rows_are_as_high_as_the_first()
    {
        add("Left");
        add("Right\nover\nfour\nlines", {}, 1);
        const int first = view()->visualRect(table->model().index(0, 0)).height();
        QVERIFY(first > 0);
        QCOMPARE(view()->visualRect(table->model().index(1, 0)).height(), first);
    }

    void rows_grow_with_the_topmost_one()
    {
        Device &top = add("Left");
        add("Right", {}, 1);
        const auto height_of
            = [this](int row) { return view()->visualRect(table->model().index(row, 0)).height(); };
        const int usual = height_of(1);
        QVERIFY(usual > 0);
        tell(top, "Left\nover\nfour\nlines");
        QTRY_VERIFY(height_of(0) > 2 * usual);
        QCOMPARE(height_of(1), height_of(0));
    }

    void a_list_that_is_sorted_by_nothing_takes_new_rows_at_its_end()
    {
        table->sort_by(-1, Qt::AscendingOrder);
        for (const char *name : {"b", "c", "a"})
            add(name);
        QCOMPARE(shown_texts(*table, "ui/name"), QStringList({"b", "c", "a"}));
    }

    void properties_sort_by_their_values()
    {
        show_column("dsp/delay");
        add("a", {{"delay", 9.5}});
        add("b", {{"delay", 100.0}});
        add("c", {{"delay", 10.25}});
        table->sort_by(table->column_of("dsp/delay"), Qt::AscendingOrder);
        QCOMPARE(shown_texts(*table, "ui/name"), QStringList({"a", "c", "b"}));
        tell(*devices[1], "b", {{"delay", 1.0}});
        QCOMPARE(shown_texts(*table, "ui/name"), QStringList({"b", "a", "c"}));
    }

    void a_batch_sorts_once_at_its_end()
    {
        table->sort_by(table->column_of("ui/name"), Qt::AscendingOrder);
        for (const char *name : {"a", "b", "c", "d"})
            add(name);
        QSignalSpy sortings(&table->model(), &QAbstractItemModel::layoutChanged);
        {
            const DeviceTable::Batch batch(*table);
            const DeviceTable::Batch inner(*table);
            for (const auto &device : devices)
                tell(*device, QString(QChar('z' - device->device_id.back().digitValue())));
            QCOMPARE(sortings.size(), 0);
        }
        QVERIFY(sortings.size() <= 2); // the toolkit's sorting by nothing, and by the column
        QVERIFY(table->is_sorted());
        QCOMPARE(table->row_of(*devices[0]), 3);
    }

    void rows_go_from_any_place_and_the_rest_keeps_its_order_data()
    {
        QTest::addColumn<int>("every");
        QTest::addColumn<bool>("is_sorted_anew");
        for (const int every : {1, 2, 7, 60})
            for (const bool anew : {false, true})
                QTest::addRow("every %d, %s", every, anew ? "sorted anew" : "as they came")
                    << every << anew;
    }

    void rows_go_from_any_place_and_the_rest_keeps_its_order()
    {
        QFETCH(int, every);
        QFETCH(bool, is_sorted_anew);
        table->sort_by(table->column_of("ui/name"), Qt::AscendingOrder);
        for (int i = 0; i < 120; ++i)
            add(QString("name %1").arg(i * 47 % 120, 3, 10, QChar('0')));
        if (is_sorted_anew)
            table->sort_by(table->column_of("ui/name"), Qt::DescendingOrder);
        for (int round = 0; round < 2; ++round) {
            std::vector<Device *> leaving;
            QStringList staying;
            for (int row = 0; row < table->model().rowCount(); ++row)
                if (row % every == round % every)
                    leaving.push_back(table->device_at(row));
                else
                    staying.append(table->model().item(row, table->column_of("ui/name"))->text());
            table->remove(leaving);
            QCOMPARE(shown_texts(*table, "ui/name"), staying);
            for (int row = 0; row < table->model().rowCount(); ++row)
                QCOMPARE(table->row_of(*table->device_at(row)), row);
            for (const Device *device : leaving)
                QCOMPARE(table->row_of(*device), -1);
        }
    }

    void the_keyboard_goes_on_from_the_next_row_that_stays()
    {
        for (int i = 0; i < 12; ++i)
            add(QString("name %1").arg(i, 2, 10, QChar('0')));
        click(3);
        click(8, Qt::ShiftModifier);
        table->remove(table->selected());
        QVERIFY(table->selected().empty());
        QTest::keyClick(view(), Qt::Key_Up);
        QCOMPARE(table->selected(), (std::vector<Device *>{devices[2].get()}));
    }

    // A list that gets the focus stands on its first row, which is not selected.
    void a_key_that_finds_no_way_selects_the_row_where_it_stands()
    {
        add("name 0");
        table->view()->setFocus();
        QVERIFY(table->selected().empty());
        QTest::keyClick(view(), Qt::Key_Down);
        QCOMPARE(table->selected(), (std::vector<Device *>{devices[0].get()}));
        add("name 1");
        view()->clearSelection();
        QTest::keyClick(view(), Qt::Key_Home, Qt::ControlModifier);
        QVERIFY(table->selected().empty());
        QTest::keyClick(view(), Qt::Key_Home);
        QCOMPARE(table->selected(), (std::vector<Device *>{devices[0].get()}));
    }

    // With Shift rows are selected as far as the key goes, and with Ctrl it only moves.
    void every_key_that_leads_to_a_row_selects_it_data()
    {
        QTest::addColumn<int>("key");
        QTest::addColumn<int>("first");
        QTest::addColumn<int>("selected");
        QTest::newRow("Up") << int(Qt::Key_Up) << 0 << 0;
        QTest::newRow("Down") << int(Qt::Key_Down) << 2 << 2;
        QTest::newRow("Home") << int(Qt::Key_Home) << 0 << 0;
        QTest::newRow("End") << int(Qt::Key_End) << 2 << 2;
        QTest::newRow("Page up") << int(Qt::Key_PageUp) << 0 << 0;
        QTest::newRow("Page down") << int(Qt::Key_PageDown) << 2 << 2;
        QTest::newRow("another key") << int(Qt::Key_F7) << 1 << -1;
    }
    void every_key_that_leads_to_a_row_selects_it()
    {
        QFETCH(int, key);
        QFETCH(int, first);
        QFETCH(int, selected);
        for (const char *name : {"name 0", "name 1", "name 2"})
            add(name);
        const auto stand_on = [this, first] {
            view()->selectionModel()->setCurrentIndex(table->model().index(first, 0),
                                                      QItemSelectionModel::Clear);
        };
        stand_on();
        QTest::keyClick(view(), Qt::Key(key), Qt::ControlModifier);
        QVERIFY(table->selected().empty());
        stand_on();
        QTest::keyClick(view(), Qt::Key(key), Qt::KeypadModifier);
        const auto expected = selected < 0
            ? std::vector<Device *>{}
            : std::vector<Device *>{devices[static_cast<size_t>(selected)].get()};
        QCOMPARE(table->selected(), expected);
    }

    void devices_are_counted()
    {
        QSignalSpy changes(table.get(), &DeviceTable::counts_changed);
        add("Left");
        add("Right");
        add("Centre");
        QCOMPARE(table->counts(), (DeviceCounts{.devices = 3, .online = 3}));
        changes.clear();
        devices[0]->online = false;
        table->show(*devices[0]);
        QVERIFY(!changes.isEmpty());
        view()->selectAll();
        table->set_search("right");
        QCOMPARE(table->counts(),
                 (DeviceCounts{.devices = 3, .online = 2, .selected = 1, .hidden = 2}));
        changes.clear();
        table->show(*devices[0]); // nothing new
        QVERIFY(changes.isEmpty());
        table->remove({devices[1].get()});
        QCOMPARE(table->counts(), (DeviceCounts{.devices = 2, .online = 1, .hidden = 2}));
    }

    void a_selected_row_keeps_the_colours_of_its_picture()
    {
        add("Left");
        QPixmap red(64, 64);
        red.fill(Qt::red);
        table->model().item(0, 0)->setData(QIcon(red), Qt::DecorationRole);
        const auto red_pixels = [this] {
            const QImage seen = view()->viewport()->grab().toImage();
            int count = 0;
            for (int y = 0; y < seen.height(); ++y)
                for (int x = 0; x < seen.width(); ++x)
                    count += seen.pixelColor(x, y) == QColor(Qt::red);
            return count;
        };
        const int before = red_pixels();
        QCOMPARE(before, view()->iconSize().width() * view()->iconSize().height());
        click(0);
        QVERIFY(view()->selectionModel()->isRowSelected(0, QModelIndex()));
        QCOMPARE(red_pixels(), before);
    }

    // ---- what is read

    void a_cut_cell_tells_its_whole_text_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("width");
        QTest::addColumn<QString>("tip");
        const QString wide = QString("Wide <b> name ").repeated(6);
        QTest::newRow("whole") << "Left" << 900 << "";
        QTest::newRow("cut by the list's edge")
            << wide << 400 << "<qt>" + wide.toHtmlEscaped() + "</qt>";
        QTest::newRow("longer than cells show")
            << QString(600, 'x') << 900 << "<qt>" + QString(512, 'x') + "…</qt>";
        QTest::newRow("several lines") << "a\nb" << 900 << "<qt>a\nb</qt>";
    }

    void a_cut_cell_tells_its_whole_text()
    {
        QFETCH(QString, name);
        QFETCH(int, width);
        QFETCH(QString, tip);
        view()->resize(width, 500);
        add(name);
        QVERIFY(frame_passes()); // the columns follow the texts
        const QRect cell = view()->visualRect(table->model().index(0, table->column_of("ui/name")));
        QCOMPARE(tool_tip_at(view()->viewport(), {cell.left() + 3, cell.center().y()}), tip);
        tool_tip_at(view()->viewport(), {5, 450}); // below the rows
        QTRY_VERIFY(!QToolTip::isVisible());
    }

    void selected_rows_are_copied_as_they_are_seen()
    {
        add("b <1>", {}, 1);
        add("a\tx", {}, 2);
        add("c", {}, 3);
        for (const std::string id : {"rtp/lock", "meter", "status", "product_id"})
            view()->setColumnHidden(table->column_of(id), true);
        header()->moveSection(header()->visualIndex(table->column_of("ip")), 0);
        show_column("dsp/eq1/gain");
        click(2);
        click(0, Qt::ControlModifier);
        QTest::keyClick(view(), Qt::Key_C, Qt::ControlModifier);
        const QMimeData *data = QGuiApplication::clipboard()->mimeData();
        QVERIFY(data);
        QCOMPARE(data->text(),
                 QString("IP\tName\tLocation\tUser EQ 2: Gain\n"
                         "10.0.0.1\tb <1>\tStage\t?\n10.0.0.3\tc\tStage\t?\n"));
        QVERIFY(data->html().contains("<th>User EQ 2: Gain</th>"));
        QVERIFY(data->html().contains("<td>b &lt;1&gt;</td>"));
        table->set_search("c");
        QTest::keyClick(view(), Qt::Key_C, Qt::ControlModifier);
        QVERIFY(!QGuiApplication::clipboard()->text().contains("b <1>")); // hidden ones don't count
        view()->clearSelection();
        QGuiApplication::clipboard()->setText("kept");
        QTest::keyClick(view(), Qt::Key_C, Qt::ControlModifier);
        QCOMPARE(QGuiApplication::clipboard()->text(), QString("kept"));
    }

    // ---- what an empty list says

    void an_empty_list_says_why()
    {
        const auto texts = [this] {
            QStringList shown;
            for (const QLabel *label : table->note()->findChildren<QLabel *>())
                if (label->isVisible() && !label->text().isEmpty())
                    shown.append(label->text());
            return shown;
        };
        table->set_network("");
        QTRY_COMPARE(texts(),
                     QStringList({"No network",
                                  "Connect a cable, or a Wi-Fi with an IPv4 "
                                  "address."}));
        table->set_network("eth0");
        QTRY_COMPARE(texts(), QStringList("No device on eth0"));
        QTRY_COMPARE(texts().size(), 2); // three seconds later
        QVERIFY(texts().at(1).startsWith("Look at the cable, the network box above"));
        add("Left");
        QVERIFY(texts().isEmpty());
        table->set_search("abc");
        QTRY_COMPARE(texts(),
                     QStringList({"The only device does not match \"abc\"",
                                  "Clear the search to see them."}));
        table->set_search("lef");
        QVERIFY(texts().isEmpty());
        QVERIFY(frame_passes());
        QVERIFY(texts().isEmpty());
        table->remove({devices[0].get()});
        QTRY_COMPARE(texts(), QStringList("No device on eth0"));
    }

    void what_an_empty_list_says_stands_in_its_middle_under_a_bold_headline()
    {
        table->set_network("eth0 <b>");
        QTRY_VERIFY(table->note()->isVisible());
        const QList<QLabel *> labels = table->note()->findChildren<QLabel *>();
        QCOMPARE(labels.size(), 2);
        const QLabel *headline = labels.at(0)->text().isEmpty() ? labels.at(1) : labels.at(0);
        QCOMPARE(headline->text(), QString("No device on eth0 <b>"));
        for (const QLabel *label : labels) {
            QCOMPARE(label->font().bold(), label == headline);
            QCOMPARE(label->alignment(), Qt::AlignCenter);
            QVERIFY(label->wordWrap());
            QCOMPARE(label->textFormat(), Qt::PlainText);
        }
        const QRect both = labels.at(0)->geometry() | labels.at(1)->geometry();
        QVERIFY(std::abs(both.center().y() - table->note()->rect().center().y()) <= 1);
        QVERIFY(both.height() < table->note()->height() / 2);
        QCOMPARE(table->note()->focusPolicy(), Qt::NoFocus);
        for (const bool is_dark : {false, true}) {
            table->set_dark_theme(is_dark);
            for (const QLabel *label : labels)
                QCOMPARE(label->palette().color(QPalette::WindowText),
                         QColor(is_dark ? "#b0b0b0" : "#666666"));
        }
    }

    void what_an_empty_list_says_can_be_read_and_clicked_through_data()
    {
        QTest::addColumn<bool>("is_dark");
        QTest::newRow("light") << false;
        QTest::newRow("dark") << true;
    }

    void what_an_empty_list_says_can_be_read_and_clicked_through()
    {
        QFETCH(bool, is_dark);
        table->set_dark_theme(is_dark);
        table->set_network("eth0");
        QTRY_VERIFY(table->note()->isVisible());
        const QColor ground = is_dark ? QColor(35, 35, 35) : QColor(Qt::white);
        for (const QLabel *label : table->note()->findChildren<QLabel *>())
            QVERIFY(contrast(label->palette().color(QPalette::WindowText).rgb(), ground.rgb())
                    >= 4.5);
        QCOMPARE(table->note()->geometry(), view()->viewport()->geometry());
        view()->resize(700, 400);
        QTRY_COMPARE(table->note()->geometry(), view()->viewport()->geometry());
        QVERIFY(table->note()->testAttribute(Qt::WA_TransparentForMouseEvents));
        QCOMPARE(view()->childAt(view()->viewport()->geometry().center()), view()->viewport());
    }
};

PARTS_TEST_MAIN(DeviceTableTest)
#include "device_table_test.moc"
