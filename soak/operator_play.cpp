// Plays an operator at random: which act comes next, and how the day ends.
#include "soak/operator_play.h"

#include "gui/device_list_view.h"
#include "meter/log_window.h"
#include "simulator/draw_by_weight.h"
#include "soak/vital_signs.h"
#include "support/window_main.h"

#include <QAbstractButton>
#include <QApplication>
#include <QComboBox>
#include <QMenu>
#include <QThread>

namespace {

constexpr int ACT_INTERVAL = 120; // ms from one act to the next

} // namespace

struct OperatorPlay::Row
{
    const char *name = "";
    int weight = 0;
    void (OperatorPlay::*act)() = nullptr;
};

// clang-format off
const std::vector<OperatorPlay::Row> &OperatorPlay::rows()
{
    static const std::vector<Row> all = {
        {.name = "select a few", .weight = 160, .act = &OperatorPlay::select_few},
        {.name = "select many", .weight = 12, .act = &OperatorPlay::select_many},
        {.name = "clear the selection", .weight = 10, .act = &OperatorPlay::clear_selection},
        {.name = "sort", .weight = 30, .act = &OperatorPlay::sort},
        {.name = "search", .weight = 30, .act = &OperatorPlay::search},
        {.name = "clear the search", .weight = 60, .act = &OperatorPlay::clear_search},
        {.name = "commit the search", .weight = 10, .act = &OperatorPlay::commit_search},
        {.name = "show or hide a column", .weight = 25, .act = &OperatorPlay::toggle_column},
        {.name = "scroll", .weight = 60, .act = &OperatorPlay::scroll},
        {.name = "resize", .weight = 20, .act = &OperatorPlay::resize},
        {.name = "delete entries", .weight = 12, .act = &OperatorPlay::delete_entries},
        {.name = "delete offline entries", .weight = 4, .act = &OperatorPlay::select_and_delete_offline},
        {.name = "add a dummy device", .weight = 3, .act = &OperatorPlay::add_dummy},
        {.name = "begin an edit", .weight = 100, .act = &OperatorPlay::begin_edit},
        {.name = "edit a row", .weight = 260, .act = &OperatorPlay::edit_row},
        {.name = "confirm", .weight = 60, .act = &OperatorPlay::confirm},
        {.name = "cancel", .weight = 25, .act = &OperatorPlay::cancel},
        {.name = "show or hide the curve", .weight = 10, .act = &OperatorPlay::toggle_eq},
        {.name = "drag the curve", .weight = 30, .act = &OperatorPlay::drag_curve},
        {.name = "identify", .weight = 15, .act = &OperatorPlay::identify},
        {.name = "purge sessions", .weight = 8, .act = &OperatorPlay::purge},
        {.name = "update firmware", .weight = 25, .act = &OperatorPlay::update_firmware},
        {.name = "upload a file", .weight = 8, .act = &OperatorPlay::upload_file},
        {.name = "save or load a backup", .weight = 15, .act = &OperatorPlay::save_or_load_backup},
        {.name = "open logs", .weight = 20, .act = &OperatorPlay::open_logs},
        {.name = "close a log", .weight = 35, .act = &OperatorPlay::close_log},
        {.name = "use a log's console", .weight = 20, .act = &OperatorPlay::use_console},
        {.name = "clear or pause a log", .weight = 12, .act = &OperatorPlay::use_log_keys},
        {.name = "choose another network", .weight = 2, .act = &OperatorPlay::choose_network},
        {.name = "network info", .weight = 2, .act = &OperatorPlay::show_network_info},
        {.name = "about", .weight = 1, .act = &OperatorPlay::show_about},
        {.name = "close and start again", .weight = 1, .act = &OperatorPlay::restart},
    };
    return all;
}
// clang-format on

OperatorPlay::OperatorPlay(WindowCase &its_window, StallWatch &its_stalls, uint64_t seed)
    : window(its_window)
    , stalls(its_stalls)
    , random(seed)
{
    connect(&timer, &QTimer::timeout, this, &OperatorPlay::play_one);
    homesickness.setSingleShot(true);
    connect(&homesickness, &QTimer::timeout, this, &OperatorPlay::return_to_fleet);
}

void OperatorPlay::start()
{
    timer.start(ACT_INTERVAL);
}

void OperatorPlay::stop()
{
    timer.stop();
}

WindowHandle &OperatorPlay::gui() const
{
    return *window.gui;
}

// Nobody acts behind a dialog. The dialog's event loop may run once more after it has closed, and
// the window must not be taken away below it.
bool OperatorPlay::is_free()
{
    return !QApplication::activeModalWidget() && QThread::currentThread()->loopLevel() <= 1;
}

void OperatorPlay::play_one()
{
    if (is_free())
        perform(simulator::draw_by_weight(rows(), random));
}

void OperatorPlay::perform(const Row &row)
{
    ++counts[row.name];
    stalls.note(row.name);
    (this->*row.act)();
}

void OperatorPlay::trigger(const QString &caption)
{
    for (QAction *action : gui().device_menu()->actions())
        if (action->text() == caption)
            return action->trigger();
    qFatal("the menu has no \"%s\"", qPrintable(caption));
}

void OperatorPlay::press(QAbstractButton *button)
{
    if (button && button->isVisible() && button->isEnabled())
        button->click();
}

void OperatorPlay::leave_tidily()
{
    cancel();
    clear_search();
    clear_selection();
    homesickness.stop();
    return_to_fleet();
    while (Device *device = device_with_log())
        gui().log_window(device)->close();
    gui().show_column_menu({});
    gui().header_menu()->hide();
    for (QAction *action : gui().column_actions())
        action->setChecked(true);
}
