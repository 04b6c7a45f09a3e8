#include "clockchangewatcher.h"

#include <QAbstractNativeEventFilter>
#include <QCoreApplication>

#include <windows.h>

struct ClockChangeWatcher::Impl : QAbstractNativeEventFilter
{
    ClockChangeWatcher *owner = nullptr;

    bool nativeEventFilter(const QByteArray &type, void *message, qintptr *) override
    {
        if (type == "windows_generic_MSG" && static_cast<MSG *>(message)->message == WM_TIMECHANGE)
            Q_EMIT owner->clockChanged();
        return false;
    }
};

ClockChangeWatcher::ClockChangeWatcher(QObject *parent)
    : QObject(parent), d(std::make_unique<Impl>())
{
    d->owner = this;
    QCoreApplication::instance()->installNativeEventFilter(d.get());
}

ClockChangeWatcher::~ClockChangeWatcher()
{
    if (QCoreApplication::instance())
        QCoreApplication::instance()->removeNativeEventFilter(d.get());
}

bool ClockChangeWatcher::isActive() const
{
    return true;
}
