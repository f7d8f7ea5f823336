#include "support/EventLoopWait.h"

#include <QDeadlineTimer>
#include <QEventLoop>
#include <QTimer>

#include <algorithm>

bool EventLoopWait::until(const std::function<bool()>& done, int timeoutMs)
{
    const QDeadlineTimer deadline(timeoutMs);
    while (!done()) {
        if (deadline.hasExpired())
            return false;
        // A short loop of its own each round, so that `done` never runs inside a timer of an
        // outer wait (it may wait itself).
        QEventLoop loop;
        QTimer::singleShot(std::clamp<qint64>(deadline.remainingTime(), 0, 5), &loop, &QEventLoop::quit);
        loop.exec();
    }
    return true;
}

void EventLoopWait::run(int ms)
{
    QEventLoop loop;
    QTimer::singleShot(ms, &loop, &QEventLoop::quit);
    loop.exec();
}
