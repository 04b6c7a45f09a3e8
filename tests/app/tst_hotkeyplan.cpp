#include "clipmail.h"
#include "cp932.h"
#include "hotkey.h"
#include "hotkeyactions.h"
#include "hotkeyplan.h"
#include "hotkeys.h"
#include "scriptedprompt.h"
#include "tempstore.h"

#include <QComboBox>
#include <QPlainTextEdit>
#include <QSet>
#include <QTest>
#include <map>

using namespace HotkeyPlan;
using namespace Qt::StringLiterals;

namespace {
// Combinations in `taken` belong to another program.
class FakeHotkeys final : public Hotkeys
{
public:
    QSet<std::pair<int, int>> taken;
    std::map<int, std::pair<int, int>> registered;
    int attempts = 0;

    bool registerHotkey(int id, int modifiers, int key) override
    {
        ++attempts;
        unregisterHotkey(id);
        if (!isValid(modifiers, key) || taken.contains({modifiers, key}))
            return false;
        registered[id] = {modifiers, key};
        return true;
    }
    void unregisterHotkey(int id) override { registered.erase(id); }
    bool isRegistered(int id) const override { return registered.count(id) != 0; }
    QList<int> ids() const
    {
        QList<int> out;
        for (const auto &[id, combo] : registered)
            out << id;
        return out;
    }
    void take(const Picks &p, const QList<int> &actions)
    {
        for (int n : actions)
            taken.insert({p[n - 1].modifiers, p[n - 1].key});
    }
};

// Alt+F1 ... Alt+F7: seven distinct choices.
Picks distinctPicks()
{
    Picks p;
    for (int n = 1; n <= Count; ++n)
        p[n - 1] = {Hotkeys::Alt, Hotkeys::F1 + n - 1};
    return p;
}
} // namespace

class TestHotkeyPlan : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void validate_data();
    void validate();
    void registerStopsAtTheFirstConflict();
    void startUp_data();
    void startUp();
    void formChecksThenRegisters();
    void formLeftWithoutRegisteringSwitchesOff();
    void clipTag_data();
    void clipTag();
    void clipMailNeedsRecipientsAndText();
};

void TestHotkeyPlan::validate_data()
{
    QTest::addColumn<int>("action");    // whose choice is changed
    QTest::addColumn<int>("modifiers"); // to this
    QTest::addColumn<int>("key");
    QTest::addColumn<QString>("fault");
    const QString none, noKey = noKeyText(), same = sameKeyText();
    QTest::newRow("all distinct") << 1 << int(Hotkeys::Alt) << Hotkeys::F1 << none;
    QTest::newRow("no modifier") << 3 << 0 << Hotkeys::F1 + 2 << noKey;
    QTest::newRow("no key") << 7 << int(Hotkeys::Alt) << 0 << noKey;
    QTest::newRow("same as action 1") << 7 << int(Hotkeys::Alt) << Hotkeys::F1 << same;
    QTest::newRow("same key, other modifiers") << 7 << int(Hotkeys::Ctrl) << Hotkeys::F1 << none;
    QTest::newRow("same modifiers, other key") << 7 << int(Hotkeys::Alt) << Hotkeys::F12 << none;
}

void TestHotkeyPlan::validate()
{
    QFETCH(int, action);
    QFETCH(int, modifiers);
    QFETCH(int, key);
    QFETCH(QString, fault);
    Picks p = distinctPicks();
    p[action - 1] = {modifiers, key};
    QCOMPARE(HotkeyPlan::validate(p).value_or(QString()), fault);
}

void TestHotkeyPlan::registerStopsAtTheFirstConflict()
{
    for (int taken = 0; taken <= Count; ++taken) { // 0: none taken
        FakeHotkeys keys;
        if (taken)
            keys.take(distinctPicks(), {taken});
        ScriptedPrompt prompt;
        QCOMPARE(registerPicks(keys, distinctPicks(), prompt), taken == 0);
        QCOMPARE(keys.ids(), taken ? QList<int>{} : (QList<int>{1, 2, 3, 4, 5, 6, 7}));
        QCOMPARE(prompt.shown, taken ? QStringList{conflictText(taken)} : QStringList{});
    }
}

