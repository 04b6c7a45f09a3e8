#include "zonewatcher.h"

#include <QCryptographicHash>
#include <QFile>
#include <QFileInfo>
#include <QFileSystemWatcher>
#include <QTimer>

#include <cstdlib>
#include <ctime>

namespace {
constexpr int SettleMs = 200; // a replace comes as several events

// What the zone files say: where each link points and what each file holds.
QByteArray fingerprint(const QStringList &files)
{
    QCryptographicHash hash(QCryptographicHash::Sha1);
    for (const QString &path : files) {
        hash.addData(QFileInfo(path).symLinkTarget().toUtf8());
        QFile f(path);
        if (f.open(QIODevice::ReadOnly))
            hash.addData(f.read(1 << 20));
        hash.addData(QByteArrayView("\0", 1));
    }
    return hash.result();
}

// The C library reads the zone again only when TZ differs from its last look.
void reloadZone()
{
    const QByteArray tz = qgetenv("TZ");
    const bool had = qEnvironmentVariableIsSet("TZ");
    qputenv("TZ", "UTC0");
    tzset();
    if (had)
        qputenv("TZ", tz);
    else
        qunsetenv("TZ");
    tzset();
}
} // namespace

struct ZoneWatcher::Impl
{
    QStringList files;
    QFileSystemWatcher watcher;
    QTimer settle;
    QByteArray last;

    void watch()
    {
        // A file replaced by a rename drops out of the watch; its folder stays.
        for (const QString &path : files) {
            if (QFileInfo::exists(path) && !watcher.files().contains(path))
                watcher.addPath(path);
            const QString dir = QFileInfo(path).absolutePath();
            if (!watcher.directories().contains(dir))
                watcher.addPath(dir);
        }
    }
};

QStringList ZoneWatcher::defaultFiles()
{
    QStringList files{QStringLiteral("/etc/localtime"), QStringLiteral("/etc/timezone")};
    QString tz = qEnvironmentVariable("TZ");
    if (tz.startsWith(u':'))
        tz.remove(0, 1);
    if (!tz.isEmpty())
        files << (tz.startsWith(u'/') ? tz : QStringLiteral("/usr/share/zoneinfo/") + tz);
    return files;
}

ZoneWatcher::ZoneWatcher(const QStringList &files, QObject *parent)
    : QObject(parent), d(std::make_unique<Impl>())
{
    d->files = files;
    d->last = fingerprint(files);
    d->settle.setSingleShot(true);
    d->settle.setInterval(SettleMs);
    auto changed = [this] { d->settle.start(); };
    connect(&d->watcher, &QFileSystemWatcher::fileChanged, this, changed);
    connect(&d->watcher, &QFileSystemWatcher::directoryChanged, this, changed);
    connect(&d->settle, &QTimer::timeout, this, [this] {
        d->watch();
        const QByteArray now = fingerprint(d->files);
        if (now == d->last)
            return; // something else in the folder
        d->last = now;
        reloadZone();
        Q_EMIT zoneChanged();
    });
    d->watch();
}

ZoneWatcher::~ZoneWatcher() = default;

bool ZoneWatcher::isActive() const
{
    return !d->watcher.directories().isEmpty();
}
