// Brings the window to life in a fixed order, and closes it without losing anything.
#include "gui/gui.h"

#include "eq/curve_widget.h"
#include "gui/desktop_colours.h"
#include "gui/device_list_view.h"
#include "gui/network_combo.h"
#include "gui/program_pictures.h"
#include "gui/search_box.h"
#include "gui/settings_file.h"
#include "gui/top_bar.h"
#include "gui/window_rules.h"
#include "link/command.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QMenu>
#include <QScreen>

namespace {

constexpr int FIRST_DISCOVERY_DELAY = 10; // ms: just after the event loop has started
constexpr int METER_INTERVAL = 85;        // ms: a fall of 50 dB per second

} // namespace

Gui::Gui()
{
    register_session_item();
    dark_theme = is_theme_dark();
    keep_desktop_colours(this);
    setWindowTitle(QCoreApplication::applicationName());
    QApplication::setWindowIcon(program_icon());
    resize(first_window_size(QApplication::primaryScreen()->geometry().size()));
    build_menus();
    find_cache_file();
    connect_device_list();
    build_device_menu();
    start_sockets();
    build_window();
    build_status_line();
    panel.refresh_all_rows();
    restore_saved_state();
    // Only now: filling the box with the history must start no search.
    connect(top_bar->search_box(), &QComboBox::currentTextChanged, &table,
            &DeviceTable::set_search);
    load_cache();
    start_timers();
    start_networks();
    // KEPT: the last of its menu.
    QAction *add_dummy = device_menu->addAction("Add dummy device");
    connect(add_dummy, &QAction::triggered, this, &Gui::add_dummy_device);
    connect(&meter_timer, &QTimer::timeout, this, &Gui::on_meter_tick);
    meter_timer.setObjectName("meter_timer");
    meter_timer.start(METER_INTERVAL);
    watch_for_changes();
    // Leaving by the menu delivers no close event, and must keep just as much.
    connect(qApp, &QCoreApplication::aboutToQuit, this, &Gui::close_down);
}

Gui::~Gui()
{
    closed = true;
    destroy_devices();
    disconnect(&table, nullptr, this, nullptr);
    if (!curve_widget->parent())
        delete curve_widget;
    panel.setParent(nullptr); // a member: nothing else may delete it
    delete takeCentralWidget();
}

void Gui::find_cache_file()
{
    const QString path = cache_path_beside(settings_path());
    QDir("/").mkpath(path.left(path.lastIndexOf('/')));
    device_cache.set_path(path);
    copy_lock.take(path);
    device_cache.set_read_only(copy_lock.is_second_copy());
    if (copy_lock.is_second_copy())
        settings.set_read_only();
}

// Until the end of a burst, texts for log windows are collected and the list stays unsorted. None
// is taken on while plenty waits there.
void Gui::start_sockets()
{
    const auto spare_the_logs = [this] {
        if (log_windows.is_full())
            device_link.end_slice();
    };
    connect(&device_link, &DeviceLink::draining, this, [this] { burst.emplace(table); });
    connect(&device_link, &DeviceLink::draining, this, spare_the_logs);
    connect(&device_link, &DeviceLink::received, this, &Gui::handle_datagram);
    connect(&device_link, &DeviceLink::received, this, spare_the_logs);
    connect(&device_link, &DeviceLink::drained, this, [this] {
        burst.reset();
        log_windows.show_soon();
    });
    device_link.open();

    discovery_timer.setObjectName("discovery_timer");
    discovery_timer.setSingleShot(true);
    discovery_timer.start(FIRST_DISCOVERY_DELAY);
    connect(&discovery_timer, &QTimer::timeout, this, &Gui::send_discovery_packets);
}

void Gui::start_timers()
{
    panel_timer.setObjectName("panel_timer");
    panel_timer.setSingleShot(true);
    connect(&panel_timer, &QTimer::timeout, this, &Gui::refresh_eq_view);
    connect(&log_windows, &LogWindows::opened, this, &Gui::update_device_properties);
    // Position and pause outlive the window: the next one tells what was missed.
    connect(&log_windows, &LogWindows::closed, this,
            [this](Device *device) { send_to_device(device, logging_command(false), false); });
    connect(&log_windows, &LogWindows::pause_toggled, this, [this](Device *device) {
        device->log_paused = !device->log_paused;
        update_device_properties(device);
    });
    connect(&log_windows, &LogWindows::line_typed, this, &Gui::send_console_line);
    connect_uploads();
}

// The connections come before the first list: the first entry selects itself.
void Gui::start_networks()
{
    const NetworkCombo *box = top_bar->network_combo();
    connect(box, qOverload<int>(&QComboBox::currentIndexChanged), this, &Gui::on_network_changed);
    connect(box, qOverload<int>(&QComboBox::activated), this, &Gui::on_network_activated);
    update_network_list();
    table.set_network(current_network);
    refresh_eq_view();
}

void Gui::closeEvent(QCloseEvent *event)
{
    if (closed) {
        QMainWindow::closeEvent(event);
        return;
    }
    save_settings();
    device_cache.save();
    QMainWindow::closeEvent(event);
    closed = true;
    destroy_devices();
}

void Gui::close_down()
{
    if (closed)
        return;
    closed = true;
    save_settings();
    device_cache.save();
    destroy_devices();
}

// Timers that are due still fire after a window's close event: a late save of an empty registry
// would wipe the cache, so everything that could start work is stilled first.
void Gui::destroy_devices()
{
    for (QTimer *timer : {&discovery_timer, &panel_timer, &meter_timer})
        timer->stop();
    device_cache.stop();
    settings.stop();
    log_windows.stop();
    status_pace.cancel();
    // Closed now, not when the rest is freed: another copy may be waiting to hear the devices.
    device_link.close();
    table.forget_devices();
    for (const auto &[id, device] : registry.all())
        destroy_device(device);
    registry.all().clear();
}
