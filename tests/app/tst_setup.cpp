// What the user sets up beside the tags: hotkeys, the arrival sound, the data folder.
#include "cp932.h"
#include "datafolder.h"
#include "datalocation.h"
#include "datamove.h"
#include "hotkey.h"
#include "hotkeyactions.h"
#include "hotkeyplan.h"
#include "hotkeys.h"
#include "scriptedprompt.h"
#include "singleinstance.h"
#include "soundplayer.h"
#include "soundselect.h"
#include "tempstore.h"
#include "testfiles.h"

#include <QDir>
#include <QPushButton>
#include <QSet>
#include <QTest>

using namespace HotkeyPlan;
using namespace Qt::StringLiterals;

namespace {
// Combinations in `taken` belong to another program.
class FakeHotkeys final : public Hotkeys
{
public:
    QSet<std::pair<int, int>> taken;
    QMap<int, std::pair<int, int>> registered;

    bool registerHotkey(int id, int modifiers, int key) override
    {
        unregisterHotkey(id);
        if (!isValid(modifiers, key) || taken.contains({modifiers, key}))
            return false;
        registered[id] = {modifiers, key};
        return true;
    }
    void unregisterHotkey(int id) override { registered.remove(id); }
    bool isRegistered(int id) const override { return registered.contains(id); }
    QList<int> ids() const { return registered.keys(); }
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

// Data as an earlier version left it beside the executable: every file its own bytes.
QMap<QString, QByteArray> leaveData(const QString &dir, const QStringList &names)
{
    QMap<QString, QByteArray> content;
    for (const QString &name : names) {
        content[name] = name.toLatin1().repeated(100);
        writeFile(QDir(dir).filePath(name), content[name]);
    }
    return content;
}

QStringList present(const QString &dir)
{
    QStringList out;
    for (const QString &name : DataMove::fileNames())
        if (QFile::exists(QDir(dir).filePath(name)))
            out << name;
    return out;
}

// Where record 1 keeps the arrival sound and its choice.
constexpr int SoundAt = 1273, SoundLength = 298, ChoiceAt = 1572;
} // namespace

class TestSetup : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void validate();
    void registerStopsAtTheFirstConflict();
    void startUp_data();
    void startUp();
    void formLeftWithoutRegisteringSwitchesOff();
    void clipTag_data();
    void clipTag();
    void soundChoiceStored();
    void dataBesideTheExecutableMovesOnce();
    void failedMoveLeavesEverythingInPlace();
    void nothingMoves();
};

void TestSetup::validate()
{
    auto fault = [](int action, int modifiers, int key) {
        Picks p = distinctPicks();
        p[action - 1] = {modifiers, key};
        return HotkeyPlan::validate(p).value_or(QString());
    };
    const QString noKey = u"キーを選択して下さい。"_s;
    QCOMPARE(fault(3, 0, Hotkeys::F1 + 2), noKey); // no modifier
    QCOMPARE(fault(7, Hotkeys::Alt, 0), noKey);
    QCOMPARE(fault(7, Hotkeys::Alt, Hotkeys::F1), u"同一ホットキーは選択出来ません。"_s);
    QCOMPARE(fault(7, Hotkeys::Ctrl, Hotkeys::F1), QString()); // same key, other modifiers
}

void TestSetup::registerStopsAtTheFirstConflict()
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

// Actions 1-3 share one message and go together; the others stand alone.
void TestSetup::startUp_data()
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
    QTest::newRow("1 and 3 taken: one message")
        << all << QList<int>{1, 3} << QList<int>{4, 5, 6, 7} << QStringList{group};
    QTest::newRow("5 taken: only 5 goes")
        << all << QList<int>{5} << QList<int>{1, 2, 3, 4, 6, 7} << QStringList{text(u"5"_s)};
    QTest::newRow("2, 4 and 7 taken") << all << QList<int>{2, 4, 7} << QList<int>{5, 6}
                                      << QStringList{group, text(u"4"_s), text(u"7"_s)};
    QTest::newRow("taken but off")
        << QList<int>{1, 4} << QList<int>{2, 5} << QList<int>{1, 4} << QStringList{};
}

void TestSetup::startUp()
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

void TestSetup::formLeftWithoutRegisteringSwitchesOff()
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

void TestSetup::clipTag_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("bytes"); // stored CP932 bytes
    QTest::newRow("at the limit") << QString(28000, u'a') << 28000;
    QTest::newRow("cut") << QString(28001, u'a') << 28000;
    // 'a' then double-byte characters: the last whole one ends at 27999.
    QTest::newRow("cut before a split character") << u'a' + QString(14000, u'付') << 27999;
}

