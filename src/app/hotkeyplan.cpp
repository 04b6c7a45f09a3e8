#include "hotkeyplan.h"

#include "hotkeys.h"
#include "prompt.h"

#include <QSet>

namespace HotkeyPlan {

QList<Item> modifierItems()
{
    return {{QStringLiteral("Alt"), Hotkeys::Alt},
            {QStringLiteral("Ctrl"), Hotkeys::Ctrl},
            {QStringLiteral("Shift"), Hotkeys::Shift},
            {QStringLiteral("Alt+Ctrl"), Hotkeys::Alt | Hotkeys::Ctrl},
            {QStringLiteral("Alt+Shift"), Hotkeys::Alt | Hotkeys::Shift},
            {QStringLiteral("Ctrl+Shift"), Hotkeys::Ctrl | Hotkeys::Shift}};
}

QList<Item> keyItems()
{
    QList<Item> items;
    for (int n = 1; n <= 12; ++n)
        items.append({QStringLiteral("F%1").arg(n), Hotkeys::F1 + n - 1});
    return items;
}

std::optional<QString> validate(const Picks &picks)
{
    for (const Pick &p : picks)
        if (p.modifiers == 0 || p.key == 0)
            return noKeyText();
    QSet<int> seen;
    for (const Pick &p : picks) {
        const int combined = p.modifiers << 8 | p.key;
        if (seen.contains(combined))
            return sameKeyText();
        seen.insert(combined);
    }
    return std::nullopt;
}

bool registerPicks(Hotkeys &hotkeys, const Picks &picks, Prompt &prompt)
{
    // Our own earlier keys must not count as taken.
    hotkeys.unregisterAll();
    for (int n = 1; n <= Count; ++n) {
        const Pick &p = picks[n - 1];
        if (!hotkeys.registerHotkey(n, p.modifiers, p.key)) {
            hotkeys.unregisterAll();
            prompt.warn(conflictText(n));
            return false;
        }
    }
    return true;
}

void registerAtStartUp(Hotkeys &hotkeys, const EnvRecord &env, Prompt &prompt)
{
    bool groupOk = true;
    for (int n = 1; n <= 3; ++n)
        if (env.hotkeyEnabled(n))
            groupOk =
                hotkeys.registerHotkey(n, env.hotkeyModifiers(n), env.hotkeyKey(n)) && groupOk;
    if (!groupOk) {
        for (int n = 1; n <= 3; ++n)
            hotkeys.unregisterHotkey(n);
        prompt.warn(startUpConflictText(1));
    }
    for (int n = 4; n <= Count; ++n) {
        if (env.hotkeyEnabled(n) &&
            !hotkeys.registerHotkey(n, env.hotkeyModifiers(n), env.hotkeyKey(n))) {
            hotkeys.unregisterHotkey(n);
            prompt.warn(startUpConflictText(n));
        }
    }
}

Picks storedPicks(const EnvRecord &env)
{
    Picks picks;
    for (int n = 1; n <= Count; ++n)
        picks[n - 1] = {env.hotkeyModifiers(n), env.hotkeyKey(n)};
    return picks;
}

void storePicks(EnvRecord &env, const Picks &picks, bool enabled)
{
    for (int n = 1; n <= Count; ++n) {
        env.setByte(Env::HotkeyModifier, picks[n - 1].modifiers, n);
        env.setByte(Env::HotkeyKey, picks[n - 1].key, n);
        env.setText(Env::HotkeyEnabled, enabled ? QStringLiteral("1") : QString(), n - 1);
    }
}

void switchOff(EnvRecord &env)
{
    for (int n = 1; n <= Count; ++n)
        env.setText(Env::HotkeyEnabled, QString(), n - 1);
}

QString conflictText(int action)
{
    static const char16_t *const Names[Count] = {
        u"付箋新規登録",           u"付箋一覧表表示",         u"付箋表示",
        u"ｸﾘｯﾌﾟﾎﾞｰﾄﾞﾃｷｽﾄ付箋登録", u"ｸﾘｯﾌﾟﾎﾞｰﾄﾞﾃｷｽﾄ付箋送信", u"ｱｸﾃｨﾌﾞ画面のﾊｰﾄﾞｺﾋﾟｰ",
        u"ｸﾘｯﾌﾟﾎﾞｰﾄﾞﾃｷｽﾄEMail送信"};
    if (action < 1 || action > Count)
        return {};
    return QString::fromUtf16(Names[action - 1]) +
           QStringLiteral("ﾎｯﾄｷｰは既に他のｱﾌﾟﾘｹｰｼｮﾝで使用されています。");
}

QString startUpConflictText(int action)
{
    const QString n = action <= 3 ? QString() : QString::number(action);
    return QStringLiteral("ｼｮｰﾄｶｯﾄｷｰ%1の設定が他のｱﾌﾟﾘｹｰｼｮﾝと重複しています。\r\n"
                          "ｼｮｰﾄｶｯﾄｷｰ%1を再設定して下さい。")
        .arg(n);
}

QString registeredText()
{
    return QStringLiteral("ショートカットキーを登録しました。");
}

QString interruptedText()
{
    return QStringLiteral("ｼｮｰﾄｶｯﾄｷｰの設定が中断されました。\r\nｼｮｰﾄｶｯﾄｷｰを無効にします。");
}

QString noKeyText()
{
    return QStringLiteral("キーを選択して下さい。");
}

QString sameKeyText()
{
    return QStringLiteral("同一ホットキーは選択出来ません。");
}

} // namespace HotkeyPlan