void TestHotkeyPlan::startUp_data()
{
    QTest::addColumn<QList<int>>("enabled");
    QTest::addColumn<QList<int>>("taken");
    QTest::addColumn<QList<int>>("registered");
    QTest::addColumn<QStringList>("shown");
    const QList<int> all{1, 2, 3, 4, 5, 6, 7};
    auto text = [](const QString &n) {
        return u"ｼｮｰﾄｶｯﾄｷｰ%1の設定が他のｱﾌﾟﾘｹｰｼｮﾝと重複しています。\r\nｼｮｰﾄｶｯﾄｷｰ%1を再設定して下さい。"_s
            .arg(n);
    };
    const QString group = text({});
    QTest::newRow("all free") << all << QList<int>{} << all << QStringList{};
    QTest::newRow("none switched on")
        << QList<int>{} << QList<int>{} << QList<int>{} << QStringList{};
    QTest::newRow("2 taken: 1-3 go")
        << all << QList<int>{2} << QList<int>{4, 5, 6, 7} << QStringList{group};
    QTest::newRow("1 and 3 taken: one message")
        << all << QList<int>{1, 3} << QList<int>{4, 5, 6, 7} << QStringList{group};
    QTest::newRow("5 taken: only 5 goes")
        << all << QList<int>{5} << QList<int>{1, 2, 3, 4, 6, 7} << QStringList{text(u"5"_s)};
    QTest::newRow("2, 4 and 7 taken") << all << QList<int>{2, 4, 7} << QList<int>{5, 6}
                                      << QStringList{group, text(u"4"_s), text(u"7"_s)};
    QTest::newRow("taken but off")
        << QList<int>{1, 4} << QList<int>{2, 5} << QList<int>{1, 4} << QStringList{};
}

void TestHotkeyPlan::startUp()
{
    QFETCH(QList<int>, enabled);
    QFETCH(QList<int>, taken);
    QFETCH(QList<int>, registered);
    QFETCH(QStringList, shown);
    EnvRecord env;
    const Picks p = distinctPicks();
    storePicks(env, p, false);
    for (int n : enabled)
        env.setText(Env::HotkeyEnabled, u"1"_s, n - 1);
    FakeHotkeys keys;
    keys.take(p, taken);
    ScriptedPrompt prompt;
    registerAtStartUp(keys, env, prompt);
    QCOMPARE(keys.ids(), registered);
    QCOMPARE(prompt.shown, shown);
    for (int n : registered)
        QCOMPARE(keys.registered[n], std::pair(p[n - 1].modifiers, p[n - 1].key));
}

void TestHotkeyPlan::formChecksThenRegisters()
{
    TempStore d;
    FakeHotkeys keys;
    ScriptedPrompt prompt;
    HotKey form(keys, d.settings(), prompt);
    Picks p = distinctPicks();
    p[4] = p[1]; // 5 as 2
    form.setPicks(p);
    form.entry();
    QCOMPARE(prompt.shown, QStringList{u"同一ホットキーは選択出来ません。"_s});
    form.keyBox(5)->setCurrentIndex(-1);
    form.entry();
    QCOMPARE(prompt.shown.last(), u"キーを選択して下さい。"_s);
    QCOMPARE(keys.attempts, 0);

    p = distinctPicks();
    form.setPicks(p);
    // Action 7 chosen the way the user does: by the texts in the boxes.
    form.modifierBox(7)->setCurrentText(u"Ctrl+Shift"_s);
    form.keyBox(7)->setCurrentText(u"F12"_s);
    form.entry();
    QCOMPARE(prompt.shown.last(), u"ショートカットキーを登録しました。"_s);
    QCOMPARE(keys.registered[7], std::pair(6, 123));
    QCOMPARE(form.result(), int(QDialog::Accepted));
    // Kept in record 1, switched on, and read back by the next form.
    const EnvRecord stored = *d.store.readEnv();
    QCOMPARE(stored.hotkeyModifiers(7), 6);
    QCOMPARE(stored.hotkeyKey(7), 123);
    for (int n = 1; n <= Count; ++n)
        QVERIFY(stored.hotkeyEnabled(n));
    p[6] = {6, 123};
    QCOMPARE(storedPicks(stored), p);
    QCOMPARE(HotKey(keys, d.settings(), prompt).picks(), p);
}

