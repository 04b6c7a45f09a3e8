#include "clock.h"
#include "desktopdisplay.h"
#include "editorhost.h"
#include "maildesk.h"
#include "mailsettingsfile.h"
#include "mainmenu.h"
#include "manualclock.h"
#include "prompt.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "singleinstance.h"
#include "smtpserverprocess.h"
#include "taglist.h"
#include "tagmain.h"
#include "tagpopupmenu.h"
#include "tagstore.h"
#include "tagwindow.h"
#include "trayattach.h"

#include <QFile>
#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <ctime>

class TestTagMain : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void lifeCycle();
    void damagedEnvironmentEndsStartUp_data();
    void damagedEnvironmentEndsStartUp();
    void unwritableDirectoryEndsStartUp();
    void clockChangeBringsTheTickForward();
    void dueTagsAppearAtStartUp();
    void settingsEntriesWriteRecordOne();
    void editorAndListsFromTheMenus();
    void dueMailTagGoesOutAtStartUp();
    void contentMailKeepsTheChoiceUntilSent();
    void tagListFollowsTheScheduler();
    void trayRetries_data();
    void trayRetries();

private:
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59))};
};

// Start on an empty folder, refuse a second copy, shut down, start again.
void TestTagMain::lifeCycle()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt, secondPrompt;
    const QString lock = dir.filePath(QString::fromLatin1(SingleInstance::LockName));
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    QVERIFY(main.firstRun());
    QCOMPARE(fileBytes(main.files().dt1), EnvRecord().bytes());
    QCOMPARE(main.schedulerTimer().intervalMs(), 3600000);
    QVERIFY(main.schedulerTimer().isActive());
    QCOMPARE(main.trayIcon()->toolTip(),
             QStringLiteral("DeskTop Pin Board\r\nﾀﾞﾌﾞﾙｸﾘｯｸで付箋作成"));
    QSignalSpy quit(&main, &TagMain::quitRequested);
    main.trayMenu()->actions().last()->trigger(); // 終了
    QCOMPARE(quit.count(), 1);

    TagMain second(dir.path(), secondPrompt, m_clock);
    QVERIFY(!second.start());
    QCOMPARE(secondPrompt.shown, QStringList{QStringLiteral("既に起動されています。")});
    QVERIFY(!second.isRunning());
    // The first runs on untouched, its lock still in place.
    QVERIFY(main.isRunning());
    QCOMPARE(fileBytes(main.files().dt1), EnvRecord().bytes());
    QVERIFY(!SingleInstance(dir.path()).tryAcquire());
    QVERIFY(prompt.shown.isEmpty());

    main.shutdown();
    QVERIFY(!main.isRunning());
    QVERIFY(!main.schedulerTimer().isActive());
    QVERIFY(main.trayIcon() == nullptr);
    QVERIFY(!QFile::exists(lock));
    main.shutdown(); // twice is harmless
    EnvRecord env;
    env.setText(Env::UserName, QStringLiteral("鈴木"));
    QVERIFY(main.store().writeEnv(env));
    TagMain next(dir.path(), prompt, m_clock);
    QVERIFY(next.start());
    QVERIFY(!next.firstRun());
    QCOMPARE(next.env().userName(), QStringLiteral("鈴木"));
}

void TestTagMain::damagedEnvironmentEndsStartUp_data()
{
    QTest::addColumn<QByteArray>("content");
    EnvRecord badNumber;
    badNumber.setText(Env::NextTagNumber, QStringLiteral("abcde"));
    QByteArray shortRecord = EnvRecord().bytes().first(2050);
    QTest::newRow("next tag number not digits") << badNumber.bytes();
    QTest::newRow("record 1 cut short") << shortRecord;
    QTest::newRow("record 1 missing") << QByteArray(100, 'z');
    // A VersionCode spoilt to NULs sorts below "000940" but is no old file.
    EnvRecord oneTag;
    oneTag.setTagCount(1);
    QByteArray nulCode = oneTag.bytes();
    nulCode.replace(1264, 6, QByteArray(6, '\0'));
    TagRecord tag;
    tag.setMessage(QStringLiteral("消さないで"));
    nulCode += QByteArray(TagRecord::SlotSize - nulCode.size(), '\0') + tag.serialize();
    QTest::newRow("VersionCode of NULs") << nulCode;
}

