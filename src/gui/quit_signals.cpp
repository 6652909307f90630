// Turns the signals that ask a program to end into one of the event loop.
#include "gui/quit_signals.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr std::array QUIT_SIGNALS = {SIGTERM, SIGINT, SIGHUP};

// A pipe, since a handler may do next to nothing itself. Blocking the signals instead would hand
// the block on to every program that is started from here.
int write_end = -1;

void on_signal(int)
{
    const int error = errno;
    const char byte = 0;
    [[maybe_unused]] const ssize_t count = write(write_end, &byte, 1);
    errno = error;
}

void give_signals_back()
{
    for (const int signal : QUIT_SIGNALS) {
        struct sigaction current = {};
        if (sigaction(signal, nullptr, &current) == 0 && current.sa_handler == on_signal)
            std::signal(signal, SIG_DFL);
    }
}

} // namespace

QuitSignals::QuitSignals()
{
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    write_end = ends[1];
    notifier = std::make_unique<QSocketNotifier>(ends[0], QSocketNotifier::Read);
    connect(notifier.get(), &QSocketNotifier::activated, this, &QuitSignals::take);

    struct sigaction action = {};
    action.sa_handler = on_signal;
    action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
    for (const int signal : QUIT_SIGNALS) {
        struct sigaction before = {};
        if (sigaction(signal, nullptr, &before) == 0 && before.sa_handler != SIG_IGN)
            sigaction(signal, &action, nullptr);
    }
}

QuitSignals::~QuitSignals()
{
    if (!notifier)
        return;
    give_signals_back();
    close(static_cast<int>(notifier->socket()));
    close(write_end);
    write_end = -1;
}

void QuitSignals::take()
{
    notifier->setEnabled(false);
    give_signals_back();
    emit received();
}
