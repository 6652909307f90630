// Lets the program run until something is so.
#include "soak/waiting.h"

#include <QElapsedTimer>
#include <QEventLoop>
#include <QTimer>

bool await(const std::function<bool()> &condition, int timeout)
{
    constexpr int pulse = 20; // ms
    if (condition())
        return true;
    QElapsedTimer elapsed;
    elapsed.start();
    bool holds = false;
    QEventLoop loop;
    QTimer timer;
    QObject::connect(&timer, &QTimer::timeout, &loop,
                     [&condition, &holds, &loop, &elapsed, timeout] {
                         holds = condition();
                         if (holds || elapsed.hasExpired(timeout))
                             loop.quit();
                     });
    timer.start(pulse);
    loop.exec();
    return holds;
}

void rest(int ms)
{
    await([] { return false; }, ms);
}
