// "At most once per painted frame": paces work that is asked for more often than anyone sees it.
#include "support/frame_throttle.h"

#include <QElapsedTimer>

#include <algorithm>

FrameThrottle::FrameThrottle()
    : FrameThrottle(steady_ms)
{
}

FrameThrottle::FrameThrottle(Clock its_clock)
    : clock(std::move(its_clock))
{
    timer.setSingleShot(true);
    timer.setTimerType(Qt::PreciseTimer);
    connect(&timer, &QTimer::timeout, this, &FrameThrottle::fire);
}

qint64 FrameThrottle::steady_ms()
{
    QElapsedTimer now;
    now.start();
    return now.msecsSinceReference();
}

// A timer that runs is left alone: work asked for without a pause would otherwise never be done.
void FrameThrottle::ask()
{
    if (!timer.isActive())
        timer.start(rest_of_frame());
}

void FrameThrottle::ask_next_turn()
{
    timer.start(0);
}

void FrameThrottle::note_done()
{
    timer.stop();
    last_done = clock();
}

void FrameThrottle::cancel()
{
    timer.stop();
}

int FrameThrottle::rest_of_frame() const
{
    if (!last_done)
        return 0;
    return static_cast<int>(std::clamp<qint64>(*last_done + frame - clock(), 0, frame));
}

// The frame begins before the work: who asks for more while it is done gets the next one.
void FrameThrottle::fire()
{
    last_done = clock();
    emit due();
}
