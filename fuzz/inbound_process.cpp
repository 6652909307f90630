// A process in which the window hears nobody but the harness.
#include "fuzz/inbound_process.h"

#include "gui/program_names.h"
#include "model/meta.h"
#include "support/private_network.h"

#include <QLoggingCategory>
#include <QMessageBox>
#include <QTimer>

namespace {

// A message box waits for an answer in an event loop of its own.
void refuse_message()
{
    if (auto *message = qobject_cast<QMessageBox *>(QApplication::activeModalWidget()))
        message->reject();
}

} // namespace

std::unique_ptr<QApplication> make_inbound_process()
{
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QLoggingCategory::setFilterRules("*.debug=false\n*.warning=false");
    set_program_names();
    static int count = 1;
    static char name[] = "inbound";
    static char *arguments[] = {name, nullptr};
    auto application = std::make_unique<QApplication>(count, arguments);
    QApplication::setQuitOnLastWindowClosed(false);
    register_resources();
    build_catalogue();
    auto *timer = new QTimer(application.get());
    QObject::connect(timer, &QTimer::timeout, timer, &refuse_message);
    timer->start(0);
    return application;
}
