// How the program is while it runs: how long its event loop stood still, and what it holds.
#pragma once

#include <QElapsedTimer>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QTimer>

#include <array>
#include <map>

// A stall is a time in which no timer had its turn: the window neither paints nor answers.
class StallWatch : public QObject
{
    Q_OBJECT

public:
    // In ms. A stall takes as long as the clock says. In it the window works, waits by itself, or
    // has to wait since other programs have the processor.
    struct Stall
    {
        double wall = 0;
        double cpu = 0;
        double waited = 0;  // neither at work nor ready to
        double kernel = 0;  // of the CPU time
        long faults = 0;    // pages of memory that it had to be given
        QString after = {}; // what was done last
    };

    void start();
    void stop();
    // From now on stalls are put down to this.
    void note(const QString &deed) { last_deed = deed; }

    static constexpr double SHORT_WAIT = 50; // ms

    Stall longest_wall = {};
    Stall longest_cpu = {};
    Stall longest_wait = {};
    qint64 waits = 0;                                          // longer than a short one
    std::map<QString, Stall> longest_work = {};                // by CPU time, of each deed
    static constexpr std::array LIMITS = {50, 100, 250, 1000}; // ms
    std::array<qint64, LIMITS.size()> over_limit = {};         // stalls longer than that, by CPU

private:
    void on_beat();

    QTimer beat;
    QElapsedTimer since_beat;
    double cpu_at_beat = 0;
    double kernel_at_beat = 0;
    long faults_at_beat = 0;
    double queued_at_beat = 0;
    QString last_deed = "start";
};

struct Holdings
{
    double resident = 0;    // MiB of memory that the process has
    double heap = 0;        // MiB that are handed out
    QStringList files = {}; // what the open file descriptors stand for, in order
    int widgets = 0;
};

Holdings holdings();

// The same after unused memory has been given back to the system.
Holdings tidy_holdings();
