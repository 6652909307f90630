// Live levels of 1,000 devices in the real list: a tick repaints the meter cells in view, nothing
// else, and allocates nothing for the devices; frames of any content come out as levels or nothing.
#include "gui/device_list_view.h"
#include "meter/meter_item_delegate.h"
#include "meter/meter_report.h"
#include "support/allocation_count.h"
#include "support/window_main.h"

#include <QScrollBar>

#include <algorithm>
#include <map>
#include <set>

namespace {

constexpr int COUNT = 1000;
constexpr int CHANNELS = 8;
constexpr int METER_ROLE = Qt::UserRole + 3;

// What has been painted: how often each row of each column.
using Paints = std::map<int, std::map<int, int>>;

class CountingDelegate : public QStyledItemDelegate
{
public:
    explicit CountingDelegate(Paints &seen)
        : paints(seen)
    {
    }
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        ++paints[index.column()][index.row()];
        QStyledItemDelegate::paint(painter, option, index);
    }
    Paints &paints;
};

class CountingMeterDelegate : public MeterItemDelegate
{
public:
    CountingMeterDelegate(QAbstractItemView *its_view, Paints &seen)
        : MeterItemDelegate(its_view, METER_ROLE, nullptr)
        , paints(seen)
    {
    }
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        ++paints[index.column()][index.row()];
        MeterItemDelegate::paint(painter, option, index);
    }
    Paints &paints;
};

QString id_of(int number)
{
    return QString("device %1").arg(number, 4, 10, QChar('0'));
}

QHostAddress address_of(int number)
{
    return QHostAddress(0x7F010000U + static_cast<quint32>(number));
}

QByteArray frame(const QString &id, const QByteArray &peaks, const QByteArray &overdrive = "[]")
{
    return "{\"command\":\"broadcast_info\",\"device_id\":\"" + id.toUtf8()
        + "\",\"metering\":{\"channel_peaks\":" + peaks + ",\"channel_overdrive\":" + overdrive
        + "}}";
}

QByteArray peaks_of(int device, int round)
{
    QByteArray peaks;
    for (int channel = 0; channel < CHANNELS; ++channel)
        peaks += (channel ? "," : "[")
            + QByteArray::number((device * 7 + channel * 11 + round * 13) % 71);
    return peaks + "]";
}

} // namespace

class MeterListTest : public QObject
{
    Q_OBJECT

    Paints paints;
    std::unique_ptr<WindowCase> window;
    std::unique_ptr<CountingDelegate> others;
    std::unique_ptr<CountingMeterDelegate> meters;

    WindowHandle &gui() { return *window->gui; }
    DeviceListView *list() { return gui().view(); }
    int meter_column() { return window->column("meter"); }
    QRect cell(int row) { return list()->visualRect(gui().model().index(row, meter_column())); }

    void show_list(int height)
    {
        gui().resize(1100, height);
        gui().show();
        QVERIFY(QTest::qWaitForWindowExposed(&gui().widget()));
        list()->scrollTo(gui().model().index(0, meter_column()));
        await_stillness();
    }

    // The list measures and sorts itself in its own time, which on a busy computer is long: it is
    // left alone until it has painted nothing for ten looks on end.
    void await_stillness()
    {
        int still = 0;
        for (int look = 0; look < 1000 && still < 10; ++look) {
            paints.clear();
            QTest::qWait(50);
            still = paints.empty() ? still + 1 : 0;
        }
        QCOMPARE(still, 10);
    }

    std::set<int> rows_in_view()
    {
        std::set<int> rows;
        for (int row = 0; row < gui().model().rowCount(); ++row)
            if (cell(row).intersects(list()->viewport()->rect()))
                rows.insert(row);
        return rows;
    }

    // A frame of every device, a tick, and the painting that follows.
    void hear_and_tick(int round)
    {
        for (int device = 0; device < COUNT; ++device)
            gui().deliver(address_of(device), frame(id_of(device), peaks_of(device, round)));
        gui().meter_tick();
        QCoreApplication::processEvents();
    }

