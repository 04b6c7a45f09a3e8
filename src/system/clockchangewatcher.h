#pragma once

#include <QObject>
#include <memory>

// Tells when the wall clock is set (by the user or time sync), so the schedule
// can be looked at again; on Linux through a cancelable timerfd, on Windows
// through WM_TIMECHANGE.
class ClockChangeWatcher : public QObject
{
    Q_OBJECT
public:
    explicit ClockChangeWatcher(QObject *parent = nullptr);
    ~ClockChangeWatcher() override;

    // False when the platform gives no notice; the program then relies on its hourly tick.
    bool isActive() const;

Q_SIGNALS:
    void clockChanged();

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
