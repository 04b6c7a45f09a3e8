#pragma once

#include <QByteArrayView>
#include <QList>
#include <QString>

class EnvRecord;

// This computer on the LAN: its host name and IPv4 address.
struct LocalIdentity
{
    QString hostName;
    quint32 address = 0; // 0: no usable network
    QString addressText() const;
};

// One adapter as far as choosing the local address goes.
struct AdapterAddresses
{
    QString name;
    bool up = false;
    bool loopback = false;
    QList<quint32> ipv4;
};

// The interface of the default route with the lowest metric in the text of
// /proc/net/route; empty when there is none.
QString defaultRouteInterface(QByteArrayView routeTable);
// The first IPv4 of the default route's interface, else the first IPv4 of an
// adapter that is up and not loopback; 0 when there is none.
quint32 pickLocalAddress(const QString &routeInterface, const QList<AdapterAddresses> &adapters);

// GetLocalAddress: asks the system.
LocalIdentity GetLocalAddress();

// True when the identity stored with the network settings is not this host's
// any more; the network then stays down for this run.
bool identityChanged(const EnvRecord &env, const LocalIdentity &now);
