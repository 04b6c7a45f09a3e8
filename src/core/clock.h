#pragma once

#include <QDateTime>

// The one source of "now" below the app layer, so a test can stand on any moment.
class Clock
{
public:
    virtual ~Clock() = default;
    virtual QDateTime now() const = 0;
};

class SystemClock final : public Clock
{
public:
    QDateTime now() const override;
};

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
