// Brings the window to life in a fixed order, and closes it without losing anything.
#include "gui/gui.h"
#include "eq/curve_widget.h"
#include "gui/device_list_view.h"
#include "gui/program_pictures.h"
#include "gui/settings_file.h"
#include "gui/window_rules.h"
#include "meter/meter_object.h"

#include <QAction>
#include <QApplication>
#include <QCloseEvent>
#include <QComboBox>
#include <QDir>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QScreen>

namespace {

constexpr int FIRST_DISCOVERY_DELAY = 10; // ms: just after the event loop has started
constexpr int METER_INTERVAL = 85;        // ms: a fall of 50 dB per second

} // namespace

Gui::Gui()
{
    register_session_item();
    detect_theme();
    setWindowTitle(QCoreApplication::applicationName());
    QApplication::setWindowIcon(program_icon());
    size_window();
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
    connect(search_combo, &QComboBox::currentTextChanged, this,
            [this] { table.set_search(search_combo->lineEdit()->text()); });
    load_cache();
    start_timers();
    start_networks();
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

void Gui::detect_theme()
{
    const QLabel probe("");
    const QPalette palette = probe.palette();
    dark_theme = palette.color(QPalette::Current, QPalette::WindowText).value()
        > palette.color(QPalette::Current, QPalette::Window).value();
}

void Gui::size_window()
{
    resize(first_window_size(QApplication::primaryScreen()->geometry().size()));
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

void Gui::start_sockets()
{
    connect(&device_link, &DeviceLink::draining, this, &Gui::begin_burst);
    connect(&device_link, &DeviceLink::received, this, &Gui::take_datagram);
    connect(&device_link, &DeviceLink::drained, this, &Gui::end_burst);
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
    panel_timer.setInterval(0);
    connect(&panel_timer, &QTimer::timeout, this, &Gui::refresh_eq_view);
    connect(&log_windows, &LogWindows::opened, this, &Gui::update_device_properties);
    connect(&log_windows, &LogWindows::closed, this, &Gui::close_log);
    connect(&log_windows, &LogWindows::pause_toggled, this, &Gui::toggle_log_pause);
    connect(&log_windows, &LogWindows::line_typed, this, &Gui::send_console_line);
    connect(&uploads, &Uploads::changed, this, &Gui::update_device_properties);
}

// The connections come before the first list: the first entry selects itself.
void Gui::start_networks()
{
    connect(network_combo, qOverload<int>(&QComboBox::currentIndexChanged), this,
            &Gui::on_network_changed);
    connect(network_combo, qOverload<int>(&QComboBox::activated), this, &Gui::on_network_activated);
    update_network_list();
    table.set_network(networks.current_network);
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
    for (const auto &[id, device] : devices)
        destroy_device(device);
    devices.clear();
}
