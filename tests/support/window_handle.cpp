// What tests ask of a window, told from what the window is made of.
#include "support/window_handle.h"

#include "firmware/deppen_ass.h"
#include "gui/gui.h"
#include "gui/search_box.h"
#include "gui/status_line.h"
#include "link/datagram.h"
#include "meter/log_window.h"

#include <QCoreApplication>
#include <QMenuBar>

namespace {

// What the menus offer under this caption.
void trigger(const Gui &gui, const QString &caption)
{
    for (QAction *action : gui.findChildren<QAction *>())
        if (action->text() == caption)
            return action->trigger();
    qFatal("no menu has %s", qPrintable(caption));
}

} // namespace

WindowHandle::WindowHandle()
    : gui(std::make_unique<Gui>())
{
}

WindowHandle::~WindowHandle() = default;

QMainWindow &WindowHandle::widget() const
{
    return *gui;
}

void WindowHandle::show()
{
    gui->show();
}

void WindowHandle::resize(int width, int height)
{
    gui->resize(width, height);
}

bool WindowHandle::close()
{
    return gui->close();
}

void WindowHandle::close_down()
{
    gui->close_down();
}

bool WindowHandle::is_closed() const
{
    return gui->is_closed();
}

bool WindowHandle::is_dark() const
{
    return gui->is_dark();
}

int WindowHandle::status_refreshes() const
{
    return static_cast<StatusLine *>(gui->statusBar())->counts_received();
}

bool WindowHandle::is_second_copy() const
{
    return gui->is_second_copy();
}

QSettings WindowHandle::settings()
{
    return QSettings(QSettings::IniFormat, QSettings::UserScope,
                     QCoreApplication::organizationName(), QCoreApplication::applicationName());
}

QMenu *WindowHandle::device_menu() const
{
    return gui->menuBar()->actions().at(1)->menu();
}

std::map<QString, Device *> &WindowHandle::all_devices() const
{
    return gui->devices().all();
}

Device *WindowHandle::find_device(const QString &id) const
{
    return gui->devices().find(id);
}

void WindowHandle::add_dummy_device()
{
    trigger(*gui, "Add dummy device");
}

void WindowHandle::forget(Device *device)
{
    gui->destroy_device(device);
}

void WindowHandle::update(Device *device)
{
    gui->update_device_properties(device);
}

DeviceListView *WindowHandle::view() const
{
    return gui->device_table().view();
}

QStandardItemModel &WindowHandle::model() const
{
    return gui->device_table().model();
}

int WindowHandle::row_of(Device *device) const
{
    return gui->device_table().row_of(*device);
}

bool WindowHandle::is_selected(Device *device) const
{
    return gui->device_table().is_selected(*device);
}

std::vector<Device *> WindowHandle::selected_devices() const
{
    return gui->device_table().selected();
}

void WindowHandle::delete_selected()
{
    gui->delete_selected_devices();
}

bool WindowHandle::is_sorted() const
{
    return gui->device_table().is_sorted();
}

const std::vector<std::string> &WindowHandle::column_ids() const
{
    return gui->device_table().ids();
}

const QStringList &WindowHandle::column_names() const
{
    return gui->device_table().captions();
}

const std::vector<QAction *> &WindowHandle::column_actions() const
{
    return gui->device_table().actions();
}

std::vector<int> WindowHandle::shown_columns() const
{
    return gui->device_table().shown_columns();
}

void WindowHandle::toggle_column(size_t index)
{
    gui->device_table().toggle_column(index);
}

void WindowHandle::show_default_columns()
{
    gui->device_table().show_default_columns();
}

void WindowHandle::show_column_menu(const QPoint &position)
{
    gui->device_table().show_column_menu(position);
}

QMenu *WindowHandle::header_menu() const
{
    return gui->device_table().menu();
}

QIcon WindowHandle::load_icon(const QString &path)
{
    return gui->device_table().load_icon(path);
}

QTimer &WindowHandle::meter_timer() const
{
    return *gui->findChild<QTimer *>("meter_timer");
}

void WindowHandle::meter_tick()
{
    gui->on_meter_tick();
}

QComboBox *WindowHandle::search_box() const
{
    return gui->findChild<QComboBox *>("search_box");
}

FrameThrottle &WindowHandle::search_pace() const
{
    return gui->device_table().search_pace();
}

QString WindowHandle::highlighted_text() const
{
    return gui->device_table().search();
}

void WindowHandle::refresh_search()
{
    gui->device_table().refresh_search();
}

void WindowHandle::commit_search() const
{
    static_cast<SearchBox *>(search_box())->commit();
}

PropertyPanel &WindowHandle::panel() const
{
    return gui->property_panel();
}

PanelRow WindowHandle::row(const std::string &key) const
{
    const Property *row = gui->property_panel().row(key);
    if (!row)
        qFatal("no row %s", key.c_str());
    return {*row, *gui->property_panel().row_widgets(key)};
}

std::map<std::string, PanelRow> WindowHandle::rows() const
{
    std::map<std::string, PanelRow> all;
    for (const std::string &key : catalogue().property_keys)
        all[key] = row(key);
    return all;
}

QScrollArea *WindowHandle::property_scroll() const
{
    return gui->property_panel().findChild<QScrollArea *>("property_scroll");
}

QSplitter *WindowHandle::property_splitter() const
{
    return gui->findChild<QSplitter *>("property_splitter");
}

