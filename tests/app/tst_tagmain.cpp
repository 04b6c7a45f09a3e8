#include "desktopdisplay.h"
#include "maildesk.h"
#include "mailsettingsfile.h"
#include "mainmenu.h"
#include "manualclock.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "shortcuts.h"
#include "singleinstance.h"
#include "smtpserverprocess.h"
#include "sysdesk.h"
#include "tagmain.h"
#include "tagstore.h"
#include "tagwindow.h"
#include "testfiles.h"
#include "trayattach.h"

#include <QDialog>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>
#include <QTimer>
#include <ctime>

using namespace Qt::StringLiterals;

namespace {
QDateTime utc(int y, int m, int d, int h, int min = 0, int s = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, min, s), QTimeZone::utc());
}

// Record 1 and the tags, as an earlier run left them.
void seed(const QString &dir, const EnvRecord &env, const QList<TagRecord> &tags = {})
{
    TagStore store(FileSet::forDirectory(dir).dt1);
    QVERIFY(store.writeEnv(env));
    for (TagRecord t : tags)
        QVERIFY(store.addTag(t));
}

EnvRecord smtpTo(quint16 port)
{
    EnvRecord env;
    env.setText(Env::SmtpServer, u"127.0.0.1"_s);
    env.setLong(Env::SmtpPort, port);
    env.setLong(Env::SmtpTimeStep, 0);
    env.setText(Env::SmtpFrom, u"pin@example.com"_s);
    return env;
}
} // namespace

class TestTagMain : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void lifeCycle();
    void startUpRefused_data();
    void startUpRefused();
    void clockChangeBringsTheTickForward();
    void dueTagsAtStartUp();
    void contentMailKeepsTheChoiceUntilSent();
    void trayRetries_data();
    void trayRetries();
    void shortcutToggle();
    void shortcutFailureIsReported();
    void execLine();
    void uninstall_data();
    void uninstall();

private:
    QTemporaryDir m_home;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59))};
};

// A home of our own for the shortcuts, its desktop under a localised name.
void TestTagMain::initTestCase()
{
    const QString config = m_home.filePath(u"config"_s);
    QVERIFY(QDir().mkpath(config) && QDir().mkpath(m_home.filePath(u"デスクトップ"_s)));
    qputenv("HOME", m_home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", config.toUtf8());
    qputenv("XDG_DATA_HOME", m_home.filePath(u"data"_s).toUtf8());
    QVERIFY(writeFile(config + u"/user-dirs.dirs"_s, "XDG_DESKTOP_DIR=\"$HOME/デスクトップ\"\n"));
}

// Start on an empty folder and ask the first-run questions, refuse a second copy, shut
// down, start again: no first run this time.
void TestTagMain::lifeCycle()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt, secondPrompt, nextPrompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    QVERIFY(main.firstRun());
    QCOMPARE(fileBytes(main.files().dt1), EnvRecord().bytes());
    QCOMPARE(main.schedulerTimer().intervalMs(), 3600000);
    TagMain second(dir.path(), secondPrompt, m_clock);
    QVERIFY(!second.start());
    QCOMPARE(secondPrompt.shown, QStringList{u"既に起動されています。"_s});

    prompt.answers = {false, false, true};
    int forms = 0;
    QTimer closer; // the hotkey form is modal: the user leaves it without registering
    connect(&closer, &QTimer::timeout, this, [&] {
        if (auto *form = qobject_cast<QDialog *>(QApplication::activeModalWidget())) {
            forms += form->objectName() == u"HotKey";
            form->reject();
        }
    });
    closer.start(10);
    main.firstRunSetUp();
    QCOMPARE(forms, 1);
    QCOMPARE(prompt.shown,
             (QStringList{u"ネットワークの設定を行いますか？\r\n"
                          u"（後から、環境設定のﾈｯﾄﾜｰｸの設定で行うこともできます。）"_s,
                          u"メール(SMTP)の設定を行いますか？\r\n"
                          u"（後から、環境設定のﾒｰﾙ(SMTP)の設定で行うこともできます。）"_s,
                          u"ショートカットキーの設定を行いますか？\r\n"
                          u"（後から、環境設定のｼｮｰﾄｶｯﾄｷｰ登録で行うこともできます。）"_s,
                          u"ｼｮｰﾄｶｯﾄｷｰの設定が中断されました。\r\nｼｮｰﾄｶｯﾄｷｰを無効にします。"_s}));

    main.shutdown();
    QVERIFY(!main.schedulerTimer().isActive());
    QVERIFY(!QFile::exists(dir.filePath(QString::fromLatin1(SingleInstance::LockName))));
    main.shutdown(); // twice is harmless
    EnvRecord env;
    env.setText(Env::UserName, u"鈴木"_s);
    QVERIFY(main.store().writeEnv(env));
    TagMain next(dir.path(), nextPrompt, m_clock);
    QVERIFY(next.start());
    QVERIFY(!next.firstRun());
    QCOMPARE(next.env().userName(), u"鈴木"_s);
    next.firstRunSetUp();
    QVERIFY(nextPrompt.shown.isEmpty());
}

