#include "sleepwatcher.h"

// No notice on this platform: the hourly tick catches up after a wake-up.
struct SleepWatcher::Impl
{
};

SleepWatcher::SleepWatcher(const QString &, QObject *parent)
    : QObject(parent), d(std::make_unique<Impl>())
{
}

SleepWatcher::~SleepWatcher() = default;

bool SleepWatcher::isActive() const
{
    return false;
}

void SleepWatcher::onPrepareForSleep(bool) {}