    size_t allocations_of_a_tick()
    {
        const size_t before = allocations;
        gui().meter_tick();
        const size_t after = allocations;
        QCoreApplication::processEvents();
        return after - before;
    }

private slots:
    void initTestCase()
    {
        window = std::make_unique<WindowCase>();
        // Ticks come when a test says so, and nobody goes offline in between.
        gui().meter_timer().stop();
        gui().discovery_timer().stop();
        for (int device = 0; device < COUNT; ++device)
            window->report(address_of(device).toString(), loudspeaker_report(id_of(device)));
        others = std::make_unique<CountingDelegate>(paints);
        meters = std::make_unique<CountingMeterDelegate>(list(), paints);
        list()->setItemDelegate(others.get());
        list()->setItemDelegateForColumn(meter_column(), meters.get());
    }
    void init()
    {
        list()->showColumn(meter_column());
        list()->verticalScrollBar()->setValue(0);
        for (int row = 0; row < gui().model().rowCount(); ++row)
            list()->setRowHidden(row, {}, false);
    }
    void cleanupTestCase()
    {
        window.reset();
        meters.reset();
        others.reset();
    }

    void a_tick_paints_the_meter_cells_in_view_once_and_nothing_else_data()
    {
        QTest::addColumn<int>("rows");
        QTest::addColumn<int>("height");
        QTest::newRow("usual window") << COUNT << 700;
        // More would be higher than what the toolkit paints.
        QTest::newRow("window with room for all rows") << 500 << 25000;
    }
    void a_tick_paints_the_meter_cells_in_view_once_and_nothing_else()
    {
        QFETCH(int, rows);
        QFETCH(int, height);
        for (int row = rows; row < COUNT; ++row)
            list()->setRowHidden(row, {}, true);
        show_list(height);
        const std::set<int> in_view = rows_in_view();
        QVERIFY(in_view.size() > 10);
        QCOMPARE(in_view.size() == size_t(rows), rows < COUNT);
        for (int round = 1; round <= 3; ++round) {
            paints.clear();
            hear_and_tick(round);
            QCOMPARE(paints.size(), size_t(1));
            std::set<int> painted;
            for (const auto &[row, times] : paints[meter_column()]) {
                QCOMPARE(times, 1);
                painted.insert(row);
            }
            QCOMPARE(painted, in_view);
        }
    }

    void a_list_that_is_scrolled_paints_what_is_in_view_then()
    {
        show_list(700);
        list()->verticalScrollBar()->setValue(list()->verticalScrollBar()->maximum() / 2);
        await_stillness();
        hear_and_tick(1);
        QCOMPARE(paints.size(), size_t(1));
        QVERIFY(!paints[meter_column()].count(0));
        QCOMPARE(paints[meter_column()].size(), rows_in_view().size());
    }

    void rows_that_the_search_hides_are_not_painted()
    {
        show_list(700);
        for (int row = 0; row < COUNT; ++row)
            list()->setRowHidden(row, {}, row % 2 == 1);
        await_stillness();
        hear_and_tick(1);
        QCOMPARE(paints.size(), size_t(1));
        for (const auto &[row, times] : paints[meter_column()])
            QVERIFY(row % 2 == 0);
        QCOMPARE(paints[meter_column()].size(), rows_in_view().size());
    }

    void without_the_column_a_tick_paints_nothing_and_bars_fall_all_the_same()
    {
        list()->hideColumn(meter_column());
        show_list(700);
        Device *device = gui().find_device(id_of(0));
        device->meter.set_levels({70}, {});
        device->meter.set_levels({0}, {});
        gui().meter_tick();
        QCoreApplication::processEvents();
        QVERIFY(paints.empty());
        QCOMPARE(device->meter.display_levels.at(0), -4.25F);
    }

