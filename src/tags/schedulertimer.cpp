#include "schedulertimer.h"

SchedulerTimer::SchedulerTimer(QObject *parent) : QObject(parent)
{
    m_timer.setSingleShot(true);
    m_timer.setTimerType(Qt::PreciseTimer);
    connect(&m_timer, &QTimer::timeout, this, &SchedulerTimer::tick);
}

void SchedulerTimer::arm(qint64 seconds)
{
    m_timer.stop();
    const qint64 wait = qBound<qint64>(1, seconds, MaxWaitSeconds);
    m_timer.start(int(wait * 1000));
}

void SchedulerTimer::armMs(qint64 ms)
{
    m_timer.stop();
    m_timer.start(int(qBound<qint64>(1, ms, MaxWaitSeconds * 1000)));
}