QTimer &WindowHandle::panel_timer() const
{
    return *gui->findChild<QTimer *>("panel_timer");
}

bool WindowHandle::is_editing() const
{
    return gui->property_panel().is_editing();
}

void WindowHandle::set_edit_mode(bool on)
{
    gui->property_panel().set_edit_mode(on);
}

void WindowHandle::confirm()
{
    gui->on_confirm();
}

QPushButton *WindowHandle::edit_button() const
{
    return gui->property_panel().findChild<QPushButton *>("edit_button");
}

QToolButton *WindowHandle::confirm_button() const
{
    return gui->property_panel().findChild<QToolButton *>("confirm_button");
}

QToolButton *WindowHandle::cancel_button() const
{
    return gui->property_panel().findChild<QToolButton *>("cancel_button");
}

QPushButton *WindowHandle::identify_button() const
{
    return gui->findChild<QPushButton *>("identify_button");
}

QPushButton *WindowHandle::eq_button() const
{
    return gui->findChild<QPushButton *>("eq_button");
}

QSplitter *WindowHandle::eq_splitter() const
{
    return gui->findChild<QSplitter *>("eq_splitter");
}

CurveWidget *WindowHandle::curve() const
{
    return &gui->curve();
}

void WindowHandle::refresh_eq_view()
{
    gui->refresh_eq_view();
}

QComboBox *WindowHandle::network_box() const
{
    return gui->findChild<QComboBox *>("network_box");
}

QString WindowHandle::network() const
{
    return gui->network();
}

void WindowHandle::update_network_list()
{
    gui->update_network_list();
}

void WindowHandle::network_changed()
{
    gui->on_network_changed();
}

void WindowHandle::show_network_info()
{
    trigger(*gui, "Network info");
}

QTimer &WindowHandle::discovery_timer() const
{
    return *gui->findChild<QTimer *>("discovery_timer");
}

void WindowHandle::discover()
{
    gui->send_discovery_packets();
}

QString WindowHandle::send_json(const QString &network, bool use_broadcast,
                                const QHostAddress &address, const QJsonObject &object)
{
    return gui->link().send(network, use_broadcast, address, write_frame(object));
}

QString WindowHandle::send_to_device(Device *device, const QJsonObject &object, bool quiet)
{
    return gui->send_to_device(device, object, quiet);
}

DeviceLink &WindowHandle::link() const
{
    return gui->link();
}

void WindowHandle::drain()
{
    gui->link().on_packet();
}

size_t WindowHandle::known_senders() const
{
    return gui->devices().known_senders();
}

void WindowHandle::deliver(const QHostAddress &from, const QByteArray &datagram)
{
    gui->handle_datagram(from, datagram);
}

void WindowHandle::report(const QHostAddress &from, const QJsonObject &object, bool live,
                          const QString &interface)
{
    gui->handle_device_packet(from, object, live, interface);
}

void WindowHandle::remove_rows(const std::vector<Device *> &leaving)
{
    gui->device_table().remove(leaving);
}

void WindowHandle::begin_batch()
{
    batches.push_back(std::make_unique<DeviceTable::Batch>(gui->device_table()));
}

void WindowHandle::end_batch()
{
    batches.pop_back();
}

bool WindowHandle::is_in_batch() const
{
    return gui->device_table().is_in_batch();
}

DeviceCache &WindowHandle::cache() const
{
    return gui->cache();
}

void WindowHandle::load_cache()
{
    gui->load_cache();
}

void WindowHandle::identify_selected()
{
    gui->identify_selected();
}

void WindowHandle::purge_sessions()
{
    gui->purge_sessions();
}

void WindowHandle::show_about()
{
    trigger(*gui, "About this software");
}

void WindowHandle::save_backup()
{
    gui->save_backup();
}

void WindowHandle::restore_backup(const QJsonObject &backup, uint32_t mask)
{
    gui->property_panel().restore(backup, mask);
}

DeppenAss *WindowHandle::assistant(const Device *device) const
{
    const QList<DeppenAss *> made = gui->findChildren<DeppenAss *>();
    return device->has_assistant && !made.isEmpty() ? made.last() : nullptr;
}

DeppenAss *WindowHandle::make_assistant(Device *device)
{
    return gui->all_assistants().make(device);
}

void WindowHandle::upload(Device *device, QByteArray &bytes, const QString &remote_name)
{
    gui->start_upload(device, bytes, remote_name);
}

QTFTPFileUploader *WindowHandle::transfer(const Device *device) const
{
    return gui->all_uploads().transfer(device);
}

void WindowHandle::drop_transfer(Device *device)
{
    gui->all_uploads().drop(device);
}

Uploads &WindowHandle::uploads() const
{
    return gui->all_uploads();
}

void WindowHandle::enable_logging()
{
    trigger(*gui, "Enable &logging");
}

void WindowHandle::open_log(Device *device)
{
    gui->logs().open({device});
}

void WindowHandle::append_log(Device *device, bool highlighted, const QString &text)
{
    gui->append_log(device, highlighted, text);
}

bool WindowHandle::are_logs_shown() const
{
    return gui->logs().is_empty();
}

LogWindow *WindowHandle::log_window(const Device *device) const
{
    return gui->logs().window(device);
}

QPlainTextEdit *WindowHandle::log_view(const Device *device) const
{
    const LogWindow *window = log_window(device);
    return window ? window->log() : nullptr;
}
