// The operator beside the list: log windows, networks, dialogs, leaving and coming back.
#include "meter/log_window.h"
#include "soak/odd_texts.h"
#include "soak/operator_play.h"
#include "support/window_main.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPlainTextEdit>
#include <QShortcut>

namespace {

constexpr int MOST_LOGS = 12;

int open_log_count(const WindowHandle &gui)
{
    int count = 0;
    for (const auto &[id, device] : gui.all_devices())
        count += gui.log_window(device) != nullptr;
    return count;
}

} // namespace

Device *OperatorPlay::device_with_log()
{
    int chosen = random.below(open_log_count(gui()));
    for (const auto &[id, device] : gui().all_devices())
        if (gui().log_window(device) && chosen-- == 0)
            return device;
    return nullptr;
}

void OperatorPlay::open_logs()
{
    if (gui().selected_devices().size() < 4 && open_log_count(gui()) < MOST_LOGS)
        trigger("Enable &logging");
}

void OperatorPlay::close_log()
{
    if (Device *device = device_with_log())
        gui().log_window(device)->close();
}

void OperatorPlay::use_console()
{
    const Device *device = device_with_log();
    if (!device)
        return;
    const QStringList commands = {R"({"command":"blink_leds"})",
                                  R"({"command":"no_such"})",
                                  R"({"command":"set_params","ui":{"memo":"from the console"}})",
                                  R"({"logging":{"en":false}})",
                                  "no JSON",
                                  ""};
    auto *console = gui().log_window(device)->findChild<QLineEdit *>();
    console->setText(random.happens(20) ? odd_text(random)
                                        : commands.at(random.below(commands.size())));
    QTest::keyClick(console, Qt::Key_Return);
}

void OperatorPlay::use_log_keys()
{
    const Device *device = device_with_log();
    if (!device)
        return;
    const QList<QShortcut *> keys = gui().log_view(device)->findChildren<QShortcut *>();
    if (!keys.isEmpty())
        emit keys.at(random.below(keys.size()))->activated();
}

void OperatorPlay::choose_network()
{
    QTest::keyClick(gui().network_box(), random.happens(50) ? Qt::Key_Up : Qt::Key_Down);
    homesickness.start(random.between(500, 4000));
}

void OperatorPlay::return_to_fleet()
{
    gui().network_box()->setCurrentText("loudspeakers");
}

void OperatorPlay::show_network_info()
{
    trigger("Network info");
}

void OperatorPlay::show_about()
{
    gui().show_about();
}

// With the same settings and the same cache. The network may have become another one.
void OperatorPlay::restart()
{
    gui().close();
    window.start();
    gui().show();
    return_to_fleet();
}
