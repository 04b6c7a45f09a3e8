#pragma once

#include <QObject>
#include <QTimer>

// The one timer that drives the display of tags. It is armed for the nearest
// change but never more than an hour ahead, so a far-off or missed moment is
// still looked at every hour; a change of the wall clock brings it to 1 s.
class SchedulerTimer : public QObject
{
    Q_OBJECT
public:
    static constexpr qint64 MaxWaitSeconds = 3600;

    explicit SchedulerTimer(QObject *parent = nullptr);

    // Replaces any pending wait with min(seconds, 3600) s (at least 1 s, so a
    // moment that is already due cannot spin the loop).
    void arm(qint64 seconds);
    // The same to the millisecond, so a wait ends on the second it waits for
    // (1 ms to an hour).
    void armMs(qint64 ms);
    // The clock was set: look at the schedule again in one second.
    void clockChanged() { arm(1); }
    void stop() { m_timer.stop(); }

    bool isActive() const { return m_timer.isActive(); }
    int intervalMs() const { return m_timer.interval(); }

Q_SIGNALS:
    // SchedulerTick: the timer has already stopped; the handler re-arms it.
    void tick();

private:
    QTimer m_timer;
};
