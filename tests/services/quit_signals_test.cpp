// Signals that end the program: taken while the object lives, and given back as they were.
#include "gui/quit_signals.h"
#include "support/default_signals.h"

#include <QDir>
#include <QSignalSpy>
#include <QtTest>

#include <cerrno>
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

    // The event loop may be busy: who asks twice is not asked to wait.
    void a_second_signal_ends_the_program_even_before_the_first_was_told()
    {
        const QuitSignals taken;
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
            struct sigaction found = {};
            QCOMPARE(sigaction(signal, nullptr, &found), 0);
            QVERIFY((static_cast<unsigned>(found.sa_flags) & SA_RESETHAND) != 0);
            QVERIFY((found.sa_flags & SA_RESTART) != 0); // what waits in the system goes on
        }
    }

    void a_signal_is_told_once_and_all_are_given_back()
    {
        QuitSignals taken;
        QSignalSpy received(&taken, &QuitSignals::received);
        errno = 7;
        QCOMPARE(raise(SIGINT), 0);
        QCOMPARE(errno, 7);
        QCOMPARE(received.size(), 0);
        QTRY_COMPARE(received.size(), 1);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP})
            QVERIFY(handler_of(signal) == SIG_DFL);
        QCoreApplication::processEvents();
        QCOMPARE(received.size(), 1);
    }

    void nothing_stays_open_behind_it()
    {
        const auto descriptors
            = [] { return QDir("/proc/self/fd").entryList(QDir::System | QDir::Files).size(); };
        const int before = descriptors();
        {
            const QuitSignals taken;
            QCOMPARE(descriptors(), before + 2);
        }
        QCOMPARE(descriptors(), before);
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
