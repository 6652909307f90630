// A monotonic clock in µs, and one alarm on it that is exact to the µs.
#include "simulator/alarm_clock.h"

#include "simulator/schedule.h"

#include <algorithm>
#include <ctime>
#include <sys/timerfd.h>
#include <unistd.h>

namespace simulator {

int64_t steady_time()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return int64_t{now.tv_sec} * 1'000'000 + now.tv_nsec / 1000;
}

AlarmClock::AlarmClock()
    : descriptor(timerfd_create(CLOCK_MONOTONIC, TFD_NONBLOCK | TFD_CLOEXEC))
    , notifier(descriptor, QSocketNotifier::Read)
{
    connect(&notifier, &QSocketNotifier::activated, this, &AlarmClock::on_expired);
}

AlarmClock::~AlarmClock()
{
    notifier.setEnabled(false);
    close(descriptor);
}

void AlarmClock::set(int64_t due)
{
    if (due == current)
        return;
    current = due;
    itimerspec setting{}; // all zero: no alarm
    if (due != Schedule::NEVER) {
        const int64_t time = std::max<int64_t>(due, 1);
        setting.it_value.tv_sec = time / 1'000'000;
        setting.it_value.tv_nsec = time % 1'000'000 * 1000;
    }
    timerfd_settime(descriptor, TFD_TIMER_ABSTIME, &setting, nullptr);
}

void AlarmClock::on_expired()
{
    uint64_t expirations = 0;
    if (read(descriptor, &expirations, sizeof expirations) < 0)
        return; // set anew since it expired
    current = -1;
    emit rings();
}

} // namespace simulator
