#pragma once

#include <QHostAddress>
#include <QString>
#include <array>

class EnvRecord;

struct BroadcastTarget
{
    quint32 address = 0; // 0: unused slot
    bool sequential = false;
};

inline constexpr int TargetSlots = 16;
using BroadcastTargets = std::array<BroadcastTarget, TargetSlots>;

// What the endpoint needs to start: taken from the environment record.
struct NetConfig
{
    quint16 port = 0;
    QString userName;
    quint32 localIp = 0; // datagrams from here are our own coming back
    BroadcastTargets targets{};
    // Datagrams from outside the targets' networks are dropped unless this is on.
    bool acceptOutside = false;
    // Asked of the kernel for bursts; Linux grants at most net.core.rmem_max (doubled).
    int receiveBufferBytes = 4 << 20;
    // 0.0.0.0 in the program; tests put several endpoints on 127.0.0.x.
    QHostAddress bindAddress{QHostAddress::AnyIPv4};
};

NetConfig netConfigFrom(const EnvRecord &env, quint32 localIp);

// The network a target reaches: its trailing 255 octets are the host part; a
// target without one is a single host.
bool isInTargetNetwork(quint32 from, quint32 target);
bool acceptsSource(const NetConfig &config, quint32 from);

// x.y.z.1 ... x.y.z.254 of a sequential slot's /24.
inline quint32 sweepFirst(quint32 target)
{
    return (target & 0xFFFFFF00u) | 1u;
}
inline quint32 sweepLast(quint32 target)
{
    return (target & 0xFFFFFF00u) | 254u;
}
