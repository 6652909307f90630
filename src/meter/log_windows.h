// All log windows, at most one per device, and the pace at which their texts are shown.
#pragma once

#include "meter/log_text.h"
#include "support/frame_throttle.h"

#include <QObject>
#include <QTimer>

#include <deque>
#include <unordered_map>
#include <vector>

class LogWindow;
struct Device;

// Devices must outlive their windows, or be dropped.
class LogWindows : public QObject
{
    Q_OBJECT

public:
    // `its_parent` is that of the windows, which go with it at the latest.
    explicit LogWindows(QWidget *its_parent,
                        const FrameThrottle::Clock &clock = FrameThrottle::steady_ms);

    // Opens the first at once and each of the others in a turn of the event loop: three hundred
    // take seconds. A window that is open comes to the front.
    void open(const std::vector<Device *> &devices);
    bool is_open(const Device *device) const { return windows.contains(device); }
    LogWindow *window(const Device *device) const; // null when none is open
    void set_title(const Device *device, const QString &title) const;
    // The record goes: its window does too, and nobody is told.
    void drop(const Device *device);
    // Nothing more opens or is shown.
    void stop();

    // Text for the device's window, which show_soon or flush shows. Nothing without a window.
    void append(const Device *device, bool highlighted, const QString &text);
    void show_soon(); // at most once per painted frame, unless much is there
    void flush();     // at once, up to a slice of one window's
    // ms until what is left is shown, 0 being the next turn, as was asked for.
    int wait() const { return throttle.wait(); }
    bool is_full() const { return appender.is_full(); }   // no more should be taken on
    bool is_empty() const { return appender.is_empty(); } // all is shown

signals:
    void opened(Device *device);
    void line_typed(Device *device, const QString &line);
    void pause_toggled(Device *device);
    void closed(Device *device); // by its user; its window is no longer there

private:
    void open_next();
    void open_one(Device *device);
    void connect_window(LogWindow *window, Device *device);
    void close_one(Device *device);
    void clear(const LogWindow *window);

    QWidget *parent = nullptr;
    std::unordered_map<const Device *, LogWindow *> windows = {};
    std::deque<Device *> waiting = {}; // to be opened
    QTimer turn;                       // single-shot, 0 ms: the next one
    LogAppender appender;
    size_t left_in_frame = 0; // windows that have their turn in this one
    FrameThrottle throttle;
};
