#pragma once

#include <QObject>
#include <QString>
#include <memory>

// Tells when the machine goes to sleep and wakes up again. The scheduler's timer
// is monotonic and stands still while the machine sleeps, so after a wake-up the
// schedule must be looked at again. On Linux the login manager's PrepareForSleep
// signal on the system bus; elsewhere nothing (the hourly tick still runs).
class SleepWatcher : public QObject
{
    Q_OBJECT
public:
    // busAddress: a D-Bus address to listen on instead of the system bus (tests).
    explicit SleepWatcher(const QString &busAddress = {}, QObject *parent = nullptr);
    ~SleepWatcher() override;

    // False when no notice can come (no bus, or no such platform support).
    bool isActive() const;

Q_SIGNALS:
    void sleeping();
    void resumed();

private Q_SLOTS:
    void onPrepareForSleep(bool sleeping);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
