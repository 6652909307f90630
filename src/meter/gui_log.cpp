// A device's log window: the stream, the echo of JSON traffic, and the console line.
#include "gui/gui.h"
#include "gui/main_window_with_close_signal.h"
#include "link/command.h"
#include "meter/log_stream.h"

#include <QFontDatabase>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr int MOST_LOG_BLOCKS = 30000; // keeps a window that is open for days small
constexpr qint64 FRAME = 16;           // ms

QPlainTextEdit *make_log_view(QWidget *parent)
{
    auto *view = new QPlainTextEdit(parent);
    view->setReadOnly(true);
    view->document()->setMaximumBlockCount(MOST_LOG_BLOCKS);
    QFont font = QFontDatabase::systemFont(QFontDatabase::FixedFont);
    font.setStyleHint(QFont::Monospace, QFont::PreferDefault);
    font.setPointSize(11);
    view->setFont(font);
    view->setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOn);
    return view;
}

} // namespace

void Gui::enable_logging()
{
    for (Device *device : selected_devices())
        open_log(device);
}

// Sends nothing: the device's next report shows that its stream is off, and is answered.
void Gui::open_log(Device *device)
{
    if (device->log_view) {
        device->log_window->show();
        device->log_window->activateWindow();
        return;
    }
    auto *window = new MainWindowWithCloseSignal(this);
    device->log_window = window;
    connect(window, &MainWindowWithCloseSignal::on_close, this,
            [this, device] { close_log(device); });
    auto *central = new QWidget;
    device->log_view = make_log_view(central);
    device->log_view->setAccessibleName("Firmware log");
    auto *console = new QLineEdit(central);
    console->setPlaceholderText("Enter JSON commands here.");
    connect(console, &QLineEdit::returnPressed, window,
            [this, device, console] { send_console_line(device, console); });

    auto *layout = new QVBoxLayout(central);
    layout->setSpacing(1);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(device->log_view);
    layout->addWidget(console);
    window->setCentralWidget(central);
    add_log_shortcuts(device);
    window->resize(1000, 700);
    window->show();
    update_device_properties(device);
}

void Gui::add_log_shortcuts(Device *device)
{
    QPlainTextEdit *view = device->log_view;
    const auto *clear
        = new QShortcut(QKeySequence("Ctrl+K"), view, nullptr, nullptr, Qt::WindowShortcut);
    // What came before the key was pressed goes too, shown or not.
    connect(clear, &QShortcut::activated, view, [this, view] { log_appender.drop(view); });
    connect(clear, &QShortcut::activated, view, &QPlainTextEdit::clear);
    const auto *pause
        = new QShortcut(QKeySequence("Ctrl+P"), view, nullptr, nullptr, Qt::WindowShortcut);
    connect(pause, &QShortcut::activated, device->log_window, [this, device] {
        device->log_paused = !device->log_paused;
        update_device_properties(device);
    });
}

// Position and pause outlive the window: the next one tells what was missed.
void Gui::close_log(Device *device)
{
    device->log_window->deleteLater();
    device->log_window = nullptr;
    device->log_view = nullptr;
    send_to_device(device, logging_command(false), false);
}

// The typed bytes go out as they are: no check, no line end, nothing added, and it stays that a
// failure shows nowhere.
void Gui::send_console_line(Device *device, QLineEdit *console)
{
    append_log(device, true, "Sending: " + console->text() + "\n");
    static_cast<void>(device_link.send(device->interface, false, device->address,
                                       console->text().toUtf8()));
    console->clear();
}

// While datagrams are read, texts are collected: show_logs shows them.
void Gui::append_log(Device *device, bool highlighted, const QString &text)
{
    if (!device || !device->log_view)
        return;
    log_appender.add(device->log_view, highlighted, text);
    if (collecting == 0)
        flush_logs();
}

// At most once per painted frame, unless much is there: many insertions cost more than one.
void Gui::show_logs()
{
    if (log_appender.is_empty())
        return;
    const qint64 rest = log_pace.isValid() ? FRAME - log_pace.elapsed() : 0;
    if (rest <= 0 || log_appender.is_full())
        flush_logs();
    else if (!log_timer.isActive())
        log_timer.start(static_cast<int>(rest));
}

// A slice now; what is left of a huge message comes in the next turns of the event loop.
void Gui::flush_logs()
{
    log_appender.flush();
    log_pace.start();
    if (log_appender.is_empty())
        log_timer.stop();
    else
        log_timer.start(0);
}

void Gui::handle_raw_log(Device *device, const QJsonObject &message, const QByteArray &attachment)
{
    LogStream stream{.log_pos = device->log_pos,
                     .log_escape_state = device->log_escape_state,
                     .log_escape_count = device->log_escape_count};
    const std::optional<QString> text = take_log_message(stream, message, attachment);
    if (!text)
        return;
    device->log_pos = stream.log_pos;
    device->log_escape_state = stream.log_escape_state;
    device->log_escape_count = stream.log_escape_count;
    append_log(device, false, *text);
}
