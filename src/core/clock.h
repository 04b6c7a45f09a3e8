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
