#include "clockchangewatcher.h"

#include <QSocketNotifier>

#include <cerrno>
#include <sys/timerfd.h>
#include <unistd.h>

// A realtime timer armed far in the future with TFD_TIMER_CANCEL_ON_SET: the
// kernel cancels it (read fails with ECANCELED) whenever the clock is set.
struct ClockChangeWatcher::Impl
{
    int fd = -1;
    std::unique_ptr<QSocketNotifier> notifier;

    bool arm() const
    {
        itimerspec farAway{};
        farAway.it_value.tv_sec = 0x7FFFFFFF; // never expires on its own
        return timerfd_settime(fd, TFD_TIMER_ABSTIME | TFD_TIMER_CANCEL_ON_SET, &farAway,
                               nullptr) == 0;
    }
};

ClockChangeWatcher::ClockChangeWatcher(QObject *parent)
    : QObject(parent), d(std::make_unique<Impl>())
{
    d->fd = timerfd_create(CLOCK_REALTIME, TFD_NONBLOCK | TFD_CLOEXEC);
    if (d->fd < 0 || !d->arm()) {
        qWarning("Pinboard: no notice of clock changes (timerfd unavailable)");
        return;
    }
    d->notifier = std::make_unique<QSocketNotifier>(d->fd, QSocketNotifier::Read);
    connect(d->notifier.get(), &QSocketNotifier::activated, this, [this] {
        quint64 expirations = 0;
        const ssize_t n = ::read(d->fd, &expirations, sizeof expirations);
        const bool changed = n < 0 && errno == ECANCELED;
        d->arm();
        if (changed)
            Q_EMIT clockChanged();
    });
}

ClockChangeWatcher::~ClockChangeWatcher()
{
    d->notifier.reset();
    if (d->fd >= 0)
        ::close(d->fd);
}

bool ClockChangeWatcher::isActive() const
{
    return d->notifier != nullptr;
}
