// The manager as a process of its own, for tests that stop, copy or end it: it tells what its
// window shows, and takes menu commands.
#pragma once

#include "support/window_main.h"

#include <QAction>
#include <QJsonDocument>
#include <QJsonObject>
#include <QMenu>
#include <QProcess>
#include <QSocketNotifier>
#include <QTimer>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <sys/prctl.h>
#include <unistd.h>

// What a line of the process says: devices by the beginning of their status, the chosen network,
// and whether a dialog waits for an answer.
inline QJsonObject shown_state(const WindowHandle &gui)
{
    QJsonObject state{{"network", gui.network()},
                      {"asks", QApplication::activeModalWidget() != nullptr}};
    const auto found = std::find(gui.column_ids().begin(), gui.column_ids().end(), "status");
    const int column = static_cast<int>(found - gui.column_ids().begin());
    for (const char *status : {"Online", "Offline", "Broken net"}) {
        int count = 0;
        for (int row = 0; row < gui.model().rowCount(); ++row)
            count += gui.model().item(row, column)->text().startsWith(status);
        state.insert(status, count);
    }
    return state;
}

// A line is the caption of a command of the device menu; the end of the input closes the window.
inline void take_orders(WindowHandle &gui, QSocketNotifier &input)
{
    char line[200] = {};
    if (read(STDIN_FILENO, line, sizeof line - 1) <= 0) {
        input.setEnabled(false);
        gui.close();
        return;
    }
    for (QAction *action : gui.device_menu()->actions())
        if (action->text() + "\n" == line)
            action->trigger();
}

// The main function of the process. Its settings and its cache are those in `folder`.
inline int run_manager_process(int argc, char **argv, const QString &folder)
{
    // It goes with the test that started it, however that one ends.
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    set_program_names();
    QApplication application(argc, argv);
    register_resources();
    build_catalogue();
    QSettings::setPath(QSettings::IniFormat, QSettings::UserScope, folder);
    WindowHandle gui;
    gui.show();

    QByteArray told;
    QTimer teller;
    QObject::connect(&teller, &QTimer::timeout, &gui.widget(), [&told, &gui] {
        const QByteArray line = QJsonDocument(shown_state(gui)).toJson(QJsonDocument::Compact);
        if (line != told && !gui.is_closed())
            std::printf("%s\n", line.constData()), std::fflush(stdout);
        told = line;
    });
    teller.start(20);
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &gui.widget(),
                     [&gui, &input] { take_orders(gui, input); });
    return QApplication::exec();
}

// The test's end of it. The test program starts itself, so it calls run_manager_process in its
// main function when its first argument is "--manager".
class ManagerProcess
{
public:
    // `launcher` is a command that starts what follows it, such as {"unshare", "--net", "--"}.
    explicit ManagerProcess(const QString &folder, QStringList launcher = {})
    {
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert("QT_FORCE_STDERR_LOGGING", "1");
        process.setProcessEnvironment(environment);
        QObject::connect(&process, &QProcess::readyReadStandardOutput, &process,
                         [this] { read_states(); });
        QObject::connect(&process, &QProcess::readyReadStandardError, &process,
                         [this] { log += process.readAllStandardError(); });
        launcher += {QCoreApplication::applicationFilePath(), "--manager", folder};
        process.start(launcher.takeFirst(), launcher);
        if (!process.waitForStarted())
            qFatal("the manager did not start");
    }

    ~ManagerProcess()
    {
        process.kill();
        process.waitForFinished();
    }

    // How many devices it shows so: "Online", "Offline", "Broken net".
    int count(const QString &status) const { return state().value(status).toInt(); }
    QJsonObject state() const { return states.isEmpty() ? QJsonObject() : states.last(); }
    bool is_running() const { return process.state() == QProcess::Running; }
    qint64 process_id() const { return process.processId(); }

    void order(const QByteArray &caption) { process.write(caption + "\n"); }

    // Closes the window; the exit code of the process, -1 after a crash or when it does not end.
    int close()
    {
        process.closeWriteChannel();
        const bool is_over = process.waitForFinished(20000);
        return is_over && process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    QList<QJsonObject> states = {}; // each that differed from the one before, newest last
    QByteArray log = {};            // what it wrote into the debug log

private:
    void read_states()
    {
        while (process.canReadLine()) {
            const QJsonObject line = QJsonDocument::fromJson(process.readLine()).object();
            if (!line.isEmpty())
                states.append(line);
        }
    }

    QProcess process;
};
