// Signals that end the program: taken while the object lives, and given back as they were.
#include "gui/quit_signals.h"
#include "support/default_signals.h"

#include <QtTest>

#include <csignal>

namespace {

using Handler = void (*)(int);

Handler handler_of(int signal)
{
    struct sigaction found = {};
    sigaction(signal, nullptr, &found);
    return found.sa_handler;
}

} // namespace

class QuitSignalsTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { restore_default_signals(); }
    void cleanup() { std::signal(SIGHUP, SIG_DFL); }

    void signals_are_taken_and_given_back()
    {
        {
            const QuitSignals taken;
            for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
                QVERIFY(handler_of(signal) != SIG_DFL);
                QVERIFY(handler_of(signal) != SIG_IGN);
            }
        }
        for (const int signal : {SIGTERM, SIGINT, SIGHUP})
            QVERIFY(handler_of(signal) == SIG_DFL);
    }

    // As nohup asks for.
    void an_ignored_signal_stays_ignored()
    {
        std::signal(SIGHUP, SIG_IGN);
        {
            const QuitSignals taken;
            QVERIFY(handler_of(SIGHUP) == SIG_IGN);
            QVERIFY(handler_of(SIGTERM) != SIG_DFL);
        }
        QVERIFY(handler_of(SIGHUP) == SIG_IGN);
        QVERIFY(handler_of(SIGTERM) == SIG_DFL);
    }
};

QTEST_GUILESS_MAIN(QuitSignalsTest)
#include "quit_signals_test.moc"
