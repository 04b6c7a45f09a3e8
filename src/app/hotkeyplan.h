#pragma once

#include "envrecord.h"

#include <QList>
#include <QString>
#include <array>
#include <optional>

class Hotkeys;
class Prompt;

// The seven hotkeys: what the HotKey form offers, its checks, registering the
// user's choice and registering the stored one at start-up.
namespace HotkeyPlan {

inline constexpr int Count = 7;

// Action numbers, as the ids the hotkeys are registered under.
enum Action
{
    NewTag = 1,
    TagList,
    RaiseTags,
    ClipTag,
    ClipSend,
    WindowCopy,
    ClipByMail
};

struct Item
{
    QString text;
    int data; // modifier flags or virtual-key code
};
// The items of every cmb_ModKey box and every cmb_HotKey box, in order.
QList<Item> modifierItems();
QList<Item> keyItems();

// One action's choice; 0 where nothing is chosen.
struct Pick
{
    int modifiers = 0;
    int key = 0;
    bool operator==(const Pick &) const = default;
};
using Picks = std::array<Pick, Count>; // action n at index n - 1

// The first fault of a choice, checked before anything is registered.
std::optional<QString> validate(const Picks &picks);

// Registers action 1 to 7 in turn. At the first refusal the user is told that
// action's conflict, everything registered here is released and false returned.
bool registerPicks(Hotkeys &hotkeys, const Picks &picks, Prompt &prompt);

// Start-up: the stored hotkeys that are switched on. 1 to 3 stand or fall
// together under one message; 4 to 7 each alone with its own.
void registerAtStartUp(Hotkeys &hotkeys, const EnvRecord &env, Prompt &prompt);

Picks storedPicks(const EnvRecord &env);
// The choice into record 1, all switched on (or all off, for the interrupted form).
void storePicks(EnvRecord &env, const Picks &picks, bool enabled);
void switchOff(EnvRecord &env);

QString conflictText(int action);
QString startUpConflictText(int action); // the same text for 1, 2 and 3
QString registeredText();
QString interruptedText();
QString noKeyText();
QString sameKeyText();

} // namespace HotkeyPlan
