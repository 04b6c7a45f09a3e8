#include "clipmail.h"
#include "cp932.h"
#include "fileset.h"
#include "hotkey.h"
#include "hotkeyactions.h"
#include "hotkeyplan.h"
#include "hotkeys.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "tagstore.h"

#include <QComboBox>
#include <QPlainTextEdit>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>
#include <map>

using namespace HotkeyPlan;

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
    void registerStopsAtTheFirstConflict_data();
    void registerStopsAtTheFirstConflict();
    void startUp_data();
    void startUp();
    void formRegistersCtrlShiftF12();
    void formChecksBeforeRegistering();
    void formLeftWithoutRegisteringSwitchesOff();
    void clipTag_data();
    void clipTag();
    void clipMailNeedsRecipientsAndText();

private:
    struct Data
    {
        QTemporaryDir dir;
        std::unique_ptr<TagStore> store;
        std::unique_ptr<Settings> settings;
    };
    static std::unique_ptr<Data> data(const EnvRecord &env = EnvRecord())
    {
        auto d = std::make_unique<Data>();
        const FileSet files = FileSet::forDirectory(d->dir.path());
        if (!createDataFile(files.dt1, env.bytes()))
            return nullptr;
        d->store = std::make_unique<TagStore>(files.dt1);
        d->settings = std::make_unique<Settings>(*d->store);
        if (!d->settings->load())
            return nullptr;
        return d;
    }
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

void TestHotkeyPlan::registerStopsAtTheFirstConflict_data()
{
    QTest::addColumn<int>("takenAction"); // 0: none taken
    for (int n = 0; n <= Count; ++n)
        QTest::addRow("taken %d", n) << n;
}

void TestHotkeyPlan::registerStopsAtTheFirstConflict()
{
    QFETCH(int, takenAction);
    FakeHotkeys keys;
    const Picks p = distinctPicks();
    if (takenAction > 0)
        keys.taken.insert({p[takenAction - 1].modifiers, p[takenAction - 1].key});
    ScriptedPrompt prompt;
    QCOMPARE(registerPicks(keys, p, prompt), takenAction == 0);
    if (takenAction == 0) {
        QCOMPARE(keys.ids(), (QList<int>{1, 2, 3, 4, 5, 6, 7}));
        QVERIFY(prompt.shown.isEmpty());
    } else {
        QVERIFY(keys.ids().isEmpty());
        QCOMPARE(prompt.shown, QStringList{conflictText(takenAction)});
    }
}

void TestHotkeyPlan::startUp_data()
{
    QTest::addColumn<QList<int>>("enabled");
    QTest::addColumn<QList<int>>("taken");
    QTest::addColumn<QList<int>>("registered");
    QTest::addColumn<QStringList>("shown");
    const QList<int> all{1, 2, 3, 4, 5, 6, 7};
    const QString group = QStringLiteral("ｼｮｰﾄｶｯﾄｷｰの設定が他のｱﾌﾟﾘｹｰｼｮﾝと重複しています。\r\n"
                                         "ｼｮｰﾄｶｯﾄｷｰを再設定して下さい。");
    auto single = [](int n) {
        return QStringLiteral("ｼｮｰﾄｶｯﾄｷｰ%1の設定が他のｱﾌﾟﾘｹｰｼｮﾝと重複しています。\r\n"
                              "ｼｮｰﾄｶｯﾄｷｰ%1を再設定して下さい。")
            .arg(n);
    };
    QTest::newRow("all free") << all << QList<int>{} << all << QStringList{};
    QTest::newRow("none switched on")
        << QList<int>{} << QList<int>{} << QList<int>{} << QStringList{};
    QTest::newRow("2 taken: 1-3 go")
        << all << QList<int>{2} << QList<int>{4, 5, 6, 7} << QStringList{group};
    QTest::newRow("1 and 3 taken: one message")
        << all << QList<int>{1, 3} << QList<int>{4, 5, 6, 7} << QStringList{group};
    QTest::newRow("5 taken: only 5 goes")
        << all << QList<int>{5} << QList<int>{1, 2, 3, 4, 6, 7} << QStringList{single(5)};
    QTest::newRow("2, 4 and 7 taken") << all << QList<int>{2, 4, 7} << QList<int>{5, 6}
                                      << QStringList{group, single(4), single(7)};
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
        env.setText(Env::HotkeyEnabled, QStringLiteral("1"), n - 1);
    FakeHotkeys keys;
    for (int n : taken)
        keys.taken.insert({p[n - 1].modifiers, p[n - 1].key});
    ScriptedPrompt prompt;
    registerAtStartUp(keys, env, prompt);
    QCOMPARE(keys.ids(), registered);
    QCOMPARE(prompt.shown, shown);
    for (int n : registered)
        QCOMPARE(keys.registered[n], std::pair(p[n - 1].modifiers, p[n - 1].key));
}

