// A device's log window: the stream, and a line that goes to the device.
#include "meter/log_window.h"

#include "gui/idle_pixels.h"

#include <QFontDatabase>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QShortcut>
#include <QVBoxLayout>

namespace {

constexpr int MOST_LOG_BLOCKS = 30000; // keeps a window that is open for days small
constexpr int PATIENCE = 5000;         // ms; painting all anew for each message would cost more

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
    view->setAccessibleName("Firmware log");
    return view;
}

} // namespace

LogWindow::LogWindow(QWidget *parent)
    : MainWindowWithCloseSignal(parent)
    , pixels(new IdlePixels(this))
{
    auto *central = new QWidget;
    view = make_log_view(central);
    console = new QLineEdit(central);
    build_console();
    auto *layout = new QVBoxLayout(central);
    layout->setSpacing(1);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(view);
    layout->addWidget(console);
    setCentralWidget(central);
    add_shortcuts();
    resize(1000, 700);
}

void LogWindow::set_title(const QString &title)
{
    setWindowTitle(title);
}

void LogWindow::note_text()
{
    pixels->set_patience(PATIENCE);
}

void LogWindow::build_console()
{
    console->setPlaceholderText("Enter JSON commands here.");
    connect(console, &QLineEdit::returnPressed, this, [this] {
        emit line_typed(console->text());
        console->clear();
    });
}

void LogWindow::add_shortcuts()
{
    const auto add = [this](const char *keys) {
        return new QShortcut(QKeySequence(keys), view, nullptr, nullptr, Qt::WindowShortcut);
    };
    connect(add("Ctrl+K"), &QShortcut::activated, this, &LogWindow::clear_pressed);
    connect(add("Ctrl+P"), &QShortcut::activated, this, &LogWindow::pause_toggled);
    connect(add("Ctrl+W"), &QShortcut::activated, this, &LogWindow::close);
}
