#include "zonewatcher.h"

// No notice on this platform: a zone change shows at the next full look.
struct ZoneWatcher::Impl
{
};

QStringList ZoneWatcher::defaultFiles()
{
    return {};
}

ZoneWatcher::ZoneWatcher(const QStringList &, QObject *parent)
    : QObject(parent), d(std::make_unique<Impl>())
{
}

ZoneWatcher::~ZoneWatcher() = default;

bool ZoneWatcher::isActive() const
{
    return false;
}