    void frames_of_any_content_are_levels_or_nothing_data()
    {
        QTest::addColumn<QByteArray>("peaks");
        QTest::addColumn<QByteArray>("overdrive");
        QTest::addColumn<int>("channels");
        QTest::addColumn<float>("first");
        const QByteArray many = "[" + QByteArray("70,").repeated(29999) + "70]";
        const auto row = [](const char *name, const QByteArray &peaks, int channels, float first) {
            QTest::newRow(name) << peaks << peaks << channels << first;
        };
        row("30,000 entries", many, MAX_METER_CHANNELS, 0);
        row("nested arrays", "[[[1]],[2],70]", 3, -70);
        row("deeply nested", QByteArray("[").repeated(5000) + QByteArray("]").repeated(5000), 0, 0);
        row("huge numbers", "[1e300,-1e300,99999999999999999999,2147483647]", 4, -70);
        row("fractions", "[12.5]", 1, -70);
        row("texts", "[\"7\",null,true,{}]", 4, -70);
        row("beyond full scale", "[100]", 1, 30);
        row("below silence", "[-30]", 1, -100);
        row("no array", "{\"0\":70}", 0, 0);
        row("number", "70", 0, 0);
        QTest::newRow("flags of another length")
            << QByteArray("[70,70]") << QByteArray("[1]") << 2 << 0.0F;
    }
    void frames_of_any_content_are_levels_or_nothing()
    {
        QFETCH(QByteArray, peaks);
        QFETCH(QByteArray, overdrive);
        QFETCH(int, channels);
        QFETCH(float, first);
        show_list(700);
        Device *device = gui().find_device(id_of(0));
        device->meter.clear_levels();
        gui().deliver(address_of(0), frame(id_of(0), peaks, overdrive));
        QCOMPARE(int(device->meter.levels.size()), channels);
        QCOMPARE(device->meter.display_levels.size(), device->meter.levels.size());
        if (channels > 0)
            QCOMPARE(device->meter.levels.at(0), first);
        gui().meter_tick();
        QCoreApplication::processEvents();
        QVERIFY(paints[meter_column()].count(gui().row_of(device)));
    }

    void all_devices_tick_before_a_cell_is_painted_by_the_order_of_their_ids()
    {
        show_list(700);
        QStringList ticked;
        std::vector<QMetaObject::Connection> connections;
        for (const auto &[id, device] : gui().all_devices())
            connections.push_back(
                connect(&device->meter, &MeterObject::onUpdate, this, [&ticked, this, name = id] {
                    if (paints.empty())
                        ticked << name;
                }));
        gui().meter_tick();
        QCoreApplication::processEvents();
        for (const QMetaObject::Connection &connection : connections)
            disconnect(connection);
        QCOMPARE(ticked.size(), COUNT);
        QVERIFY(std::is_sorted(ticked.begin(), ticked.end()));
        QVERIFY(!paints.empty());
    }

    // What the toolkit takes for the cells in view is all: 1,000 devices cost no more than 50. The
    // list is short afterwards.
    void a_tick_allocates_nothing_for_the_devices()
    {
        show_list(700);
        hear_and_tick(1);
        const size_t in_view = rows_in_view().size();
        const size_t with_all = allocations_of_a_tick();
        QVERIFY2(with_all <= 2 * in_view + 4, qPrintable(QString::number(with_all)));
        list()->hideColumn(meter_column());
        QCoreApplication::processEvents();
        QCOMPARE(allocations_of_a_tick(), size_t(0));

        list()->showColumn(meter_column());
        gui().model().removeRows(50, COUNT - 50);
        while (gui().all_devices().size() > 50) {
            const auto last = std::prev(gui().all_devices().end());
            gui().forget(last->second);
            gui().all_devices().erase(last);
        }
        show_list(700);
        QCOMPARE(rows_in_view().size(), in_view);
        QCOMPARE(allocations_of_a_tick(), with_all);
    }

    void a_list_painted_after_the_window_has_closed_touches_no_meter()
    {
        show_list(700);
        hear_and_tick(1);
        gui().close();
        QVERIFY(gui().all_devices().empty());
        gui().meter_tick();
        QVERIFY(!list()->grab().isNull());
    }
};

WINDOW_TEST_MAIN(MeterListTest)
#include "meter_list_test.moc"
