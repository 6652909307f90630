// What live meters cost: a tick of 1,000 devices with its painting, in a list of its own and in the
// program's, and a frame from the wire to the level.
#include "bench_main.h"
#include "gui/device_list_view.h"
#include "link/datagram.h"
#include "link/packet_kind.h"
#include "meter/meter_item_delegate.h"
#include "meter/meter_object.h"
#include "meter/meter_paint.h"
#include "meter/meter_report.h"
#include "meter/meter_scale.h"
#include "support/allocation_count.h"

#include <QHeaderView>
#include <QNetworkDatagram>
#include <QPainter>
#include <QStandardItemModel>
#include <QStyleOptionFrame>
#include <QTreeView>
#include <QUdpSocket>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <memory>
#include <vector>

namespace {
constexpr int DEVICES = 1000;
constexpr int CHANNELS = 8;
constexpr int METER_ROLE = Qt::UserRole + 3;
constexpr int METER_COLUMN = 4;
constexpr int COLUMNS = 8;
constexpr int ROUNDS = 7;

// The least of several measurements, the two ways taken in turn: what the machine's other work
// adds is left out.
template<typename First, typename Second>
std::pair<double, double> compare(int repeats, First first, Second second)
{
    double least_first = std::numeric_limits<double>::infinity();
    double least_second = least_first;
    for (int round = 0; round < ROUNDS; ++round) {
        least_first = std::min(least_first, cpu_microseconds(repeats, first));
        least_second = std::min(least_second, cpu_microseconds(repeats, second));
    }
    return {least_first, least_second};
}

void print(const char *what, std::pair<double, double> cost, double limit)
{
    at_most_times(what, cost.first, "us", cost.second, "the plain way", limit);
}

// The bars drawn straight from their description.
void paint_plainly(const MeterObject &meter, QPainter *painter, QWidget *widget, const QRect &rect)
{
    painter->save();
    QStyleOptionFrame option;
    option.initFrom(widget);
    option.state |= QStyle::State_Sunken;
    option.frameShape = QFrame::Panel;
    option.rect = rect;
    option.lineWidth = 1;
    widget->style()->drawControl(QStyle::CE_ShapedFrame, &option, painter, widget);
    painter->setPen(Qt::NoPen);
    const int width = rect.width() - 2;
    const int height = (rect.height() - 2) / static_cast<int>(meter.levels.size());
    painter->translate(rect.left() + 1, rect.top() + 1);
    for (size_t i = 0; i < meter.levels.size(); ++i) {
        const bool is_overdriven = i < meter.overdrive.size() && meter.overdrive[i];
        painter->setBrush(QBrush(QColor(is_overdriven ? "#ffff00" : "#00ff00")));
        const int row = static_cast<int>(i);
        const float filled = static_cast<float>(width) * fill_fraction(meter.display_levels[i]);
        painter->drawRect(QRect(QPoint(0, height * row),
                                QPoint(static_cast<int>(filled) - 1, height * (row + 1) - 1)));
    }
    painter->restore();
}

class PlainDelegate : public QStyledItemDelegate
{
public:
    PlainDelegate(QTreeView *drawn_view, QObject *parent)
        : QStyledItemDelegate(parent)
        , view(drawn_view)
    {
    }
    void paint(QPainter *painter, const QStyleOptionViewItem &option,
               const QModelIndex &index) const override
    {
        QStyledItemDelegate::paint(painter, option, index);
        painter->save();
        const QVariant value = view->model()->data(index, METER_ROLE);
        paint_plainly(*value.value<MeterObject *>(), painter, view,
                      meter_box(view->visualRect(index)));
        painter->restore();
    }

private:
    QTreeView *view;
};

// A list of 1,000 devices whose levels keep moving, 24 rows in view.
struct List
{
    std::vector<std::unique_ptr<MeterObject>> meters;
    QStandardItemModel model;
    QTreeView view;
    int round = 0;

    List()
    {
        for (int row = 0; row < DEVICES; ++row) {
            meters.push_back(std::make_unique<MeterObject>());
            QList<QStandardItem *> cells;
            for (int column = 0; column < COLUMNS; ++column)
                cells.append(new QStandardItem(QStringLiteral("cell %1").arg(row)));
            cells[METER_COLUMN]->setText({});
            cells[METER_COLUMN]->setData(QVariant::fromValue(meters.back().get()), METER_ROLE);
            model.appendRow(cells);
        }
        view.setModel(&model);
        view.setUniformRowHeights(true);
        view.setRootIsDecorated(false);
        view.resize(900, 24 * view.sizeHintForRow(0) + view.header()->sizeHint().height());
        view.show();
        QApplication::processEvents();
    }

    void take_reports()
    {
        ++round;
        for (int device = 0; device < DEVICES; ++device) {
            std::vector<float> peaks;
            for (int channel = 0; channel < CHANNELS; ++channel)
                peaks.push_back(static_cast<float>((device * 7 + channel * 11 + round * 13) % 71));
            meters[static_cast<size_t>(device)]->set_levels(peaks, {});
        }
    }

