// What an event loop has done, and whether it rests: a timer that runs on for nothing costs a core.
#pragma once

#include "support/frame_throttle.h"

#include <QAbstractEventDispatcher>
#include <QtTest>

// Runs until a frame has passed that begins now: what was asked for before, to be done once a
// frame, has been done then, as the timers fire in their order.
inline bool frame_passes()
{
    FrameThrottle frame;
    QSignalSpy is_over(&frame, &FrameThrottle::due);
    frame.note_done();
    frame.ask();
    return is_over.wait();
}

// Turns of the event loop while nothing is to be done: some for the wait itself, thousands where a
// timer of 0 ms runs. The toolkit says that a loop is about to wait also where it will not, so that
// only time shows it; how much of it passes decides nothing.
inline int turns_at_rest()
{
    int turns = 0;
    const auto counted = QObject::connect(QAbstractEventDispatcher::instance(),
                                          &QAbstractEventDispatcher::awake, [&turns] { ++turns; });
    QTest::qWait(50);
    QObject::disconnect(counted);
    return turns;
}
