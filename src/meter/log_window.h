// A device's log window: the stream, and a line that goes to the device.
#pragma once

#include "gui/main_window_with_close_signal.h"

class IdlePixels;
class QLineEdit;
class QPlainTextEdit;

class LogWindow : public MainWindowWithCloseSignal
{
    Q_OBJECT

public:
    explicit LogWindow(QWidget *parent);

    void set_title(const QString &title);
    QPlainTextEdit *log() const { return view; }
    // Text has come: from now on the window is expected to change now and then.
    void note_text();

signals:
    void line_typed(const QString &line); // Return in the console
    void pause_toggled();                 // Ctrl+P
    void clear_pressed();                 // Ctrl+K

private:
    void build_console();
    void add_shortcuts();

    QPlainTextEdit *view = nullptr;
    QLineEdit *console = nullptr;
    IdlePixels *pixels = nullptr;
};
