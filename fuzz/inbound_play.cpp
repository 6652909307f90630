// Plays what comes in from the network into the real window, in process and without a socket.
#include "fuzz/inbound_play.h"

#include "eq/curve_widget.h"
#include "firmware/deppen_ass.h"
#include "fuzz/inbound_steps.h"
#include "gui/device_cell.h"
#include "gui/device_list_view.h"
#include "gui/modified_combo_box.h"
#include "gui/value_spinner.h"
#include "meter/log_window.h"
#include "model/registry_limit.h"
#include "model/saved_state.h"
#include "support/window_handle.h"

#include <QAction>
#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QFile>
#include <QHeaderView>
#include <QJsonDocument>
#include <QLineEdit>
#include <QPushButton>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <set>
#include <string_view>

namespace {

constexpr int MOST_STEPS = 60;
// Records of devices that have gone are freed 32 in a turn, and 64 inputs leave a thousand: those
// that stayed made the next inputs ever slower.
constexpr int TURNS_UNTIL_IDLE = 40;

void expect(bool claim, const char *what)
{
    if (claim)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

int number_at(const QByteArray &bytes, int place)
{
    return place < bytes.size() ? static_cast<uint8_t>(bytes.at(place)) : 0;
}

} // namespace

InboundPlay::InboundPlay(Shares shares_)
    : shares(shares_)
{
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder.path());
    open_window();
}

InboundPlay::~InboundPlay() = default;

// In the place of the one before, and without its cache.
void InboundPlay::open_window()
{
    if (gui)
        QFile::remove(gui->cache().path());
    gui.reset();
    gui = std::make_unique<WindowHandle>();
    gui->resize(900, 500);
    gui->show();
    search = gui->search_box();
    paint();
}

void InboundPlay::play(const uint8_t *data, size_t size)
{
    if (played > 0 && played % shares.played_per_window == 0)
        open_window();
    const auto *bytes = reinterpret_cast<const char *>(data);
    const QList<QByteArray> steps = steps_of(QByteArray(bytes, static_cast<int>(size)));
    gui->widget().setVisible(played % shares.played_per_shown == 0);
    for (const QByteArray &step : steps.mid(0, MOST_STEPS))
        if (!step.isEmpty())
            play_step(step);
    end_burst();
    if (played++ % shares.played_per_shown == 0)
        paint();
    check();
    // The same inputs each time.
    if (std::hash<std::string_view>()({bytes, size}) % shares.played_per_cache == 0)
        check_cache();
    clear();
}

void InboundPlay::play_step(const QByteArray &step)
{
    const char letter = step.at(0);
    const QByteArray rest = step.mid(1);
    if (letter == 'D' || letter == 'B')
        receive(number_at(rest, 0), rest.mid(1), letter == 'B');
    else if (QByteArray("TPMCA").contains(letter))
        window_step(letter, rest);
    else if (QByteArray("SFOHXU").contains(letter))
        list_step(letter, rest);
    else if (QByteArray("EIYNQ").contains(letter))
        edit_step(letter, rest);
    else if (QByteArray("LKW").contains(letter))
        log_step(letter, rest);
    else
        receive(number_at(step, 0), rest, false);
}

void InboundPlay::window_step(char letter, const QByteArray &rest)
{
    end_burst();
    if (letter == 'T')
        pass_time(100 * number_at(rest, 0));
    else if (letter == 'P')
        paint();
    else if (letter == 'M')
        gui->meter_tick();
    else if (letter == 'C')
        save_and_read_cache();
    else
        press_assistant(1 + number_at(rest, 0) % 4);
}

void InboundPlay::list_step(char letter, const QByteArray &rest)
{
    const int columns = gui->model().columnCount();
    end_burst();
    if (letter == 'S')
        select_rows(rest);
    else if (letter == 'F')
        search->lineEdit()->setText(QString::fromUtf8(rest.left(40)));
    else if (letter == 'O')
        gui->view()->sortByColumn(number_at(rest, 0) % columns,
                                  rest.size() > 1 ? Qt::DescendingOrder : Qt::AscendingOrder);
    else if (letter == 'H')
        gui->column_actions()[static_cast<size_t>(number_at(rest, 0) % columns)]->trigger();
    else if (letter == 'X')
        gui->delete_selected();
    else
        gui->add_dummy_device();
}

void InboundPlay::edit_step(char letter, const QByteArray &rest)
{
    end_burst();
    if (letter == 'E')
        edit(number_at(rest, 0), rest.mid(1, 200));
    else if (letter == 'I')
        gui->edit_button()->click();
    else if (letter == 'N')
        gui->panel().cancel();
    else if (letter == 'Q')
        gui->eq_button()->click();
    else
        gui->confirm();
}

void InboundPlay::log_step(char letter, const QByteArray &rest)
{
    end_burst();
    if (letter == 'L' && gui->selected_devices().size() < 4)
        gui->enable_logging();
    const Device *device = some_device_with_log();
    if (!device)
        return;
    if (letter == 'W')
        gui->log_window(device)->close();
    if (letter != 'K')
        return;
    auto *console = gui->log_window(device)->findChild<QLineEdit *>();
    console->setText(QString::fromUtf8(rest));
    emit console->returnPressed();
}

// The bytes stand in a block of exactly their size, as they would at the end of a buffer: reading
// one too many is seen.
void InboundPlay::receive(int sender, const QByteArray &datagram, bool more_follows)
{
    const QHostAddress from(QString("10.71.0.%1").arg(10 + sender % 16));
    const auto size = static_cast<size_t>(datagram.size());
    const std::unique_ptr<char[]> bytes(new char[size]);
    std::copy(datagram.begin(), datagram.end(), bytes.get());
    if (!gui->is_in_batch())
        gui->begin_batch();
    gui->deliver(from, QByteArray::fromRawData(bytes.get(), datagram.size()));
    if (!more_follows)
        end_burst();
}

