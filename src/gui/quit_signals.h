// Turns the signals that ask a program to end into one of the event loop.
#pragma once

#include <QObject>
#include <QSocketNotifier>

#include <memory>

class QuitSignals : public QObject
{
    Q_OBJECT

public:
    // From here to its end, SIGTERM, SIGINT and SIGHUP no longer end the process. One that was
    // ignored at start, as nohup does with SIGHUP, stays ignored. At most one at a time.
    QuitSignals();
    ~QuitSignals() override;

signals:
    // In the event loop, once: a second signal ends the process at once, should the first hang.
    void received();

private:
    void take();

    std::unique_ptr<QSocketNotifier> notifier; // null when the system gives no pipe
};
