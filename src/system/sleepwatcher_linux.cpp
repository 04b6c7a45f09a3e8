#include "sleepwatcher.h"

#include <QDBusConnection>

namespace {
const QString Path = QStringLiteral("/org/freedesktop/login1");
const QString Interface = QStringLiteral("org.freedesktop.login1.Manager");
const QString Member = QStringLiteral("PrepareForSleep");
} // namespace

struct SleepWatcher::Impl
{
    QString connectionName; // our own connection to a given bus, closed with us
    bool active = false;
};

SleepWatcher::SleepWatcher(const QString &busAddress, QObject *parent)
    : QObject(parent), d(std::make_unique<Impl>())
{
    QDBusConnection bus = QDBusConnection::systemBus();
    if (!busAddress.isEmpty()) {
        d->connectionName = QStringLiteral("pinboard-sleep-%1").arg(quintptr(this), 0, 16);
        bus = QDBusConnection::connectToBus(busAddress, d->connectionName);
    }
    // Any sender: the login manager's bus name differs between systems. Qt D-Bus
    // takes the receiving slot by its signature only.
    d->active = bus.isConnected() && bus.connect(QString(), Path, Interface, Member, this,
                                                 SLOT(onPrepareForSleep(bool)));
    if (!d->active)
        qWarning("Pinboard: no notice of sleep and wake-up (no login manager on the bus)");
}

SleepWatcher::~SleepWatcher()
{
    if (!d->connectionName.isEmpty())
        QDBusConnection::disconnectFromBus(d->connectionName);
    else if (d->active)
        QDBusConnection::systemBus().disconnect(QString(), Path, Interface, Member, this,
                                                SLOT(onPrepareForSleep(bool)));
}

bool SleepWatcher::isActive() const
{
    return d->active;
}

void SleepWatcher::onPrepareForSleep(bool sleeping)
{
    if (sleeping)
        Q_EMIT this->sleeping();
    else
        Q_EMIT resumed();
}
