// All log windows, at most one per device, and the pace at which their texts are shown.
#include "meter/log_windows.h"

#include "meter/log_window.h"
#include "model/device.h"

#include <algorithm>

namespace {
// Nobody reads a page that is gone with the next frame: a flood that turned one waits for two.
// 16 messages a turn came in at 1.5 times the lines a second of CPU time that way.
constexpr int FLOOD_FRAME = 2 * FrameThrottle::FRAME;

} // namespace

LogWindows::LogWindows(QWidget *its_parent, const FrameThrottle::Clock &clock)
    : parent(its_parent)
    , throttle(clock)
{
    turn.setSingleShot(true);
    connect(&turn, &QTimer::timeout, this, &LogWindows::open_next);
    connect(&throttle, &FrameThrottle::due, this, &LogWindows::flush);
}

void LogWindows::open(const std::vector<Device *> &devices)
{
    const bool is_first = waiting.empty();
    waiting.insert(waiting.end(), devices.begin(), devices.end());
    if (is_first)
        open_next();
}

void LogWindows::open_next()
{
    if (waiting.empty())
        return;
    Device *const device = waiting.front();
    waiting.pop_front();
    if (!waiting.empty())
        turn.start(0);
    open_one(device);
}

void LogWindows::open_one(Device *device)
{
    if (LogWindow *open = window(device)) {
        open->show();
        open->activateWindow();
        return;
    }
    auto *const opening = new LogWindow(parent);
    windows[device] = opening;
    connect_window(opening, device);
    opening->show();
    emit opened(device);
}

void LogWindows::connect_window(LogWindow *window, Device *device)
{
    connect(window, &LogWindow::on_close, this, [this, device] { close_one(device); });
    connect(window, &LogWindow::line_typed, this,
            [this, device](const QString &line) { emit line_typed(device, line); });
    connect(window, &LogWindow::pause_toggled, this,
            [this, device] { emit pause_toggled(device); });
    connect(window, &LogWindow::clear_pressed, this, [this, window] { clear(window); });
}

// The window hears of no further close event: by then the device may have another one.
void LogWindows::close_one(Device *device)
{
    LogWindow *const closing = window(device);
    disconnect(closing, nullptr, this, nullptr);
    closing->deleteLater();
    windows.erase(device);
    emit closed(device);
}

LogWindow *LogWindows::window(const Device *device) const
{
    const auto found = windows.find(device);
    return found == windows.end() ? nullptr : found->second;
}

void LogWindows::set_title(const Device *device, const QString &title) const
{
    if (LogWindow *titled = window(device))
        titled->set_title(title);
}

// Deleting a window closes it without a close event.
void LogWindows::drop(const Device *device)
{
    std::erase(waiting, device);
    delete window(device);
    windows.erase(device);
}

void LogWindows::stop()
{
    waiting.clear();
    throttle.cancel();
}

void LogWindows::append(const Device *device, bool highlighted, const QString &text)
{
    LogWindow *const written = window(device);
    if (!written)
        return;
    written->note_text();
    appender.add(written->log(), highlighted, text);
}

// Many insertions cost more than one.
void LogWindows::show_soon()
{
    if (appender.is_empty())
        return;
    if (throttle.rest_of_frame() == 0 || appender.is_full())
        flush();
    else
        throttle.ask();
}

// Each window that waits when a frame begins has its turn in it, and what is left of a huge message
// comes in the next turns. What comes meanwhile waits for the next frame: twenty windows that are
// written to in turn would be painted for each line.
void LogWindows::flush()
{
    const bool is_flood = appender.is_flood();
    if (left_in_frame == 0)
        left_in_frame = appender.views();
    const bool is_huge = appender.flush();
    left_in_frame -= std::min<size_t>(left_in_frame, 1);
    throttle.set_frame(is_flood ? FLOOD_FRAME : FrameThrottle::FRAME);
    throttle.note_done();
    if (appender.is_empty())
        return;
    if (is_huge || left_in_frame > 0)
        throttle.ask_next_turn();
    else
        throttle.ask();
}

// What came before the key was pressed goes too, shown or not, and with it the turn that it waited
// for: in the next frame another window would miss its own.
void LogWindows::clear(const LogWindow *window)
{
    appender.drop(window->log());
    left_in_frame = std::min(left_in_frame, appender.views());
    window->log()->clear();
}
