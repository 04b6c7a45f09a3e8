#include "floodgate.h"

void FloodGate::expire(QList<qint64> &times, qint64 before)
{
    qsizetype n = 0;
    while (n < times.size() && times.at(n) <= before)
        ++n;
    times.remove(0, n);
}

bool FloodGate::admit(quint32 source, qint64 nowMs)
{
    const qint64 before = nowMs - m_windowMs;
    expire(m_all, before);
    if (m_bySource.size() >= MaxSources) {
        for (auto it = m_bySource.begin(); it != m_bySource.end();) {
            expire(*it, before);
            it = it->isEmpty() ? m_bySource.erase(it) : std::next(it);
        }
        if (m_bySource.size() >= MaxSources && !m_bySource.contains(source))
            return false;
    }
    QList<qint64> &mine = m_bySource[source];
    expire(mine, before);
    if (mine.size() >= m_perSource || m_all.size() >= m_inAll)
        return false;
    mine.append(nowMs);
    m_all.append(nowMs);
    return true;
}
