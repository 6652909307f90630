// Turns SIGINT and SIGTERM into a signal of the event loop.
#pragma once

#include <QObject>
#include <QSocketNotifier>

namespace simulator {

class Termination : public QObject
{
    Q_OBJECT

public:
    // From now on these signals no longer end the process.
    Termination();

signals:
    void asked();

private:
    void on_readable();

    QSocketNotifier notifier;
};

} // namespace simulator
