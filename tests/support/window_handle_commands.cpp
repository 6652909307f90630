// What tests ask of a window, told from what the window is made of: networks, what arrives, the
// cache, commands, uploads and logs.
#include "firmware/deppen_ass.h"
#include "gui/gui.h"
#include "link/datagram.h"
#include "meter/log_window.h"
#include "support/window_handle.h"

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

void WindowHandle::add_dummy_device()
{
    trigger(*gui, "Add dummy device");
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