void TestHotkeyPlan::formLeftWithoutRegisteringSwitchesOff()
{
    TempStore d;
    EnvRecord env;
    storePicks(env, distinctPicks(), true);
    QVERIFY(d.store.writeEnv(env));
    FakeHotkeys keys;
    ScriptedPrompt prompt;
    QVERIFY(keys.registerHotkey(1, Hotkeys::Alt, Hotkeys::F1));
    keys.take(distinctPicks(), {3});
    HotKey form(keys, d.settings(), prompt);
    form.entry(); // action 3's key is taken now
    form.reject();
    QCOMPARE(prompt.shown,
             (QStringList{conflictText(3),
                          u"ｼｮｰﾄｶｯﾄｷｰの設定が中断されました。\r\nｼｮｰﾄｶｯﾄｷｰを無効にします。"_s}));
    QVERIFY(keys.ids().isEmpty());
    const EnvRecord stored = *d.store.readEnv();
    for (int n = 1; n <= Count; ++n)
        QVERIFY(!stored.hotkeyEnabled(n));
    // The choice itself stays for the next time the form opens.
    QCOMPARE(storedPicks(stored), distinctPicks());
}

void TestHotkeyPlan::clipTag_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("bytes"); // stored CP932 bytes
    QTest::newRow("short") << u"買い物\r\n牛乳"_s << 12;
    QTest::newRow("at the limit") << QString(28000, u'a') << 28000;
    QTest::newRow("cut") << QString(28001, u'a') << 28000;
    // 'a' then double-byte characters: the last whole one ends at 27999.
    QTest::newRow("cut before a split character") << u'a' + QString(14000, u'付') << 27999;
}

void TestHotkeyPlan::clipTag()
{
    QFETCH(QString, text);
    QFETCH(int, bytes);
    TempStore d;
    const auto k = HotkeyActions::storeClipTag(d.store, text);
    QVERIFY(k);
    const TagRecord tag = *d.store.readTag(*k);
    QCOMPARE(tag.messageBytes(), Cp932::encode(text).left(bytes));
    QCOMPARE(tag.kindNumber(), 0); // shown at once
    QCOMPARE(tag.stateMark(), u"0"_s);
    // Blank text makes no tag.
    QVERIFY(!HotkeyActions::storeClipTag(d.store, u" \n\t"_s));
    QCOMPARE(d.store.tagCount(), 1);
}

void TestHotkeyPlan::clipMailNeedsRecipientsAndText()
{
    AddressBook book;
    ScriptedPrompt prompt;
    ClipMail mail(book, u"本文"_s, prompt);
    auto *message = mail.findChild<QPlainTextEdit *>(u"txt_Message"_s);
    mail.send();
    QCOMPARE(prompt.shown, QStringList{ClipMail::noRecipientText()});
    TagMailSettings to;
    to.to = QStringList{u"a@example.invalid"_s};
    mail.setRecipients(to);
    message->setPlainText(u"  "_s);
    mail.send();
    QCOMPARE(prompt.shown.last(), ClipMail::noTextText());
    QCOMPARE(mail.result(), int(QDialog::Rejected));
    message->setPlainText(u"本文"_s);
    mail.send();
    QCOMPARE(prompt.shown.size(), 2);
    QCOMPARE(mail.result(), int(QDialog::Accepted));
    QCOMPARE(mail.recipients(), to);
    QCOMPARE(mail.text(), u"本文"_s);
}

QTEST_MAIN(TestHotkeyPlan)
#include "tst_hotkeyplan.moc"