void TestHotkeyPlan::formRegistersCtrlShiftF12()
{
    auto d = data();
    QVERIFY(d);
    FakeHotkeys keys;
    ScriptedPrompt prompt;
    HotKey form(keys, *d->settings, prompt);
    Picks p = distinctPicks();
    form.setPicks(p);
    // Action 7 chosen the way the user does: by the texts in the boxes.
    form.modifierBox(7)->setCurrentText(QStringLiteral("Ctrl+Shift"));
    form.keyBox(7)->setCurrentText(QStringLiteral("F12"));
    form.entry();
    QCOMPARE(prompt.shown, QStringList{QStringLiteral("ショートカットキーを登録しました。")});
    QCOMPARE(keys.registered[7], std::pair(6, 123));
    QCOMPARE(form.result(), int(QDialog::Accepted));
    // Kept in record 1, switched on, and read back by the next form.
    const EnvRecord stored = *d->store->readEnv();
    QCOMPARE(stored.hotkeyModifiers(7), 6);
    QCOMPARE(stored.hotkeyKey(7), 123);
    for (int n = 1; n <= Count; ++n)
        QVERIFY(stored.hotkeyEnabled(n));
    p[6] = {6, 123};
    QCOMPARE(storedPicks(stored), p);
    HotKey again(keys, *d->settings, prompt);
    QCOMPARE(again.picks(), p);
}

void TestHotkeyPlan::formChecksBeforeRegistering()
{
    auto d = data();
    QVERIFY(d);
    FakeHotkeys keys;
    ScriptedPrompt prompt;
    HotKey form(keys, *d->settings, prompt);
    Picks p = distinctPicks();
    p[4] = p[1]; // 5 as 2
    form.setPicks(p);
    form.entry();
    QCOMPARE(prompt.shown, QStringList{QStringLiteral("同一ホットキーは選択出来ません。")});
    QCOMPARE(keys.attempts, 0);
    form.keyBox(5)->setCurrentIndex(-1);
    form.entry();
    QCOMPARE(prompt.shown.last(), QStringLiteral("キーを選択して下さい。"));
    QCOMPARE(keys.attempts, 0);
}

void TestHotkeyPlan::formLeftWithoutRegisteringSwitchesOff()
{
    EnvRecord env;
    storePicks(env, distinctPicks(), true);
    auto d = data(env);
    QVERIFY(d);
    FakeHotkeys keys;
    ScriptedPrompt prompt;
    QVERIFY(keys.registerHotkey(1, Hotkeys::Alt, Hotkeys::F1));
    keys.taken.insert({int(Hotkeys::Alt), Hotkeys::F1 + 2});
    HotKey form(keys, *d->settings, prompt);
    form.entry(); // action 3's key is taken now
    QCOMPARE(prompt.shown, QStringList{conflictText(3)});
    form.reject();
    QCOMPARE(prompt.shown.last(), QStringLiteral("ｼｮｰﾄｶｯﾄｷｰの設定が中断されました。\r\n"
                                                 "ｼｮｰﾄｶｯﾄｷｰを無効にします。"));
    QCOMPARE(prompt.shown.size(), 2);
    QVERIFY(keys.ids().isEmpty());
    const EnvRecord stored = *d->store->readEnv();
    for (int n = 1; n <= Count; ++n)
        QVERIFY(!stored.hotkeyEnabled(n));
    // The choice itself stays for the next time the form opens.
    QCOMPARE(storedPicks(stored), distinctPicks());
}

void TestHotkeyPlan::clipTag_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("bytes"); // stored CP932 bytes
    QTest::newRow("short") << QStringLiteral("買い物\r\n牛乳") << 12;
    QTest::newRow("at the limit") << QString(28000, u'a') << 28000;
    QTest::newRow("cut") << QString(28001, u'a') << 28000;
    // 'a' then double-byte characters: the last whole one ends at 27999.
    QTest::newRow("cut before a split character") << u'a' + QString(14000, u'付') << 27999;
}

void TestHotkeyPlan::clipTag()
{
    QFETCH(QString, text);
    QFETCH(int, bytes);
    auto d = data();
    QVERIFY(d);
    const auto k = HotkeyActions::storeClipTag(*d->store, text);
    QVERIFY(k);
    const TagRecord tag = *d->store->readTag(*k);
    QCOMPARE(tag.messageBytes().size(), bytes);
    QCOMPARE(tag.messageBytes(), Cp932::encode(text).left(bytes));
    QCOMPARE(tag.kindNumber(), 0); // shown at once
    QCOMPARE(tag.stateMark(), QStringLiteral("0"));
    // Blank text makes no tag.
    QVERIFY(!HotkeyActions::storeClipTag(*d->store, QStringLiteral(" \n\t")));
    QCOMPARE(d->store->tagCount(), 1);
}

void TestHotkeyPlan::clipMailNeedsRecipientsAndText()
{
    AddressBook book;
    ScriptedPrompt prompt;
    ClipMail mail(book, QStringLiteral("本文"), prompt);
    mail.send();
    QCOMPARE(prompt.shown, QStringList{ClipMail::noRecipientText()});
    QCOMPARE(mail.result(), int(QDialog::Rejected));
    TagMailSettings to;
    to.to = QStringList{QStringLiteral("a@example.invalid")};
    mail.setRecipients(to);
    mail.findChild<QPlainTextEdit *>(QStringLiteral("txt_Message"))
        ->setPlainText(QStringLiteral("  "));
    mail.send();
    QCOMPARE(prompt.shown.last(), ClipMail::noTextText());
    QCOMPARE(mail.result(), int(QDialog::Rejected));
    mail.findChild<QPlainTextEdit *>(QStringLiteral("txt_Message"))
        ->setPlainText(QStringLiteral("本文"));
    mail.send();
    QCOMPARE(prompt.shown.size(), 2);
    QCOMPARE(mail.result(), int(QDialog::Accepted));
    QCOMPARE(mail.recipients(), to);
    QCOMPARE(mail.text(), QStringLiteral("本文"));
}

QTEST_MAIN(TestHotkeyPlan)
#include "tst_hotkeyplan.moc"