    void tick_all()
    {
        for (const std::unique_ptr<MeterObject> &meter : meters)
            meter->tick();
    }

    void update_in_view()
    {
        QModelIndex row = view.indexAt(QPoint(0, 0));
        while (row.isValid()) {
            const QModelIndex cell = row.siblingAtColumn(METER_COLUMN);
            if (view.visualRect(cell).top() >= view.viewport()->height())
                break;
            view.update(cell);
            row = view.indexBelow(row);
        }
    }

    void update_all()
    {
        for (int row = 0; row < model.rowCount(); ++row)
            view.update(model.index(row, METER_COLUMN));
    }
};

void bench_tick(int repeats)
{
    List ours;
    List plain;
    ours.take_reports();
    plain.take_reports();
    at_most("a tick of 1,000 devices x 8 channels, no painting",
            cpu_microseconds(repeats * 10, [&ours] { ours.tick_all(); }), "us", 100);
    ours.view.setItemDelegateForColumn(METER_COLUMN,
                                       new MeterItemDelegate(&ours.view, METER_ROLE, &ours.view));
    plain.view.setItemDelegateForColumn(METER_COLUMN, new PlainDelegate(&plain.view, &plain.view));
    QApplication::processEvents();
    const auto our_tick = [&ours] {
        ours.tick_all();
        ours.update_in_view();
        QApplication::processEvents();
    };
    const auto plain_tick = [&plain] {
        plain.tick_all();
        plain.update_all();
        QApplication::processEvents();
    };
    print("one tick with painting, 24 rows in view", compare(repeats, our_tick, plain_tick), 0.6);
}

// The program's own list: its tick beside one that updates the meter cell of every row.
void bench_program_tick(WindowHandle &gui, const char *what, int repeats)
{
    const auto column_id = std::find(gui.column_ids().begin(), gui.column_ids().end(), "meter");
    const int column = static_cast<int>(column_id - gui.column_ids().begin());
    const auto our_tick = [&gui] {
        gui.meter_tick();
        QApplication::processEvents();
    };
    const auto plain_tick = [&gui, column] {
        for (const auto &[id, device] : gui.all_devices())
            device->meter.tick();
        for (int row = 0; row < gui.model().rowCount(); ++row)
            gui.view()->update(gui.model().index(row, column));
        QApplication::processEvents();
    };
    our_tick();
    const size_t before = allocations;
    gui.meter_tick();
    const size_t allocated = allocations - before;
    QApplication::processEvents();
    print(what, compare(repeats, our_tick, plain_tick), 1.1);
    at_most("calls of operator new in the tick", static_cast<double>(allocated), "", 4);
}

struct HostileFrame
{
    const char *what;
    QByteArray peaks;
};

// What a frame costs from the bytes to the repainted cell.
void bench_hostile_frames(WindowHandle &gui)
{
    const std::vector<HostileFrame> frames = {
        {"30,000 entries", "[" + QByteArray("1,").repeated(29999) + "1]"},
        {"30,000 nested arrays", QByteArray("[").repeated(30000) + QByteArray("]").repeated(30000)},
        {"arrays 500 deep", QByteArray("[").repeated(500) + QByteArray("]").repeated(500)},
        {"arrays in arrays", "[" + QByteArray("[1],").repeated(15000) + "[1]]"},
        {"huge numbers", "[" + QByteArray("1e300,").repeated(9999) + "-1e300]"},
        {"a number of 60,000 digits", "[" + QByteArray(60000, '9') + "]"},
    };
    const QByteArray id = gui.all_devices().begin()->first.toUtf8();
    for (const HostileFrame &frame : frames) {
        const QByteArray bytes = "{\"command\":\"broadcast_info\",\"device_id\":\"" + id
            + "\",\"metering\":{\"channel_peaks\":" + frame.peaks + "}}";
        const auto take = [&gui, &bytes] {
            gui.deliver(bench_address(0), bytes);
            gui.meter_tick();
            QApplication::processEvents();
        };
        at_most(frame.what, cpu_microseconds(1, take) / 1e3, "ms", 50,
                " with its tick and painting");
    }
}

QByteArray metering_datagram(const QString &device_id)
{
    const QJsonArray peaks = {52, 48, 61, 3, 0, 17, 70, 66};
    const QJsonArray overdrive = {0, 0, 0, 0, 0, 0, 1, 0};
    const QJsonObject object
        = {{"command", "broadcast_info"},
           {"device_id", device_id},
           {"metering", QJsonObject{{"channel_peaks", peaks}, {"channel_overdrive", overdrive}}}};
    const QByteArray json = QJsonDocument(object).toJson(QJsonDocument::Compact);
    const uint32_t sum = crc32(0, reinterpret_cast<const uint8_t *>(json.constData()),
                               static_cast<size_t>(json.size()));
    return json + "\n//#" + QByteArray::number(sum, 16).rightJustified(8, '0');
}

// Sends bursts over the loopback, each datagram in its turn, and takes each with `take`, which is
// told which of them it is.
template<typename Take>
double microseconds_per_datagram(int bursts, const std::vector<QByteArray> &datagrams, Take take)
{
    constexpr int BURST = 40; // what the smallest receive buffer holds
    QUdpSocket sender;
    QUdpSocket receiver;
    receiver.bind(QHostAddress(QHostAddress::LocalHost));
    double spent = 0;
    int taken = 0;
    for (int burst = 0; burst < bursts; ++burst) {
        for (int i = 0; i < BURST; ++i)
            sender.writeDatagram(
                datagrams[static_cast<size_t>(burst * BURST + i) % datagrams.size()],
                QHostAddress::LocalHost, receiver.localPort());
        const double start = cpu_seconds();
        while (receiver.hasPendingDatagrams()) {
            take(receiver.receiveDatagram().data(), taken++ % static_cast<int>(datagrams.size()));
        }
        spent += cpu_seconds() - start;
    }
    return spent * 1e6 / taken;
}

// Receive, checksum and parse of the same bytes, and nothing with the result.
void parse_only(const QByteArray &datagram, int)
{
    const int size = datagram.size() - 12;
    const uint32_t sum = crc32(0, reinterpret_cast<const uint8_t *>(datagram.constData()),
                               static_cast<size_t>(size));
    if (sum != datagram.right(8).toUInt(nullptr, 16))
        std::abort();
    if (!QJsonDocument::fromJson(QByteArray::fromRawData(datagram.constData(), size)).isObject())
        std::abort();
}

// The program's own way in, with 1,000 devices known that speak in turn, each from its address.
void bench_frame(WindowHandle &gui, int bursts)
{
    std::vector<QByteArray> datagrams;
    for (const auto &[id, device] : gui.all_devices())
        datagrams.push_back(metering_datagram(id));
    double ours = std::numeric_limits<double>::infinity();
    double plain = ours;
    for (int round = 0; round < ROUNDS; ++round) {
        const auto take = [&gui](const QByteArray &bytes, int number) {
            gui.deliver(bench_address(number), bytes);
        };
        ours = std::min(ours, microseconds_per_datagram(bursts, datagrams, take));
        plain = std::min(plain, microseconds_per_datagram(bursts, datagrams, parse_only));
    }
    std::printf("a frame of %d bytes, 10,000 of which come in a second\n",
                datagrams.front().size());
    at_most_times("from the wire to the level, among 1,000 devices", ours, "us", plain,
                  "receive, checksum and parse", 1);
}

void bench_program(int repeats)
{
    QTemporaryDir folder;
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    for (int number = 0; number < DEVICES; ++number) {
        const QJsonObject report = bench_report(number);
        gui->report(bench_address(number), report, true, gui->network());
        Device *device = gui->find_device(report.value("device_id").toString());
        std::vector<float> peaks;
        for (int channel = 0; channel < CHANNELS; ++channel)
            peaks.push_back(static_cast<float>((number * 7 + channel * 11) % 71));
        device->meter.set_levels(peaks, {});
    }
    gui->meter_timer().stop();
    gui->discovery_timer().stop();
    gui->show();
    for (int turn = 0; turn < 100; ++turn)
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    std::printf("the program's list of 1,000 devices\n");
    bench_program_tick(*gui, "its tick, usual window", repeats);
    bench_frame(*gui, repeats);
    std::printf("hostile frames\n");
    bench_hostile_frames(*gui);
    gui->resize(1900, 25000);
    for (int turn = 0; turn < 100; ++turn)
        QApplication::processEvents(QEventLoop::AllEvents, 10);
    std::printf("the program's list of 1,000 devices\n");
    bench_program_tick(*gui, "its tick, window of 25,000 pixels", std::max(5, repeats / 20));
}

void bench_bars(int repeats)
{
    std::printf("one meter\n");
    MeterObject meter;
    meter.set_levels({10, 20, 30, 40, 50, 60, 65, 70}, {true});
    QTreeView widget;
    QImage image(60, 30, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&image);
    const QRect rect(5, 5, 50, 20);
    print(
        "the bars of 8 channels",
        compare(
            repeats * 10,
            [&meter, &painter, &widget, &rect] { paint_meter(meter, &painter, &widget, rect); },
            [&meter, &painter, &widget, &rect] { paint_plainly(meter, &painter, &widget, rect); }),
        0.5);
}

} // namespace

int main(int argc, char **argv)
{
    return bench_main(argc, argv, [](bool is_short, const QStringList &) {
        const int repeats = is_short ? 50 : 500;
        bench_tick(repeats);
        bench_program(repeats);
        bench_bars(repeats);
    });
}
