// What tests ask of a window, told from what the window is made of: list, search, panel and curve.
#include "support/window_handle.h"

#include "gui/gui.h"
#include "gui/search_box.h"
#include "gui/status_line.h"

#include <QCoreApplication>
#include <QMenuBar>

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
