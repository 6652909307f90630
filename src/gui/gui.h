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
#include <QPointer>
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

// The networks that were offered so far, and the one in use.
struct Networks
{
    QString current_network = {};
    bool default_is_link_local = false;
    std::set<QString> known_networks = {};
};

class Gui : public QMainWindow
{
    Q_OBJECT

public:
    Gui();
    ~Gui() override;

    // The companions, each of which knows neither this window nor another.
    DeviceLink &link() { return device_link; }
    DeviceTable &device_table() { return table; }
    PropertyPanel &property_panel() { return panel; }
    DeviceCache &cache() { return device_cache; }
    Uploads &all_uploads() { return uploads; }
    LogWindows &logs() { return log_windows; }
    CurveWidget &curve() { return *curve_widget; }

    bool is_dark() const { return dark_theme; }
    bool is_closed() const { return closed; }
    bool is_second_copy() const { return copy_lock.is_second_copy(); }
    const QString &network() const { return networks.current_network; }
    size_t known_senders() const { return senders.size(); } // addresses that devices are heard from
    std::map<QString, Device *> &all_devices() { return devices; }
    Device *find_device(const QString &device_id) const; // null when unknown

    // Settings, cache, then every record: once per run, by whichever way the program ends.
    void close_down();

    // What arrives, from the wire or from the cache.
    void handle_datagram(const QHostAddress &from, const QByteArray &payload);
    void handle_device_packet(const QHostAddress &from, const QJsonObject &object, bool live,
                              const QString &interface);
    void load_cache();
    void on_meter_tick();

    // What goes out; these return an error text, empty on success.
    QString send_json(const QString &network, bool use_broadcast, const QHostAddress &address,
                      const QJsonObject &object);
    QString send_to_device(Device *device, QJsonObject object, bool quiet);

    // What the operator can do.
    void add_dummy_device();
    void delete_selected_devices();
    void identify_selected();
    void purge_sessions();
    void enable_logging();
    void show_about();
    void show_network_info();
    void on_confirm();
    void save_backup();
    void restore_backup(const QJsonObject &object, uint32_t mask);
    void commit_search();
    void start_upload(Device *device, QByteArray &bytes, const QString &remote_name);
    DeppenAss *make_assistant(Device *device);

    // Everything that shows a device follows: row, log title, assistant, meter.
    void update_device_properties(Device *device);
    void destroy_device(Device *device);
    void append_log(Device *device, bool highlighted, const QString &text);
    void refresh_eq_view();
    void update_network_list();
    void on_network_changed();

public slots:
    void send_discovery_packets();

signals:
    // A Confirm is through.
    void changes_sent(const ConfirmResult &result);

protected:
    void closeEvent(QCloseEvent *event) override;
    void moveEvent(QMoveEvent *event) override;
    void resizeEvent(QResizeEvent *event) override;

private:
    // gui/gui.cpp
    // The steps of the constructor, in the order in which they must run.
    void detect_theme();
    void size_window();
    void find_cache_file();
    void start_sockets();
    void start_timers();
    void start_networks();
    void destroy_devices();

    // gui/gui_layout.cpp
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
    void build_status_line();
    void refresh_status();
    void connect_search_keys();

    // model/gui_registry.cpp
    void connect_device_list();
    void follow_state(Device *device); // all of that but the row
    std::vector<Device *> selected_devices() const { return table.selected(); }
    void update_log_title(Device *device);
    void update_identify_button();
    void apply_device_state(Device *device, const QJsonObject &report);
    void follow_merge(Device *device, const MergeResult &merged);
    void follow_repeated_report(Device *device);

    // gui/gui_confirm.cpp
    void connect_panel();
    void on_selection_changed();
    void on_edit_ended();
    bool shows_value_error();
    void load_curve_from_rows();
    void apply_band_edit(Filter *filter);

    // link/gui_discovery.cpp
    void take_offline(const std::vector<Device *> &lost);
    void on_network_activated();
    void report_device_error(QString &errors, Device *device, const QString &result);
    void show_network_errors(const QString &errors);

    // link/gui_dispatch.cpp
    void begin_burst();
    void take_datagram(const QHostAddress &from, const QByteArray &payload);
    void end_burst();
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
    void log_remote_text(const QHostAddress &from, const QString &label, const QString &text);

    // model/gui_storage.cpp
    void take_saved_device(const SavedDevice &saved);
    void load_backup(uint32_t mask);

    // firmware/gui_upload.cpp
    void upload_file(const QString &remote_name);
    void begin_transfer(Device *device, const QByteArray &bytes, const QString &remote_name);
    void offer_assistant(Device *device);
    void update_from_assistant(Device *device, const QByteArray &image);
    void set_product(Device *device, int product_id);

    // meter/gui_log.cpp
    void take_metering(Device *device, const QJsonObject &message);
    void close_log(Device *device);
    void toggle_log_pause(Device *device);
    void send_console_line(Device *device, const QString &line);
    void handle_raw_log(Device *device, const QJsonObject &message, const QByteArray &attachment);

    bool dark_theme = false;
    bool closed = false; // close_down has run

    DeviceLink device_link;
    SenderIndex senders;
    TextLimit remote_texts; // lines for the debug log, by sender
    QTimer discovery_timer{this};

    std::map<QString, Device *> devices; // owned, by device id
    DeviceCache device_cache{devices};
    PropertyPanel panel{[this] { return selected_devices(); }};

    DeviceTable table;
    std::optional<DeviceTable::Batch> burst; // while datagrams are read
    LogWindows log_windows{this};

    KeptSections kept_sections; // of the file that is being offered
    Uploads uploads;
    QPointer<DeppenAss> assistant; // the last one; open while it helps a device

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
    QTimer panel_timer{this};

    QMenu *device_menu = nullptr;

    Networks networks;
    QTimer meter_timer{this};
};
