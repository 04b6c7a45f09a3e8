#include "localaddress.h"

#include "cp932.h"
#include "envrecord.h"
#include "netlog.h"

#include <QHostInfo>
#include <QNetworkInterface>

QString readRouteTable(); // localaddress_<platform>.cpp

QString LocalIdentity::addressText() const
{
    return address ? NetLog::AddrToText(address).trimmed() : QString();
}

QString defaultRouteInterface(QByteArrayView routeTable)
{
    QString best;
    qint64 bestMetric = -1;
    const QList<QByteArray> lines = routeTable.toByteArray().split('\n');
    for (qsizetype i = 1; i < lines.size(); ++i) { // the first line names the columns
        const QList<QByteArray> f = lines[i].simplified().split(' ');
        if (f.size() < 8)
            continue;
        bool ok = false;
        const uint flags = f[3].toUInt(&ok, 16);
        const qint64 metric = f[6].toLongLong();
        if (!ok || f[1] != "00000000" || f[7] != "00000000" || !(flags & 1u))
            continue;
        if (bestMetric < 0 || metric < bestMetric) {
            best = QString::fromLatin1(f[0]);
            bestMetric = metric;
        }
    }
    return best;
}

quint32 pickLocalAddress(const QString &routeInterface, const QList<AdapterAddresses> &adapters)
{
    for (const AdapterAddresses &a : adapters) {
        if (!routeInterface.isEmpty() && a.name == routeInterface && a.up && !a.ipv4.isEmpty())
            return a.ipv4.first();
    }
    for (const AdapterAddresses &a : adapters) {
        if (a.up && !a.loopback && !a.ipv4.isEmpty())
            return a.ipv4.first();
    }
    return 0;
}

LocalIdentity GetLocalAddress()
{
    QList<AdapterAddresses> adapters;
    const auto interfaces = QNetworkInterface::allInterfaces();
    for (const QNetworkInterface &i : interfaces) {
        AdapterAddresses a;
        a.name = i.name();
        a.up = i.flags().testFlag(QNetworkInterface::IsUp) &&
               i.flags().testFlag(QNetworkInterface::IsRunning);
        a.loopback = i.flags().testFlag(QNetworkInterface::IsLoopBack);
        const auto entries = i.addressEntries();
        for (const QNetworkAddressEntry &e : entries) {
            if (e.ip().protocol() == QAbstractSocket::IPv4Protocol)
                a.ipv4.append(e.ip().toIPv4Address());
        }
        adapters.append(a);
    }
    return {QHostInfo::localHostName(),
            pickLocalAddress(defaultRouteInterface(readRouteTable().toLatin1()), adapters)};
}

bool identityChanged(const EnvRecord &env, const LocalIdentity &now)
{
    // The stored name is cut to its field; compare like with like.
    const QString host = Cp932::fromField(Cp932::toField(now.hostName, 32));
    return env.text(Env::NetHostName) != host || env.text(Env::NetLocalIp) != now.addressText();
}