void TestTagMain::damagedEnvironmentEndsStartUp()
{
    QFETCH(QByteArray, content);
    QTemporaryDir dir;
    QFile f(dir.filePath(QStringLiteral("Pinboard.dt1")));
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.write(content);
    f.close();
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(!main.start());
    QCOMPARE(prompt.shown, QStringList{TagMain::corruptEnvText()});
    QVERIFY(
        prompt.shown.first().startsWith(QStringLiteral("環境定義ファイルの内容が壊れています。")));
    QVERIFY(prompt.shown.first().endsWith(QStringLiteral(
        "Pinboard.exeがあるﾃﾞｨﾚｸﾄﾘ のPinboard.dt1,Pinboard.dt2を削除して再実行して下さい。")));
    QCOMPARE(fileBytes(f.fileName()), content); // nothing written over the damaged file
    QVERIFY(!main.schedulerTimer().isActive());
    QVERIFY(SingleInstance(dir.path()).tryAcquire());
}

void TestTagMain::unwritableDirectoryEndsStartUp()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt;
    TagMain main(dir.filePath(QStringLiteral("gone")), prompt, m_clock);
    QVERIFY(!main.start());
    QCOMPARE(
        prompt.shown,
        QStringList{QStringLiteral(
            "予期せぬエラーが発生しました。ディスクが書込み禁止になっている可能性があります。")});
}

void TestTagMain::clockChangeBringsTheTickForward()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    QCOMPARE(main.schedulerTimer().intervalMs(), 3600000);
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

void TestTagMain::dueTagsAppearAtStartUp()
{
    QTemporaryDir dir;
    TagStore store(dir.filePath(QStringLiteral("Pinboard.dt1")));
    QVERIFY(store.writeEnv(EnvRecord()));
    TagRecord now, later, trashed;
    now.setMessage(QStringLiteral("今すぐ"));
    later.setByte(Tag::ScheduleKind, 1);
    later.setDate(Tag::DisplayDateTime,
                  QDateTime(QDate(2024, 5, 2), QTime(9, 0), QTimeZone::utc()));
    trashed.setStateMark(TagRecord::InTrash);
    for (TagRecord *t : {&now, &later, &trashed})
        QVERIFY(store.addTag(*t));
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    QCOMPARE(main.display()->shownTags(), QList<int>{1});
    QCOMPARE(main.display()->window(1)->text(), QStringLiteral("今すぐ"));
    QCOMPARE(main.scheduler()->state(2), int(Scheduler::Waiting));
    QCOMPARE(main.schedulerTimer().intervalMs(), 3600000); // tomorrow is more than an hour away

    // Its pop-up menu: into the trash, and the window goes.
    main.tagMenu()->prepare(1, false);
    main.tagMenu()->entryAction(TagPopupMenu::Delete)->trigger();
    QCOMPARE(store.readTag(1)->stateMark(), QStringLiteral("D"));
    QVERIFY(main.display()->shownTags().isEmpty());
    QVERIFY(prompt.shown.isEmpty());

    // A tag from another computer with no arrival sound chosen: a beep and the blink,
    // which a click on the tray icon ends.
    int beeps = 0;
    main.display()->sound().setBeeper([&] { ++beeps; });
    main.display()->PlayArrivalSound();
    QCOMPARE(beeps, 1);
    QVERIFY(main.display()->isBlinking());
    main.trayMessage(TrayMessages::LeftUp, false);
    QVERIFY(!main.display()->isBlinking());
}

void TestTagMain::settingsEntriesWriteRecordOne()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    MainMenu *menu = main.mainMenu();
    auto act = [&](const char *name) { return menu->action(QString::fromLatin1(name)); };
    QVERIFY(act("mnu_ScmTop")->isChecked() && act("mnu_AutoPosYes")->isChecked());

    act("mnu_ScmTop")->trigger();
    act("mnu_AutoPosNo")->trigger();
    act("mnu_BackColor_3")->trigger();
    const EnvRecord env = *main.store().readEnv();
    QCOMPARE(env.byte(Env::ScmTop), 0); // the negation of the check it had
    QCOMPARE(env.byte(Env::NetTop), 1);
    QCOMPARE(env.byte(Env::AutoPosition), 0);
    QCOMPARE(env.byte(Env::BackColor), 3);
    QVERIFY(!act("mnu_ScmTop")->isChecked());
    QVERIFY(act("mnu_AutoPosNo")->isChecked() && !act("mnu_AutoPosYes")->isChecked());
    QCOMPARE(main.env().byte(Env::AutoPosition), 0);

    act("mnuStop")->trigger();
    QCOMPARE(act("mnuStop")->text(), QStringLiteral("再開"));
    QCOMPARE(main.trayIcon()->toolTip(), QStringLiteral("Pin Board Stoped"));
    act("mnuStop")->trigger();
    QCOMPARE(act("mnuStop")->text(), QStringLiteral("一時停止"));
    QCOMPARE(main.trayIcon()->toolTip(), TagMain::trayTip());
}