void TestTagMain::startUpRefused_data()
{
    QTest::addColumn<QByteArray>("content"); // null: the folder cannot be made
    QTest::addColumn<QString>("text");
    const QString corrupt = u"環境定義ファイルの内容が壊れています。\r\nPinboard.exeがあるﾃﾞｨﾚｸﾄﾘ "
                            u"のPinboard.dt1,Pinboard.dt2を削除して再実行して下さい。"_s;
    EnvRecord oneTag;
    QTest::newRow("record 1 cut short") << EnvRecord().bytes().first(2050) << corrupt;
    // A VersionCode spoilt to NULs sorts below "000940" but is no old file.
    oneTag.setTagCount(1);
    QByteArray nulCode = oneTag.bytes();
    nulCode.replace(1264, 6, QByteArray(6, '\0'));
    TagRecord tag;
    tag.setMessage(u"消さないで"_s);
    nulCode += QByteArray(TagRecord::SlotSize - nulCode.size(), '\0') + tag.serialize();
    QTest::newRow("VersionCode of NULs") << nulCode << corrupt;
    QTest::newRow("unwritable folder") << QByteArray()
                                       << u"予期せぬエラーが発生しました。"
                                          u"ディスクが書込み禁止になっている可能性があります。"_s;
}

void TestTagMain::startUpRefused()
{
    QFETCH(QByteArray, content);
    QFETCH(QString, text);
    QTemporaryDir dir;
    const QString folder = content.isNull() ? dir.filePath(u"gone"_s) : dir.path();
    const QString dt1 = FileSet::forDirectory(folder).dt1;
    QVERIFY(content.isNull() || writeFile(dt1, content));
    ScriptedPrompt prompt;
    TagMain main(folder, prompt, m_clock);
    QVERIFY(!main.start());
    QCOMPARE(prompt.shown, QStringList{text});
    QCOMPARE(fileBytes(dt1), content); // nothing written over the damaged file
    QVERIFY(!main.schedulerTimer().isActive());
    QVERIFY(content.isNull() || SingleInstance(folder).tryAcquire());
}

void TestTagMain::clockChangeBringsTheTickForward()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    timespec now{};
    clock_gettime(CLOCK_REALTIME, &now);
    if (clock_settime(CLOCK_REALTIME, &now) != 0)
        QSKIP("setting the clock needs CAP_SYS_TIME");
    QTRY_COMPARE(main.schedulerTimer().intervalMs(), 1000);
    QSignalSpy ticked(&main.schedulerTimer(), &SchedulerTimer::tick);
    QVERIFY(ticked.wait(2000));
    QCOMPARE(main.schedulerTimer().intervalMs(), 3600000); // the tick re-armed it
    // The watcher re-arms itself: the next setting is noticed as well.
    clock_gettime(CLOCK_REALTIME, &now);
    QCOMPARE(clock_settime(CLOCK_REALTIME, &now), 0);
    QTRY_COMPARE(main.schedulerTimer().intervalMs(), 1000);
}

// What is due at start-up goes up, or out by mail; what ends soon comes down on time.
void TestTagMain::dueTagsAtStartUp()
{
    QTemporaryDir dir;
    ServerProcess server(dir.path());
    QVERIFY(server.start(u"normal"_s));
    TagRecord now, later, trashed, meeting, mailed;
    now.setMessage(u"今すぐ"_s);
    later.setByte(Tag::ScheduleKind, 1);
    later.setDate(Tag::DisplayDateTime, utc(2024, 5, 2, 9));
    trashed.setStateMark(TagRecord::InTrash);
    meeting.setByte(Tag::ScheduleKind, 1); // up now, erased half a minute from now
    meeting.setDate(Tag::DisplayDateTime, utc(2024, 5, 1, 9));
    meeting.setDate(Tag::EraseDateTime, utc(2024, 5, 1, 10, 0, 30));
    mailed.setByte(Tag::MailFlag, 1);
    seed(dir.path(), smtpTo(server.port), {now, later, trashed, meeting, mailed});
    QVERIFY(MailSettingsFile(FileSet::forDirectory(dir.path()).dt4)
                .write(5, {u"件名"_s, {u"a@example.com"_s}, {}, {}}));
    ManualClock clock(m_clock.now());
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, clock);
    QVERIFY(main.start());
    // The session starts from the event loop, so the spy is in time.
    QSignalSpy sent(&main.mail()->sender(), &MailSender::sent);
    QCOMPARE(main.display()->shownTags(), (QList<int>{1, 4}));
    QCOMPARE(main.display()->window(1)->text(), u"今すぐ"_s);
    QCOMPARE(main.scheduler()->state(2), int(Scheduler::Waiting));
    QTRY_COMPARE_WITH_TIMEOUT(sent.size(), 1, 15000);
    QVERIFY(sent.first().at(0).toBool());
    QVERIFY(server.commands().contains(u"RCPT TO:<a@example.com>"_s));
    QVERIFY(server.message(1).contains("Subject: "));
    clock.advance(60);
    main.scheduler()->SchedulerTick();
    QCOMPARE(main.display()->shownTags(), QList<int>{1});
    QVERIFY(prompt.shown.isEmpty());
}

