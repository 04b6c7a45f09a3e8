#pragma once

#include "clock.h"

// A clock that stands still until told to move.
class ManualClock final : public Clock
{
public:
    explicit ManualClock(const QDateTime &start) : m_now(start) {}
    QDateTime now() const override { return m_now; }
    void set(const QDateTime &moment) { m_now = moment; }
    void advance(qint64 seconds) { m_now = m_now.addSecs(seconds); }

private:
    QDateTime m_now;
};