void TestTagMain::editorAndListsFromTheMenus()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    auto act = [&](const char *name) { return main.mainMenu()->action(QString::fromLatin1(name)); };

    // A new tag written in the editor goes on the desktop at once.
    act("mnu_NewTag")->trigger();
    TagEntry *editor = main.editors()->editor();
    QVERIFY(editor);
    act("mnu_NewTag")->trigger();
    QCOMPARE(prompt.shown, QStringList{EditorHost::editorOpenText()});
    QCOMPARE(main.editors()->editor(), editor);
    editor->findChild<QPlainTextEdit *>(QStringLiteral("txt_Message"))
        ->setPlainText(QStringLiteral("新しい付箋"));
    editor->findChild<QPushButton *>(QStringLiteral("Command1"))->click();
    QTRY_VERIFY(!main.editors()->editor());
    QCOMPARE(main.store().readTag(1)->message(), QStringLiteral("新しい付箋"));
    QCOMPARE(main.display()->shownTags(), QList<int>{1});

    // The list shows it; the tag's own menu puts it into the trash, and both lists follow.
    act("mnuList")->trigger();
    act("mnu_TrashDisp")->trigger();
    QListWidget *live = main.editors()->tagList()->list();
    QListWidget *trash = main.editors()->trashList()->list();
    QCOMPARE(live->count(), 1);
    QCOMPARE(trash->count(), 0);
    main.tagMenu()->prepare(1, false);
    main.tagMenu()->entryAction(TagPopupMenu::Delete)->trigger();
    QCOMPARE(live->count(), 0);
    QCOMPARE(trash->count(), 1);
    QVERIFY(main.display()->shownTags().isEmpty());

    // Restored from the trash, it is shown again.
    main.editors()->trashList()->selectTag(1);
    main.editors()->trashList()->restoreSelected();
    QCOMPARE(main.display()->shownTags(), QList<int>{1});
    QCOMPARE(live->count(), 1);

    // The log switch: caption and record 1.
    act("mnu_LogStart")->trigger();
    QCOMPARE(act("mnu_LogStart")->text(), QStringLiteral("通信ﾛｸﾞ記録終了"));
    QCOMPARE(main.store().readEnv()->byte(Env::LogEnabled), 1);
    QVERIFY(main.mail()->log().isEnabled());
    act("mnu_LogStart")->trigger();
    QCOMPARE(act("mnu_LogStart")->text(), QStringLiteral("通信ﾛｸﾞ記録開始"));
    QVERIFY(!main.mail()->log().isEnabled());
}

void TestTagMain::dueMailTagGoesOutAtStartUp()
{
    QTemporaryDir dir;
    ServerProcess server(dir.path());
    QVERIFY(server.start(QStringLiteral("normal")));
    TagStore store(dir.filePath(QStringLiteral("Pinboard.dt1")));
    EnvRecord env;
    env.setText(Env::SmtpServer, QStringLiteral("127.0.0.1"));
    env.setLong(Env::SmtpPort, server.port);
    env.setText(Env::SmtpFrom, QStringLiteral("pin@example.com"));
    QVERIFY(store.writeEnv(env));
    TagRecord tag;
    tag.setMessage(QStringLiteral("メールで届く付箋"));
    tag.setByte(Tag::MailFlag, 1);
    QVERIFY(store.addTag(tag));
    QVERIFY(MailSettingsFile(dir.filePath(QStringLiteral("Pinboard.dt4")))
                .write(1, {QStringLiteral("件名"), {QStringLiteral("a@example.com")}, {}, {}}));

    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    // The session starts from the event loop, so the spy is in time.
    QSignalSpy sent(&main.mail()->sender(), &MailSender::sent);
    QVERIFY(main.display()->shownTags().isEmpty()); // mailed, not shown
    QTRY_COMPARE_WITH_TIMEOUT(sent.size(), 1, 15000);
    QVERIFY(sent.first().at(0).toBool());
    QVERIFY(server.commands().contains(QStringLiteral("RCPT TO:<a@example.com>")));
    QVERIFY(server.message(1).contains("Subject: "));
    QVERIFY(prompt.shown.isEmpty());
}