void TestTagMain::contentMailKeepsTheChoiceUntilSent()
{
    QTemporaryDir dir, refusingDir, normalDir;
    ServerProcess refusing(refusingDir.path()), normal(normalDir.path());
    QVERIFY(refusing.start(u"reject-RCPT"_s) && normal.start(u"normal"_s));
    TagRecord tag;
    tag.setMessage(u"本文"_s);
    seed(dir.path(), smtpTo(refusing.port), {tag});
    const FileSet files = FileSet::forDirectory(dir.path());
    TagStore store(files.dt1);
    ScriptedPrompt prompt;
    Settings settings(store);
    settings.load();
    MailDesk desk(files, store, settings, prompt, m_clock);
    QSignalSpy sent(&desk.sender(), &MailSender::sent);
    QSignalSpy notice(&desk, &MailDesk::notice);
    const TagMailSettings chosen{u"至急"_s, {u"a@example.com"_s}, {}, {}};
    desk.sendContentTo(1, chosen);
    QTRY_COMPARE_WITH_TIMEOUT(sent.size(), 1, 15000);
    QCOMPARE(prompt.shown.size(), 1); // the failure
    QCOMPARE(desk.contentRecipients(1), chosen);
    QCOMPARE(notice.size(), 0);

    QVERIFY(
        settings.change([&](EnvRecord &e) { e.setLong(Env::SmtpPort, normal.port); }).isEmpty());
    desk.sendContentTo(1, desk.contentRecipients(1));
    QTRY_COMPARE_WITH_TIMEOUT(sent.size(), 2, 15000);
    QCOMPARE(notice.size(), 1);
    QCOMPARE(notice.first().first().toString(), MailDesk::contentSentText());
    QCOMPARE(desk.contentRecipients(1), TagMailSettings{}); // nothing stored for the tag
    QCOMPARE(prompt.shown.size(), 1);
}

void TestTagMain::trayRetries_data()
{
    QTest::addColumn<int>("succeedOnTry"); // 0: never
    QTest::addColumn<QList<bool>>("answers");
    QTest::newRow("on the 30th retry") << 31 << QList<bool>{};
    QTest::newRow("yes twice, then no") << 0 << QList<bool>{true, true, false};
}

void TestTagMain::trayRetries()
{
    QFETCH(int, succeedOnTry);
    QFETCH(QList<bool>, answers);
    ScriptedPrompt prompt;
    prompt.answers = answers;
    int tries = 0;
    TrayAttach tray([&] { return ++tries == succeedOnTry; }, prompt);
    tray.setIntervalMs(1);
    QSignalSpy attached(&tray, &TrayAttach::attached);
    QSignalSpy givenUp(&tray, &TrayAttach::givenUp);
    tray.start();
    QTRY_VERIFY(!attached.isEmpty() || !givenUp.isEmpty());
    QCOMPARE(attached.count() + 2 * givenUp.count(), succeedOnTry ? 1 : 2);
    // Each question, all of them asked, comes after the first try and 30 more.
    const QString question = u"タスクトレイのアイコン表示に失敗しました。\r\n再実行しますか"
                             u"？　いいえを選択した場合はプログラムを終了します。"_s;
    QCOMPARE(prompt.shown, QStringList(answers.size(), question));
    QCOMPARE(prompt.titles, QStringList(answers.size(), u"実行確認"_s));
    QCOMPARE(tries, succeedOnTry ? succeedOnTry : 1 + 30 * int(answers.size()));
    QVERIFY(!tray.isRetrying());
}