// The window does the rest by itself when it finds its sockets empty.
void InboundPlay::end_burst()
{
    if (!gui->is_in_batch())
        return;
    gui->end_batch();
    gui->drain();
}

void InboundPlay::pass_time(int ms)
{
    for (const auto &[id, device] : gui->all_devices())
        device->last_seen -= ms;
    gui->discover();
}

void InboundPlay::select_rows(const QByteArray &numbers)
{
    // At once, as with the Shift key: each change of the selection shows the panel anew.
    QItemSelection selection;
    const int rows = gui->model().rowCount();
    for (int i = 0; i < numbers.size() && rows > 0; ++i) {
        const QModelIndex row = gui->model().index(number_at(numbers, i) % rows, 0);
        selection.merge(QItemSelection(row, row), QItemSelectionModel::Select);
    }
    gui->view()->selectionModel()->select(
        selection, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
}

void InboundPlay::edit(int number, const QByteArray &text)
{
    const auto count = static_cast<int>(catalogue().property_keys.size());
    const PanelRow row = gui->row(catalogue().property_keys[static_cast<size_t>(number % count)]);
    if (row.line_edit && row.line_edit->isEnabled()) {
        row.line_edit->setText(QString::fromUtf8(text));
        emit row.line_edit->textEdited(row.line_edit->text());
    } else if (row.spinner && row.spinner->isEnabled()) {
        row.spinner->findChild<QLineEdit *>()->setText(QString::fromUtf8(text));
    } else if (row.check_box && row.check_box->isEnabled()) {
        row.check_box->click();
    } else if (row.combo && row.combo->isEnabled() && row.combo->count() > 0) {
        row.combo->setCurrentIndex(number_at(text, 0) % row.combo->count());
        emit row.combo->activated(row.combo->currentIndex());
    }
}

void InboundPlay::press_assistant(int times)
{
    for (const auto &[id, device] : gui->all_devices()) {
        if (!device->has_assistant)
            continue;
        DeppenAss *assistant = gui->assistant(device); // lives on when it has been closed
        for (auto *products : assistant->findChildren<QComboBox *>())
            products->setCurrentIndex(times % products->count());
        assistant->on_next();
        if (times == 4)
            assistant->on_back();
        return;
    }
}

void InboundPlay::save_and_read_cache()
{
    gui->cache().save();
    gui->load_cache();
}

// Only what is due at once runs: what a clock starts would come at another moment each time.
void InboundPlay::paint()
{
    for (QTimer *timer : {&gui->discovery_timer(), &gui->meter_timer()})
        timer->stop();
    gui->cache().stop();
    for (int turn = 0; turn < TURNS_UNTIL_IDLE; ++turn)
        QApplication::processEvents();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

Device *InboundPlay::some_device_with_log()
{
    for (const auto &[id, device] : gui->all_devices())
        if (gui->log_window(device))
            return device;
    return nullptr;
}

void InboundPlay::check()
{
    std::set<QString> rows;
    for (int row = 0; row < gui->model().rowCount(); ++row) {
        const QStandardItem *item = gui->model().item(row, 0);
        expect(item, "every row has its first cell");
        const QString id = item->data(DeviceCell::ID_ROLE).toString();
        expect(rows.insert(id).second, "no device has two rows");
        Device *device = gui->find_device(id);
        expect(device, "every row has a device");
        expect(gui->row_of(device) == row, "a device finds its row");
    }
    for (const auto &[id, device] : gui->all_devices()) {
        expect(device->device_id == id, "records are filed under their ids");
        expect(rows.count(id) == 1, "every device has a row");
        expect(!device->properties.empty(), "every device has properties");
    }
    expect(gui->is_sorted(), "the list is sorted");
    expect(!gui->is_in_batch(), "no burst is left open");
}

void InboundPlay::check_cache()
{
    QByteArray text;
    begin_cache_text(text);
    std::vector<const Device *> kept;
    for (const auto &[id, device] : gui->all_devices()) {
        renew_saved_text(device->saved, device->address, device->last_report, LARGEST_CACHE_PART);
        add_to_cache_text(text, device->saved);
        if (device->saved.size > 0)
            kept.push_back(device);
    }
    end_cache_text(text);
    const std::vector<SavedDevice> read = read_cache_text(text);
    expect(read.size() == kept.size(), "the cache can be read");
    for (size_t i = 0; i < read.size(); ++i) {
        const QByteArray &said = kept[i]->saved.text; // an older one, when the last is too large
        expect(read[i].data == QJsonDocument::fromJson(said).object()
                   && read[i].address == kept[i]->address,
               "the cache says what the registry says");
    }
}

// As at the start: no devices, nothing selected, searched, edited or hidden.
void InboundPlay::clear()
{
    clear_window();
    for (const auto &[id, device] : gui->all_devices())
        if (device->has_assistant)
            gui->assistant(device)->close();
    for (QDialog *dialog : gui->widget().findChildren<QDialog *>())
        delete dialog;
    // By way of a selection the panel would show them all once more, which takes longest by far.
    gui->view()->clearSelection();
    std::vector<Device *> all;
    for (const auto &[id, device] : gui->all_devices())
        all.push_back(device);
    gui->remove_rows(all);
    for (Device *device : all)
        gui->forget(device);
    gui->all_devices().clear();
    QApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
}

void InboundPlay::clear_window()
{
    gui->set_edit_mode(false);
    search->lineEdit()->clear();
    gui->refresh_search();
    gui->show_default_columns();
    gui->view()->sortByColumn(0, Qt::AscendingOrder);
    if (gui->eq_button()->isChecked())
        gui->eq_button()->click();
}
