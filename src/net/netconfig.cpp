#include "netconfig.h"

#include "envrecord.h"

NetConfig netConfigFrom(const EnvRecord &env, quint32 localIp)
{
    NetConfig config;
    config.port = env.portNo();
    config.userName = env.userName();
    config.localIp = localIp;
    for (int slot = 0; slot < TargetSlots; ++slot)
        config.targets[std::size_t(slot)] = {env.broadcastAddress(slot), env.sequential(slot)};
    config.acceptOutside = env.text(Env::NetAcceptOutside) == u"1";
    return config;
}

bool isInTargetNetwork(quint32 from, quint32 target)
{
    quint32 hostMask = 0;
    while (hostMask != 0xFFFFFFFFu &&
           (target & ((hostMask << 8) | 0xFF)) == ((hostMask << 8) | 0xFF))
        hostMask = (hostMask << 8) | 0xFF;
    return (from & ~hostMask) == (target & ~hostMask);
}

bool acceptsSource(const NetConfig &config, quint32 from)
{
    if (config.acceptOutside)
        return true;
    for (const BroadcastTarget &t : config.targets) {
        if (t.address != 0 && isInTargetNetwork(from, t.address))
            return true;
    }
    return false;
}
