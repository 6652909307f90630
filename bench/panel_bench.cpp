// The panel over a thousand devices: selecting all of them, or one of another kind, one report
// while all are selected, an edit of all, their end, and that of the window.
#include "bench_main.h"
#include "gui/device_list_view.h"

#include <QItemSelectionModel>

#include <algorithm>

namespace {

constexpr int DEVICES = 1000;
constexpr int CONFIRMED = 200;

double longest_painting = 0; // ms

// CPU milliseconds of `work`, and of it with the layout and painting that follow.
template<typename Work>
void measure(const char *name, int repeats, double limit, Work work)
{
    const double start = cpu_seconds();
    for (int i = 0; i < repeats; ++i)
        work(i);
    const double worked = cpu_seconds();
    QCoreApplication::processEvents();
    const double painted = cpu_seconds();
    const double painting = (painted - worked) * 1e3;
    longest_painting = std::max(longest_painting, painting);
    const QByteArray to_paint
        = QByteArray(" and ") + QByteArray::number(painting, 'g', 3) + " ms to paint";
    at_most(name, (worked - start) * 1e3 / repeats, "ms", limit, to_paint.constData());
}

// From Confirm to the last datagram, which goes to the loopback.
void measure_confirm(WindowHandle *gui)
{
    gui->view()->clearSelection();
    for (int i = 0; i < CONFIRMED; ++i) {
        const QHostAddress address((quint32(127) << 24) + static_cast<quint32>(i + 11));
        gui->report(address, bench_report(i), true, "lo");
        const int row
            = gui->row_of(gui->find_device(bench_report(i).value("device_id").toString()));
        gui->view()->selectionModel()->select(
            gui->model().index(row, 0), QItemSelectionModel::Select | QItemSelectionModel::Rows);
    }
    gui->set_edit_mode(true);
    gui->panel().take("dsp/level", 1);
    measure("Confirm of a change at 200 of 1,000 devices", 1, 40, [gui](int) { gui->confirm(); });
    gui->discovery_timer().stop();
}

// One of two devices after the other, whose products have other properties: most rows come or go.
void measure_other_kind(WindowHandle *gui)
{
    const auto first = gui->row_of(gui->find_device(bench_report(0).value("device_id").toString()));
    QJsonObject other = bench_report(1);
    other.insert("product_id", 2001);
    gui->report(bench_address(1), other, true, "lo");
    const auto second = gui->row_of(gui->find_device(other.value("device_id").toString()));
    measure("select a device of another kind", 40, 24, [gui, first, second](int i) {
        gui->view()->setCurrentIndex(gui->model().index(i % 2 == 0 ? first : second, 0));
    });
    gui->report(bench_address(1), bench_report(1), true, "lo");
}

// A whole site goes at once, in a list that is sorted by status, and is then deleted.
void measure_farewell(WindowHandle *gui)
{
    gui->view()->clearSelection();
    const int status = static_cast<int>(gui->column_ids().size()) - 1;
    gui->view()->sortByColumn(status, Qt::DescendingOrder);
    for (const auto &[id, device] : gui->all_devices()) {
        device->online = true;
        device->last_seen = 0;
        gui->update(device);
    }
    measure("1,000 devices fall silent", 1, 60, [gui](int) { gui->discover(); });
    gui->discovery_timer().stop();
    gui->view()->sortByColumn(0, Qt::AscendingOrder);
    gui->view()->selectAll();
    measure("delete 1,000 devices", 1, 50, [gui](int) { gui->delete_selected(); });
}

// Of devices that were found in this run: each got its sorted place when it came.
void measure_closing()
{
    const QTemporaryDir folder;
    std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    gui->show();
    gui->discovery_timer().stop();
    for (int i = 0; i < DEVICES; ++i)
        gui->report(bench_address(i * 7 % DEVICES), bench_report(i * 7 % DEVICES), true, "lo");
    QCoreApplication::processEvents();
    gui->cache().save();
    measure("close a list of 1,000 devices", 1, 100, [&gui](int) {
        gui->close();
        gui.reset();
    });
}

void measure_all()
{
    const QTemporaryDir folder;
    const std::unique_ptr<WindowHandle> gui = make_bench_window(folder.path());
    gui->show();
    gui->discovery_timer().stop();
    const auto report = [&gui](int number, int change) {
        gui->report(bench_address(number), bench_report(number, change), true, "lo");
    };
    for (int i = 0; i < DEVICES; ++i)
        report(i, 0);
    QCoreApplication::processEvents();

    measure("select 1,000 devices, first time", 1, 200, [&gui](int) { gui->view()->selectAll(); });
    measure("select none", 1, 10, [&gui](int) { gui->view()->clearSelection(); });
    measure("select 1,000 devices again", 1, 200, [&gui](int) { gui->view()->selectAll(); });
    measure("one report of 1,000 selected", 100, 4, [&report](int i) { report(500, i); });
    measure("start an edit of 1,000 devices", 1, 100, [&gui](int) { gui->set_edit_mode(true); });
    measure("one edit of a row", 10, 1,
            [&gui](int) { gui->panel().take("dsp/level", gui->row("dsp/level").value); });
    measure("end the edit", 1, 120, [&gui](int) { gui->set_edit_mode(false); });
    measure_other_kind(gui.get());
    measure_confirm(gui.get());
    measure("refresh of all rows", 200, 16, [&gui](int) { gui->panel().refresh_all_rows(); });
    measure_farewell(gui.get());
}

} // namespace

int main(int argc, char **argv)
{
    return bench_main(argc, argv, [](bool, const QStringList &) {
        measure_all();
        measure_closing();
        at_most("the longest painting that followed", longest_painting, "ms", 50);
    });
}
