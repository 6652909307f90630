// A long run of the real window against a simulated fleet in which everything goes wrong. At the
// end all is well again, and list, registry, cache file and simulator must agree.
//
//   soak [seconds, default 10] [seed, 1] [devices, 40]
#include "soak/soak.h"

#include <QLoggingCategory>
#include <QTemporaryDir>

#include <cstdio>
#include <map>

namespace {

SoakPlan read_plan(const QStringList &arguments)
{
    SoakPlan plan;
    if (arguments.size() > 1)
        plan.seconds = qMax(1, arguments.at(1).toInt());
    if (arguments.size() > 2)
        plan.seed = arguments.at(2).toULongLong();
    if (arguments.size() > 3)
        plan.devices = qMax(2, arguments.at(3).toInt());
    return plan;
}

std::map<QString, int> warnings; // of the toolkit, and how often each came

// What the platform plugin without a screen can't do is no news.
void count_message(QtMsgType type, const QMessageLogContext & /*context*/, const QString &text)
{
    if (type == QtFatalMsg)
        std::fprintf(stderr, "%s\n", qPrintable(text));
    else if (type != QtDebugMsg && !text.startsWith("This plugin does not support"))
        ++warnings[text];
}

int play(const SoakPlan &plan)
{
    Soak soak(plan);
    const QStringList failures = soak.run();
    for (const QString &failure : failures.mid(0, 100))
        std::printf("FAILED: %s\n", qPrintable(failure));
    for (const auto &[text, count] : warnings)
        std::printf("warning, %d times: %s\n", count, qPrintable(text));
    if (failures.isEmpty())
        std::printf("all agree, no limit missed\n");
    else
        std::printf("FAILED by %d of its claims, see above\n", static_cast<int>(failures.size()));
    return failures.isEmpty() ? 0 : 1;
}

} // namespace

int main(int argc, char **argv)
{
    // The faults are many, and nothing of them may get out.
    std::string reason;
    if (!enter_private_network(&reason))
        qFatal("no private network: %s", reason.c_str());
    // Nobody sees this window; a screen can still be asked for.
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // A file dialog opens in the folder that any program of the user looked at last, and notes its
    // own for them.
    const QTemporaryDir settings;
    qputenv("XDG_CONFIG_HOME", settings.path().toUtf8());
    set_program_names();
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QLoggingCategory::setFilterRules("*.debug=false");
    qInstallMessageHandler(count_message);
    register_resources();
    build_catalogue();
    return play(read_plan(QApplication::arguments()));
}
