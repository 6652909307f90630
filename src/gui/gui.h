// The main window: sockets, timers, devices and every widget. Its member functions stand in groups,
// each in the file that the ruler above the group names.
#pragma once

#include "firmware/upload_rules.h"
#include "firmware/uploads.h"
#include "gui/copy_lock.h"
#include "gui/device_table.h"
#include "gui/edit_rules.h"
#include "gui/kept_settings.h"
#include "gui/property_panel.h"
#include "link/device_link.h"
#include "link/sender_index.h"
#include "link/text_limit.h"
#include "meter/log_windows.h"
#include "model/device.h"
#include "model/device_cache.h"
#include "model/device_state.h"
#include "support/frame_throttle.h"

#include <QElapsedTimer>
#include <QHostAddress>
#include <QJsonObject>
#include <QMainWindow>
#include <QTimer>

#include <map>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

class CurveWidget;
class DeppenAss;
class Filter;
class QAction;
class QComboBox;
class QLineEdit;
class QMenu;
class QPushButton;
class QSplitter;
class StatusLine;

class Gui : public QMainWindow
{
    Q_OBJECT

public:
    Gui();
    ~Gui() override;

    // ---- gui/gui.cpp -------------------------------------------------------------------------
    // The steps of the constructor, in the order in which they must run.
    void detect_theme();
    void size_window();
    void find_cache_file();
    void start_sockets();
    void start_timers();
    void start_networks();
    // Settings, cache, then every record: once per run, by whichever way the program ends.
    void close_down();
    void destroy_devices();

    // ---- gui/gui_layout.cpp ------------------------------------------------------------------
    void build_menus();
    void build_device_menu();
    void build_window();
    QWidget *build_top_bar();
    void on_eq_toggled(bool checked);
    void restore_saved_state();
    void restore_search_history();
    void watch_for_changes(); // of what the settings keep
    void put_settings();
    void save_settings(); // at once

    // ---- gui/gui_device_list.cpp -------------------------------------------------------------
    void connect_device_list();
    // Refreshes a device's row and all that hangs on its state: log title, assistant, meter.
    void update_device_properties(Device *device);
    void follow_state(Device *device); // all of that but the row
    std::vector<Device *> selected_devices() const { return table.selected(); }
    void update_log_title(Device *device);
    void update_identify_button();

    // ---- gui/gui_confirm.cpp -----------------------------------------------------------------
    void connect_panel();
    void on_selection_changed();
    void on_edit_ended();
    void on_confirm();
    bool shows_value_error();

    // ---- gui/gui_search.cpp ------------------------------------------------------------------
    void commit_search();
    void connect_search_keys();

    // ---- gui/gui_status.cpp ------------------------------------------------------------------
    void build_status_line();
    void refresh_status();

    // ---- gui/gui_commands.cpp ----------------------------------------------------------------
    void identify_selected();
    void purge_sessions();
    void show_about();

    // ---- link/gui_discovery.cpp --------------------------------------------------------------
    void update_network_list();
    void take_offline(const std::vector<Device *> &lost);
    void on_network_changed();
    void on_network_activated();
    void show_network_info();

    // ---- link/gui_send.cpp -------------------------------------------------------------------
    // These return an error text, empty on success.
    QString send_json(const QString &network, bool use_broadcast, const QHostAddress &address,
                      const QJsonObject &object);
    QString send_to_device(Device *device, QJsonObject object, bool quiet);
    void report_device_error(QString &errors, Device *device, const QString &result);
    void show_network_errors(const QString &errors);

    // ---- link/gui_dispatch.cpp ---------------------------------------------------------------
    void begin_burst();
    void take_datagram(const QHostAddress &from, const QByteArray &payload);
    void end_burst();
    void handle_datagram(const QHostAddress &from, const QByteArray &payload);
    void handle_device_packet(const QHostAddress &from, const QJsonObject &object, bool live,
                              const QString &interface);
    // The device that the report is of; null when there are too many.
    Device *handle_report(const QHostAddress &from, const QJsonObject &object, bool live,
                          const QString &interface);
    void handle_live_report(const QHostAddress &from, const QByteArray &payload,
                            const QJsonObject &report);
    void handle_repeated_report(Device *device);
    void merge_when_free(Device *device);
    void watch_log_stream(Device *device);
    // Null when unknown. Mostly it is the device that was last heard from the address.
    Device *device_of(const QHostAddress &from, const QJsonObject &object) const;
    Device *find_sender(const QHostAddress &from, const QString &device_id) const;
    void handle_reply(const QHostAddress &from, const QJsonObject &object,
                      const QString &interface);
    Device *find_or_create_device(const QHostAddress &from, const QString &device_id);
    void note_address(Device *device, const QHostAddress &from, bool live);
    Device *find_device(const QString &device_id) const; // null when unknown
    void log_remote_text(const QHostAddress &from, const QString &label, const QString &text);

