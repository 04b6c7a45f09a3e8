#pragma once

#include <QHash>
#include <QList>
#include <QtGlobal>

// How much one computer, and all of them together, may make this one store or
// show in a minute. A peer that sends faster is cut off until its minute has
// passed, so a flood of tags or confirmations cannot fill the disk or the screen.
class FloodGate
{
public:
    static constexpr int TagsPerSource = 30;
    static constexpr int TagsInAll = 120;
    static constexpr qint64 WindowMs = 60'000;
    // No more sources are remembered than this; the oldest are forgotten first.
    static constexpr int MaxSources = 1024;

    FloodGate(int perSource = TagsPerSource, int inAll = TagsInAll, qint64 windowMs = WindowMs)
        : m_perSource(perSource), m_inAll(inAll), m_windowMs(windowMs)
    {
    }

    // True when one more arrival from source at nowMs (a monotonic clock) is let in.
    bool admit(quint32 source, qint64 nowMs);

private:
    static void expire(QList<qint64> &times, qint64 before);

    int m_perSource;
    int m_inAll;
    qint64 m_windowMs;
    QList<qint64> m_all;
    QHash<quint32, QList<qint64>> m_bySource;
};