void TestSetup::clipTag()
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

// Only cmd_Entry writes, and only the sound's two fields of record 1.
void TestSetup::soundChoiceStored()
{
    TempStore d;
    EnvRecord env;
    env.setText(Env::ArrivalSound, u"/snd/old.mid"_s);
    env.setInteger(Env::ArrivalSoundChoice, 1);
    QVERIFY(d.store.writeEnv(env));
    SoundPlayer player;
    ScriptedPrompt prompt;
    QByteArray expected = fileBytes(d.store.file().path());
    auto choose = [&](const QString &clicks, const QString &stored, int choice) {
        SoundSelect dialog(d.settings(), player, prompt);
        dialog.setFileChooser([] { return u"/音/到着ｵﾝ.mid"_s; });
        for (const QString &name : clicks.split(u' '))
            dialog.findChild<QPushButton *>(name)->click();
        if (clicks.endsWith(u"cmd_Entry"_s)) {
            expected.replace(SoundAt, SoundLength, Cp932::toField(stored, SoundLength));
            LE::setInt16(expected, ChoiceAt, qint16(choice));
        }
        QCOMPARE(fileBytes(d.store.file().path()), expected);
    };
    choose(u"cmd_Sound cmd_Cancel"_s, {}, 0);
    choose(u"cmd_Sound cmd_Entry"_s, u"/音/到着ｵﾝ.mid"_s, 1);
    choose(u"cmd_DelSound cmd_Entry"_s, {}, 0);
    QVERIFY(prompt.shown.isEmpty());
}

void TestSetup::dataBesideTheExecutableMovesOnce()
{
    QTemporaryDir exe, home;
    const QString user = home.filePath(u"share/Pinboard"_s);
    const auto content = leaveData(exe.path(), DataMove::fileNames().mid(0, 5));
    ScriptedPrompt prompt;
    const DataLocation where = resolveDataLocation(std::nullopt, {}, exe.path(), user);
    QCOMPARE(settleDataFolder(where, exe.path(), prompt), user);
    QCOMPARE(prompt.shown, QStringList{dataMovedText(exe.path(), user)});
    QVERIFY(present(exe.path()).isEmpty());
    for (auto it = content.begin(); it != content.end(); ++it)
        QCOMPARE(fileBytes(QDir(user).filePath(it.key())), it.value());
    // The next start finds nothing left to move.
    ScriptedPrompt again;
    QCOMPARE(settleDataFolder(where, exe.path(), again), user);
    QVERIFY(again.shown.isEmpty());
}

void TestSetup::failedMoveLeavesEverythingInPlace()
{
    QTemporaryDir exe, home;
    const QString user = home.filePath(u"Pinboard"_s);
    const auto content = leaveData(exe.path(), DataMove::fileNames().mid(0, 5));
    // The log cannot be copied: a folder of its name is in the way.
    QVERIFY(QDir().mkpath(QDir(user).filePath(u"Pinboard.log"_s)));
    ScriptedPrompt prompt;
    QCOMPARE(settleDataFolder({user, DataLocation::User}, exe.path(), prompt), exe.path());
    QCOMPARE(prompt.shown, QStringList{dataNotMovedText(exe.path(), user)});
    for (auto it = content.begin(); it != content.end(); ++it)
        QCOMPARE(fileBytes(QDir(exe.path()).filePath(it.key())), it.value());
    QVERIFY(present(user).isEmpty() || present(user) == QStringList{u"Pinboard.log"_s});
}

// Not while a Pinboard runs on the old folder, nor into a user folder that has data,
// nor into a folder the user named.
void TestSetup::nothingMoves()
{
    QTemporaryDir exe, home, named;
    leaveData(exe.path(), {u"Pinboard.dt1"_s, u"Pinboard.dt3"_s});
    ScriptedPrompt prompt;
    {
        SingleInstance running(exe.path());
        QVERIFY(running.tryAcquire());
        const QString user = home.filePath(u"Pinboard"_s);
        QCOMPARE(settleDataFolder({user, DataLocation::User}, exe.path(), prompt), exe.path());
    }
    leaveData(home.path(), {u"Pinboard.dt1"_s});
    QCOMPARE(settleDataFolder({home.path(), DataLocation::User}, exe.path(), prompt), home.path());
    QCOMPARE(settleDataFolder({named.path(), DataLocation::Option}, exe.path(), prompt),
             named.path());
    QVERIFY(prompt.shown.isEmpty());
    QCOMPARE(present(exe.path()).size(), 2);
}

QTEST_MAIN(TestSetup)
#include "tst_setup.moc"