void TestTagMain::shortcutToggle()
{
    const struct
    {
        Shortcuts::Place place;
        QString file, added, removed;
    } places[] = {{Shortcuts::StartUp, u"config/autostart/pinboard.desktop"_s,
                   u"スタートアップに、Pinboardのショートカットを登録しました。"_s,
                   u"スタートアップから削除しました。"_s},
                  {Shortcuts::Programs, u"data/applications/pinboard.desktop"_s,
                   u"プログラムメニューに、Pinboardのショートカットを登録しました。"_s,
                   u"プログラムメニューからショートカットを削除しました。"_s},
                  {Shortcuts::Desktop, u"デスクトップ/pinboard.desktop"_s,
                   u"ディスクトップに、Pinboardのショートカットを登録しました。"_s,
                   u"ディスクトップからショートカットを削除しました。"_s}};
    Shortcuts s(Shortcuts::userFolders(), {u"/opt/pin board/pinboard"_s});
    for (const auto &[p, file, added, removed] : places) {
        ScriptedPrompt prompt;
        const QString path = m_home.filePath(file);
        s.toggle(p, prompt);
        const QString entry = QString::fromUtf8(fileBytes(path));
        QVERIFY(entry.contains(u"\nExec=\"/opt/pin board/pinboard\"\n"_s));
        QCOMPARE(entry.contains(u"X-GNOME-Autostart-enabled=true"_s), p == Shortcuts::StartUp);
        // A launcher on the desktop must be executable to start.
        QCOMPARE(bool(QFileInfo(path).permissions() & QFile::ExeOwner), p == Shortcuts::Desktop);
        s.toggle(p, prompt);
        QVERIFY(!QFile::exists(path));
        QCOMPARE(prompt.shown, (QStringList{added, removed}));
    }
}

void TestTagMain::shortcutFailureIsReported()
{
    QTemporaryDir other;
    // The folder cannot be made: a file holds its name.
    const QString blocker = other.filePath(u"autostart"_s);
    QVERIFY(writeFile(blocker, {}));
    Shortcuts s({blocker, other.filePath(u"apps"_s), other.path()}, {u"pinboard"_s});
    ScriptedPrompt prompt;
    s.toggle(Shortcuts::StartUp, prompt);
    QCOMPARE(prompt.shown, QStringList{u"スタートアップの登録に失敗しました。"_s});
}

// Quoted as a desktop wants, then the key's own backslash escape on top.
void TestTagMain::execLine()
{
    auto exec = [](const QStringList &command) {
        const QString entry = QString::fromUtf8(
            Shortcuts(Shortcuts::userFolders(), command).desktopEntry(Shortcuts::Programs));
        return entry.section(u"\nExec="_s, 1).section(u'\n', 0, 0);
    };
    QCOMPARE(exec({u"/home/a b/pinboard"_s, u"--data"_s, u"/home/a b/付箋"_s}),
             uR"("/home/a b/pinboard" --data "/home/a b/付箋")"_s);
    QCOMPARE(exec({u"/x/pin$board"_s, u"/d/\"q\"`b`\\c"_s}),
             uR"("/x/pin\\$board" "/d/\\"q\\"\\`b\\`\\\\c")"_s);
    QCOMPARE(exec({u"/x/100%/pinboard"_s}), u"/x/100%%/pinboard"_s);
}

void TestTagMain::uninstall_data()
{
    QTest::addColumn<bool>("deleteData");
    QTest::newRow("data kept") << false;
    QTest::newRow("data deleted") << true;
}

void TestTagMain::uninstall()
{
    QFETCH(bool, deleteData);
    QTemporaryDir data;
    QVERIFY(writeFile(data.filePath(u"mine.txt"_s), {})); // not ours: stays
    ScriptedPrompt prompt;
    TagMain main(data.path(), prompt, m_clock);
    QVERIFY(main.start());
    Shortcuts s(Shortcuts::userFolders(), {u"pinboard"_s});
    const auto places = {Shortcuts::StartUp, Shortcuts::Programs, Shortcuts::Desktop};
    for (auto p : places)
        QVERIFY(s.create(p));
    QVERIFY(main.settings()
                .change([](EnvRecord &e) { e.setText(Env::HotkeyEnabled, u"1"_s, 0); })
                .isEmpty());
    QSignalSpy quit(&main, &TagMain::quitRequested);
    prompt.answers = {true, deleteData}; // prepare: yes; delete the data?
    main.mainMenu()->action(u"mnu_UnInstall"_s)->trigger();
    QCOMPARE(prompt.shown.value(0), SysDesk::uninstallQuestion());
    QVERIFY(prompt.shown.value(1).contains(QDir::toNativeSeparators(data.path())));
    for (auto p : places)
        QVERIFY(!s.exists(p));
    QVERIFY(!main.env().hotkeyEnabled(1));
    QCOMPARE(quit.count(), deleteData ? 1 : 0);
    QVERIFY(QFile::exists(main.files().dt1)); // not while the program still runs on it
    main.shutdown();
    QCOMPARE(prompt.shown.size(), deleteData ? 3 : 2);
    if (deleteData)
        QCOMPARE(prompt.shown[2], SysDesk::dataDeletedText(data.path()));
    QCOMPARE(QFile::exists(main.files().dt1), !deleteData);
    QVERIFY(QFile::exists(data.filePath(u"mine.txt"_s)));
}

QTEST_MAIN(TestTagMain)
#include "tst_tagmain.moc"
