// Turns SIGINT and SIGTERM into a signal of the event loop.
#include "simulator/termination.h"

#include <csignal>
#include <cstdint>
#include <sys/eventfd.h>
#include <unistd.h>

namespace simulator {

namespace {

// A handler may do no more than write: the event loop reads the other end.
int event_descriptor()
{
    static const int descriptor = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
    return descriptor;
}

void on_signal(int /*number*/)
{
    const uint64_t one = 1;
    [[maybe_unused]] const ssize_t written = write(event_descriptor(), &one, sizeof one);
}

} // namespace

Termination::Termination()
    : notifier(event_descriptor(), QSocketNotifier::Read)
{
    connect(&notifier, &QSocketNotifier::activated, this, &Termination::on_readable);
    std::signal(SIGINT, on_signal);
    std::signal(SIGTERM, on_signal);
    std::signal(SIGPIPE, SIG_IGN); // whoever read our output has gone
}

void Termination::on_readable()
{
    uint64_t count = 0;
    if (read(event_descriptor(), &count, sizeof count) > 0)
        emit asked();
}

} // namespace simulator
