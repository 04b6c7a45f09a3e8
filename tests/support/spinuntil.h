// Benchmarks time whole exchanges, so they run the event loop themselves.
#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>

// Runs the event loop until done() or the limit; false on the limit.
template <typename F> bool spinUntil(F done, int limitMs)
{
    QElapsedTimer t;
    t.start();
    while (!done()) {
        if (t.elapsed() > limitMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents, 5);
    }
    return true;
}
