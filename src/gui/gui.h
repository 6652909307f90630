// The main window: it holds its companions, joins them, and decides what goes to devices and what
// comes of what they send. Each group of members stands in the file that is named above it.
#pragma once

#include "firmware/assistants.h"
#include "firmware/upload_rules.h"
#include "firmware/uploads.h"
#include "gui/copy_lock.h"
#include "gui/device_table.h"
#include "gui/edit_rules.h"
#include "gui/kept_settings.h"
#include "gui/property_panel.h"
#include "link/device_link.h"
#include "link/text_limit.h"
#include "meter/log_windows.h"
#include "model/device.h"
#include "model/device_cache.h"
#include "model/device_registry.h"
#include "model/device_state.h"
#include "model/late_release.h"
#include "support/frame_throttle.h"

#include <QHostAddress>
#include <QJsonObject>
#include <QMainWindow>
#include <QTimer>

#include <optional>
#include <vector>

class CurveWidget;
class QMenu;
class QSplitter;
class StatusLine;
class TopBar;

class Gui : public QMainWindow
{
    Q_OBJECT

public:
    Gui();
    ~Gui() override;

    // The companions, each of which knows neither this window nor another.
    DeviceLink &link() { return device_link; }
    DeviceRegistry &devices() { return registry; }
    DeviceTable &device_table() { return table; }
    PropertyPanel &property_panel() { return panel; }
    DeviceCache &cache() { return device_cache; }
    Uploads &all_uploads() { return uploads; }
    Assistants &all_assistants() { return assistants; }
    LogWindows &logs() { return log_windows; }
    CurveWidget &curve() { return *curve_widget; }

    bool is_dark() const { return dark_theme; }
    bool is_closed() const { return closed; }
    bool is_second_copy() const { return copy_lock.is_second_copy(); }
    const QString &network() const { return current_network; }

    // Settings, cache, then every record: once per run, by whichever way the program ends.
    void close_down();

    // What arrives, from the wire or from the cache.
    void handle_datagram(const QHostAddress &from, const QByteArray &payload);
    void handle_device_packet(const QHostAddress &from, const QJsonObject &object, bool live,
                              const QString &interface);
    void load_cache();
    void on_meter_tick();

    // Returns an error text, empty on success.
    QString send_to_device(Device *device, QJsonObject object, bool quiet);

    // What the operator can do.
    void delete_selected_devices();
    void identify_selected();
    void purge_sessions();
    void on_confirm();
    void save_backup();
    void start_upload(Device *device, QByteArray &bytes, const QString &remote_name);

    // Everything that shows a device follows: row, log title, assistant, meter.
    void update_device_properties(Device *device);
    void destroy_device(Device *device);
    void append_log(Device *device, bool highlighted, const QString &text);
    void refresh_eq_view();
    void update_network_list();
    void on_network_changed();
    void send_discovery_packets();

protected:
    void closeEvent(QCloseEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    // gui/gui.cpp: the steps of the constructor, in the order in which they must run, and the end
    void find_cache_file();
    void start_sockets();
    void start_timers();
    void start_networks();
    void destroy_devices();

    // gui/gui_layout.cpp
    void build_menus();
    void build_device_menu();
    void build_window();
    void build_status_line();
    void restore_saved_state();
    void watch_for_changes(); // of what the settings keep
    void put_settings();
    void save_settings(); // at once

    // model/gui_registry.cpp
    void connect_device_list();
    void add_dummy_device();
    void apply_device_state(Device *device, const QJsonObject &report);
    void follow_merge(Device *device, const MergeResult &merged);
    void follow_state(Device *device); // all that shows it but the row
    void update_identify_button();

    // gui/gui_confirm.cpp
    void connect_panel();
    void on_edit_ended();

    // link/gui_discovery.cpp
    void take_offline(const std::vector<Device *> &lost);
    void on_network_activated();

    // link/gui_dispatch.cpp
    // The device that the report is of; null when there are too many.
    Device *handle_report(const QHostAddress &from, const QJsonObject &object, bool live,
                          const QString &interface);
    void handle_live_report(const QHostAddress &from, const QByteArray &payload,
                            const QJsonObject &report);
    void handle_repeated_report(Device *device);
    void handle_reply(const QHostAddress &from, const QJsonObject &object,
                      const QString &interface);
    void merge_when_free(Device *device);

    // gui/gui_commands.cpp
    void watch_log_stream(Device *device);
    void send_console_line(Device *device, const QString &line);

    // firmware/gui_upload.cpp
    void connect_uploads();
    void upload_file(const QString &remote_name);

    bool dark_theme = false;
    bool closed = false; // close_down has run
    KeptSettings settings;
    CopyLock copy_lock;

    DeviceLink device_link;
    QString current_network; // the one in use; empty: none
    TextLimit remote_texts;  // lines for the debug log, by sender
    QTimer discovery_timer{this};
    QTimer meter_timer{this};
    QTimer panel_timer{this};

    LateRelease gone_devices;
    DeviceRegistry registry;
    DeviceCache device_cache{registry.all()};
    PropertyPanel panel{[this] { return table.selected(); }};
    DeviceTable table;
    std::optional<DeviceTable::Batch> burst; // while datagrams are read
    LogWindows log_windows{this};
    KeptSections kept_sections; // of the file that is being offered
    Uploads uploads;
    Assistants assistants{this};

    TopBar *top_bar = nullptr;
    QSplitter *property_splitter = nullptr;
    QSplitter *eq_splitter = nullptr;
    CurveWidget *curve_widget = nullptr; // parentless while hidden, then owned by us
    QMenu *device_menu = nullptr;
    StatusLine *status_line = nullptr;
    FrameThrottle status_pace; // of what it shows
};
