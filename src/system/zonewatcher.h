#pragma once

#include <QObject>
#include <QStringList>
#include <memory>

// Tells when the local time zone changes while the program runs: the zone file
// is replaced (by the desktop's zone setting or by hand). The process's own zone
// is read again before the signal, so local times follow at once.
class ZoneWatcher : public QObject
{
    Q_OBJECT
public:
    // files: what to watch instead of the system's zone files (tests).
    explicit ZoneWatcher(const QStringList &files = defaultFiles(), QObject *parent = nullptr);
    ~ZoneWatcher() override;

    // /etc/localtime, /etc/timezone and the zone file that TZ names, if any.
    static QStringList defaultFiles();
    bool isActive() const;

Q_SIGNALS:
    void zoneChanged();

private:
    struct Impl;
    std::unique_ptr<Impl> d;
};
