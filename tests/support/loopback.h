// Endpoints on 127.0.0.x for the LAN tests: nothing they send leaves loopback.
#pragma once

#include "netconfig.h"

#include <QHostAddress>
#include <QUdpSocket>

constexpr quint32 Lo(int host)
{
    return 0x7F000000u | quint32(host);
}

// A port free on 127.0.0.1, taken as free on the neighbours too.
inline quint16 freeLoopbackPort()
{
    QUdpSocket probe;
    return probe.bind(QHostAddress(Lo(1)), 0) ? probe.localPort() : 0;
}

// `name` on 127.0.0.host, sweeping 127.0.0.x.
inline NetConfig loopbackConfig(quint16 port, int host, const QString &name)
{
    NetConfig c;
    c.port = port;
    c.userName = name;
    c.localIp = Lo(host);
    c.targets[0] = {0x7F0000FF, true};
    c.bindAddress = QHostAddress(Lo(host));
    return c;
}
