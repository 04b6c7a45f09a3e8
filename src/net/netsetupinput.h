#pragma once

#include "localaddress.h"
#include "netconfig.h"

#include <array>
#include <optional>

class EnvRecord;

// What the network settings dialog holds, as typed.
struct NetSetupInput
{
    QString port;
    QString userName;
    std::array<std::array<QString, 4>, TargetSlots> octets; // [row][txt_IP1..4]
    std::array<bool, TargetSlots> sequential{};
};

struct NetSetupFault
{
    QString message;
    QString control; // objectName to focus
};

inline constexpr int UserNameBytes = 32; // 16 kanji

// The first fault in the dialog's order of checks; nullopt when it may be stored.
std::optional<NetSetupFault> validateNetSetup(const NetSetupInput &in);

// The dialog's contents when it opens: the stored settings, or without them port
// 12222 and the local address with .255 in the first row.
NetSetupInput netSetupFromEnv(const EnvRecord &env, const LocalIdentity &local);
// Writes valid input into env, with this host as the identity the settings belong to.
void storeNetSetup(const NetSetupInput &in, const LocalIdentity &local, EnvRecord &env);