void TestTagMain::contentMailKeepsTheChoiceUntilSent()
{
    QTemporaryDir dir, refusingDir, normalDir;
    ServerProcess refusing(refusingDir.path()), normal(normalDir.path());
    QVERIFY(refusing.start(QStringLiteral("reject-RCPT")) &&
            normal.start(QStringLiteral("normal")));
    const FileSet files = FileSet::forDirectory(dir.path());
    TagStore store(files.dt1);
    EnvRecord env;
    env.setText(Env::SmtpServer, QStringLiteral("127.0.0.1"));
    env.setLong(Env::SmtpPort, refusing.port);
    env.setLong(Env::SmtpTimeStep, 0);
    QVERIFY(store.writeEnv(env));
    TagRecord tag;
    tag.setMessage(QStringLiteral("本文"));
    QVERIFY(store.addTag(tag));

    ScriptedPrompt prompt;
    Settings settings(store);
    settings.load();
    MailDesk desk(files, store, settings, prompt, m_clock);
    QSignalSpy sent(&desk.sender(), &MailSender::sent);
    QSignalSpy notice(&desk, &MailDesk::notice);
    const TagMailSettings chosen{QStringLiteral("至急"), {QStringLiteral("a@example.com")}, {}, {}};
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

void TestTagMain::tagListFollowsTheScheduler()
{
    QTemporaryDir dir;
    TagStore store(dir.filePath(QStringLiteral("Pinboard.dt1")));
    QVERIFY(store.writeEnv(EnvRecord()));
    TagRecord tag; // up now, erased half a minute from now
    tag.setMessage(QStringLiteral("朝会"));
    tag.setByte(Tag::ScheduleKind, 1);
    tag.setDate(Tag::DisplayDateTime, QDateTime(QDate(2024, 5, 1), QTime(9, 0), QTimeZone::utc()));
    tag.setDate(Tag::EraseDateTime,
                QDateTime(QDate(2024, 5, 1), QTime(10, 0, 30), QTimeZone::utc()));
    QVERIFY(store.addTag(tag));
    ManualClock clock(m_clock.now());
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, clock);
    QVERIFY(main.start());
    QCOMPARE(main.display()->shownTags(), QList<int>{1});
    main.editors()->showTagList();
    TagList *list = main.editors()->tagList();
    QVERIFY(list->selectTag(1));
    const QString shown = list->infoLabel()->text();
    clock.advance(60);
    main.scheduler()->SchedulerTick();
    QVERIFY(main.display()->shownTags().isEmpty());
    QCOMPARE(list->infoLabel()->text(), TagListModel::describeLive(*store.readTag(1), false));
    QVERIFY(list->infoLabel()->text() != shown);
}

void TestTagMain::trayRetries_data()
{
    QTest::addColumn<int>("succeedOnTry"); // 0: never
    QTest::addColumn<QList<bool>>("answers");
    QTest::addColumn<int>("questions");
    QTest::addColumn<bool>("attached");
    QTest::addColumn<bool>("givenUp");
    QTest::newRow("at once") << 1 << QList<bool>{} << 0 << true << false;
    QTest::newRow("on the 30th retry") << 31 << QList<bool>{} << 0 << true << false;
    QTest::newRow("no after 30") << 0 << QList<bool>{false} << 1 << false << true;
    QTest::newRow("yes, then found") << 40 << QList<bool>{true} << 1 << true << false;
    QTest::newRow("yes twice, then no")
        << 0 << QList<bool>{true, true, false} << 3 << false << true;
}

void TestTagMain::trayRetries()
{
    QFETCH(int, succeedOnTry);
    QFETCH(QList<bool>, answers);
    QFETCH(int, questions);
    QFETCH(bool, attached);
    QFETCH(bool, givenUp);
    ScriptedPrompt prompt;
    prompt.answers = answers;
    int tries = 0;
    TrayAttach tray([&] { return ++tries == succeedOnTry; }, prompt);
    tray.setIntervalMs(1);
    QSignalSpy attachedSpy(&tray, &TrayAttach::attached);
    QSignalSpy givenUpSpy(&tray, &TrayAttach::givenUp);
    tray.start();
    QTRY_VERIFY(!attachedSpy.isEmpty() || !givenUpSpy.isEmpty());
    QCOMPARE(attachedSpy.count(), attached ? 1 : 0);
    QCOMPARE(givenUpSpy.count(), givenUp ? 1 : 0);
    QCOMPARE(prompt.shown.size(), questions);
    for (const QString &text : prompt.shown)
        QCOMPARE(text, QStringLiteral("タスクトレイのアイコン表示に失敗しました。\r\n再実行しますか"
                                      "？　いいえを選択した場合はプログラムを終了します。"));
    for (const QString &title : prompt.titles)
        QCOMPARE(title, QStringLiteral("実行確認"));
    // Each question comes after the first try and 30 more.
    if (givenUp)
        QCOMPARE(tries, 1 + 30 * questions);
    QVERIFY(!tray.isRetrying());
}

QTEST_MAIN(TestTagMain)
#include "tst_tagmain.moc"
