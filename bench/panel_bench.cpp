// The panel over a thousand devices: selecting all of them, one report while all are selected, an
// edit of all, and their end.
#include "bench_window.h"
#include "gui/device_list_view.h"

#include <QItemSelectionModel>

namespace {

constexpr int DEVICES = 1000;
constexpr int CONFIRMED = 200;

// CPU milliseconds of `work`, and of it with the layout and painting that follow.
template<typename Work>
void measure(const char *name, int repeats, Work work)
{
    const double start = cpu_seconds();
    for (int i = 0; i < repeats; ++i)
        work(i);
    const double worked = cpu_seconds();
    QCoreApplication::processEvents();
    const double painted = cpu_seconds();
    std::printf("  %-44s %9.3f ms   (%.1f ms to paint)\n", name, (worked - start) * 1e3 / repeats,
                (painted - worked) * 1e3);
    std::fflush(stdout);
}

// From Confirm to the last datagram, which goes to the loopback.
void measure_confirm(Gui *gui)
{
    gui->device_list->clearSelection();
    for (int i = 0; i < CONFIRMED; ++i) {
        const QHostAddress address((quint32(127) << 24) + static_cast<quint32>(i + 11));
        gui->handle_device_packet(address, bench_report(i), true, "lo");
        const int row
            = gui->find_device_row(gui->find_device(bench_report(i).value("device_id").toString()));
        gui->device_list->selectionModel()->select(gui->device_model.index(row, 0),
                                                   QItemSelectionModel::Select
                                                       | QItemSelectionModel::Rows);
    }
    gui->set_edit_mode(true);
    Property *level = gui->property_row("dsp/level");
    level->value = 1;
    level->edited = true;
    measure("Confirm of a change at 200 of 1,000 devices", 1, [gui](int) { gui->on_confirm(); });
    gui->discovery_timer.stop();
}

// A whole site goes at once, in a list that is sorted by status, and is then deleted.
void measure_farewell(Gui *gui)
{
    gui->device_list->clearSelection();
    const int status = static_cast<int>(gui->column_ids.size()) - 1;
    gui->device_list->sortByColumn(status, Qt::DescendingOrder);
    for (const auto &[id, device] : gui->devices) {
        device->online = true;
        device->last_seen = 0;
        gui->update_device_properties(device);
    }
    measure("1,000 devices fall silent", 1, [gui](int) { gui->send_discovery_packets(); });
    gui->discovery_timer.stop();
    gui->device_list->sortByColumn(0, Qt::AscendingOrder);
    gui->device_list->selectAll();
    measure("delete 1,000 devices", 1, [gui](int) { gui->delete_selected_devices(); });
}

} // namespace

int main(int argc, char **argv)
{
    start_bench_process();
    QApplication application(argc, argv);
    build_catalogue();
    const QTemporaryDir folder;
    const std::unique_ptr<Gui> gui = make_bench_window(folder.path());
    gui->show();
    gui->discovery_timer.stop();
    const auto report = [&gui](int number, int change) {
        gui->handle_device_packet(bench_address(number), bench_report(number, change), true, "lo");
    };
    for (int i = 0; i < DEVICES; ++i)
        report(i, 0);
    QCoreApplication::processEvents();

    measure("select 1,000 devices, first time", 1, [&gui](int) { gui->device_list->selectAll(); });
    measure("select none", 1, [&gui](int) { gui->device_list->clearSelection(); });
    measure("select 1,000 devices again", 1, [&gui](int) { gui->device_list->selectAll(); });
    measure("one report of 1,000 selected", 100, [&report](int i) { report(500, i); });
    measure("start an edit of 1,000 devices", 1, [&gui](int) { gui->set_edit_mode(true); });
    measure("one edit of a row", 10,
            [&gui](int) { gui->on_row_edited(gui->property_row("dsp/level")); });
    measure("end the edit", 1, [&gui](int) { gui->set_edit_mode(false); });
    measure_confirm(gui.get());
    measure("refresh of all rows", 200, [&gui](int) { gui->refresh_all_rows(); });
    measure_farewell(gui.get());
    return 0;
}