    // ---- model/gui_registry.cpp --------------------------------------------------------------
    void apply_device_state(Device *device, const QJsonObject &report);
    void follow_merge(Device *device, const MergeResult &merged);
    void follow_repeated_report(Device *device);
    void add_dummy_device();
    void delete_selected_devices();
    void destroy_device(Device *device);

    // ---- model/gui_storage.cpp ---------------------------------------------------------------
    void load_cache();
    void take_saved_device(const SavedDevice &saved);
    void save_backup();
    void load_backup(uint32_t mask);
    void restore_backup(const QJsonObject &object, uint32_t mask);

    // ---- firmware/gui_upload.cpp -------------------------------------------------------------
    void upload_file(const QString &remote_name);
    void start_upload(Device *device, QByteArray &bytes, const QString &remote_name);
    void begin_transfer(Device *device, const QByteArray &bytes, const QString &remote_name);

    // ---- firmware/gui_assistant.cpp ----------------------------------------------------------
    void offer_assistant(Device *device);
    DeppenAss *make_assistant(Device *device);
    void update_from_assistant(Device *device, const QByteArray &image);
    void set_product(Device *device, int product_id);

    // ---- eq/gui_eq.cpp -----------------------------------------------------------------------
    void refresh_eq_view();
    void load_curve_from_rows();
    void apply_band_edit(Filter *filter);

    // ---- meter/gui_meters.cpp ----------------------------------------------------------------
    void on_meter_tick();
    void take_metering(Device *device, const QJsonObject &message);

    // ---- meter/gui_log.cpp -------------------------------------------------------------------
    void enable_logging();
    void close_log(Device *device);
    void toggle_log_pause(Device *device);
    void send_console_line(Device *device, const QString &line);
    void append_log(Device *device, bool highlighted, const QString &text);
    void handle_raw_log(Device *device, const QJsonObject &message, const QByteArray &attachment);

signals:
    // A Confirm is through.
    void changes_sent(const ConfirmResult &result);

public slots:
    void send_discovery_packets();

protected:
    void closeEvent(QCloseEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

public:
    // ---- fields ------------------------------------------------------------------------------
    bool dark_theme = false;
    bool closed = false; // close_down has run

    DeviceLink device_link;
    SenderIndex senders;
    TextLimit remote_texts; // lines for the debug log, by sender
    QTimer discovery_timer;

    std::map<QString, Device *> devices; // owned, by device id
    DeviceCache device_cache{devices};
    PropertyPanel panel{[this] { return selected_devices(); }};

    DeviceTable table;
    std::optional<DeviceTable::Batch> burst; // while datagrams are read
    LogWindows log_windows{this};

    KeptSections kept_sections; // of the file that is being offered
    Uploads uploads;
    DeppenAss *assistant = nullptr; // the last one; open while it helps a device

    QSplitter *property_splitter = nullptr;
    QSplitter *eq_splitter = nullptr;
    QPushButton *identify_button = nullptr;
    QPushButton *eq_button = nullptr;
    CurveWidget *curve_widget = nullptr; // parentless while hidden, then owned by us

    StatusLine *status_line = nullptr;
    FrameThrottle status_pace; // of what it shows
    KeptSettings settings;
    CopyLock copy_lock;
    QComboBox *network_combo = nullptr;
    QComboBox *search_combo = nullptr;
    QTimer panel_timer;

    QMenu *device_menu = nullptr;

    QString current_network;
    bool default_is_link_local = false;
    std::set<QString> known_networks;
    QTimer meter_timer;
};
