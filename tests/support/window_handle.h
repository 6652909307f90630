// What tests, benchmarks and long runs ask of a window and do to it: the one place outside the
// program that knows how the window is built.
#pragma once

#include "gui/device_table.h"
#include "gui/property_panel.h"
#include "gui/row_caption.h"
#include "link/device_link.h"
#include "model/device.h"
#include "model/device_cache.h"

#include <QAction>
#include <QComboBox>
#include <QHostAddress>
#include <QJsonObject>
#include <QMainWindow>
#include <QMenu>
#include <QPushButton>
#include <QScrollArea>
#include <QSettings>
#include <QSplitter>
#include <QStandardItemModel>
#include <QTimer>
#include <QToolButton>

#include <map>
#include <memory>
#include <string>
#include <vector>

class CurveWidget;
class DeppenAss;
class DeviceListView;
class Gui;
class LogWindow;
class QPlainTextEdit;
class QTFTPFileUploader;
class Uploads;

// A row of the panel and its widgets, as they are now.
struct PanelRow : Property, RowWidgets
{
};

class WindowHandle
{
public:
    // A window with the settings and the cache of the folder that QSettings::setPath was told.
    WindowHandle();
    ~WindowHandle();

    // ---- the window itself
    QMainWindow &widget() const;
    void show();
    void resize(int width, int height);
    bool close();
    void close_down(); // the steps of leaving, without the window's own
    bool is_closed() const;
    bool is_dark() const;
    bool is_second_copy() const;
    static QSettings settings(); // what the file holds
    QMenu *device_menu() const;

    int status_refreshes() const; // how often the status bar was made anew

    // ---- devices
    std::map<QString, Device *> &all_devices() const;
    Device *find_device(const QString &id) const; // null when unknown
    void add_dummy_device();
    void forget(Device *device); // without telling list or cache
    void update(Device *device); // after a change of its record: row, log title, assistant, meter

    // ---- the list
    DeviceListView *view() const;
    QStandardItemModel &model() const;
    int row_of(Device *device) const;
    bool is_selected(Device *device) const;
    std::vector<Device *> selected_devices() const;
    void delete_selected();
    bool is_sorted() const;
    const std::vector<std::string> &column_ids() const;
    const QStringList &column_names() const;
    const std::vector<QAction *> &column_actions() const;
    std::vector<int> shown_columns() const;
    void toggle_column(size_t index);
    void show_default_columns();
    void show_column_menu(const QPoint &position);
    QMenu *header_menu() const;
    QIcon load_icon(const QString &path);
    QTimer &meter_timer() const;
    void meter_tick();

    // ---- the search
    QComboBox *search_box() const;
    FrameThrottle &search_pace() const;
    QString highlighted_text() const;
    void refresh_search();
    void commit_search() const;

    // ---- the panel
    PropertyPanel &panel() const;
    PanelRow row(const std::string &key) const; // ends the test when the key has none
    std::map<std::string, PanelRow> rows() const;
    QScrollArea *property_scroll() const;
    QSplitter *property_splitter() const;
    QTimer &panel_timer() const;

    // ---- an edit
    bool is_editing() const;
    void set_edit_mode(bool on);
    void confirm();
    QPushButton *edit_button() const;
    QToolButton *confirm_button() const;
    QToolButton *cancel_button() const;
    QPushButton *identify_button() const;

    // ---- the equaliser's curve
    QPushButton *eq_button() const;
    QSplitter *eq_splitter() const;
    CurveWidget *curve() const;
    void refresh_eq_view();

    // ---- networks
    QComboBox *network_box() const;
    QString network() const;
    void update_network_list();
    void network_changed();
    void show_network_info();
    QTimer &discovery_timer() const;
    void discover();
    // These return an error text, empty on success.
    QString send_json(const QString &network, bool use_broadcast, const QHostAddress &address,
                      const QJsonObject &object);
    QString send_to_device(Device *device, const QJsonObject &object, bool quiet);

    // ---- what arrives
    DeviceLink &link() const;
    void drain();                 // what waits in the sockets
    size_t known_senders() const; // addresses by which a device is found
    void deliver(const QHostAddress &from, const QByteArray &datagram);
    void report(const QHostAddress &from, const QJsonObject &object, bool live,
                const QString &interface);
    void remove_rows(const std::vector<Device *> &leaving); // whose records go as well
    // Until end_batch, sorting and logs wait, as while a burst is read.
    void begin_batch();
    void end_batch();
    bool is_in_batch() const;

    // ---- the cache
    DeviceCache &cache() const;
    void load_cache();

    // ---- commands
    void identify_selected();
    void purge_sessions();
    void show_about();
    void save_backup();
    void restore_backup(const QJsonObject &backup, uint32_t mask);
    DeppenAss *assistant(const Device *device) const; // null unless open for this device
    DeppenAss *make_assistant(Device *device);
    void upload(Device *device, QByteArray &bytes, const QString &remote_name);
    QTFTPFileUploader *transfer(const Device *device) const; // null when none runs
    void drop_transfer(Device *device);                      // before its end, without a word
    Uploads &uploads() const;

    // ---- logs
    void enable_logging();
    void open_log(Device *device);
    void append_log(Device *device, bool highlighted, const QString &text);
    bool are_logs_shown() const;                          // all that was collected
    LogWindow *log_window(const Device *device) const;    // null when none is open
    QPlainTextEdit *log_view(const Device *device) const; // in its window, else null

private:
    std::unique_ptr<Gui> gui;
    std::vector<std::unique_ptr<DeviceTable::Batch>> batches;
};
