// Whether an event loop rests: a timer that runs on for nothing costs a core.
#pragma once

#include <QAbstractEventDispatcher>
#include <QtTest>

// Turns of the event loop while nothing is to be done: some for the wait itself, thousands where a
// timer of 0 ms runs.
inline int turns_at_rest()
{
    int turns = 0;
    const auto counted = QObject::connect(QAbstractEventDispatcher::instance(),
                                          &QAbstractEventDispatcher::awake, [&turns] { ++turns; });
    QTest::qWait(50);
    QObject::disconnect(counted);
    return turns;
}
