#include "desktopdisplay.h"
#include "editorhost.h"
#include "maildesk.h"
#include "mailsettingsfile.h"
#include "mainmenu.h"
#include "manualclock.h"
#include "messageboxprompt.h"
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

#include <QLabel>
#include <QListWidget>
#include <QMenu>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>
#include <QTimer>
#include <ctime>

using namespace Qt::StringLiterals;
using Action = TrayMessages::Action;
Q_DECLARE_METATYPE(TrayMessages::Action)

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
    void lifeCycle();
    void startUpRefused_data();
    void startUpRefused();
    void clockChangeBringsTheTickForward();
    void dueTagsAndTheirWindows();
    void mainMenu();
    void dueMailTagGoesOutAtStartUp();
    void contentMailKeepsTheChoiceUntilSent();
    void trayRetries_data();
    void trayRetries();
    void trayMessages_data();
    void trayMessages();
    void trayTipsRotate();
    void questionDefaults();

private:
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59))};
};

// Start on an empty folder, refuse a second copy, shut down, start again.
void TestTagMain::lifeCycle()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt, secondPrompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    QVERIFY(main.firstRun());
    QCOMPARE(fileBytes(main.files().dt1), EnvRecord().bytes());
    QCOMPARE(main.schedulerTimer().intervalMs(), 3600000);
    QVERIFY(main.schedulerTimer().isActive());
    QSignalSpy quit(&main, &TagMain::quitRequested);
    main.trayMenu()->actions().last()->trigger(); // 終了
    QCOMPARE(quit.count(), 1);

    TagMain second(dir.path(), secondPrompt, m_clock);
    QVERIFY(!second.start());
    QCOMPARE(secondPrompt.shown, QStringList{u"既に起動されています。"_s});
    QVERIFY(main.isRunning() && !second.isRunning());
    QVERIFY(!SingleInstance(dir.path()).tryAcquire());
    QVERIFY(prompt.shown.isEmpty());

    main.shutdown();
    QVERIFY(!main.isRunning());
    QVERIFY(!main.schedulerTimer().isActive());
    QVERIFY(main.trayIcon() == nullptr);
    QVERIFY(!QFile::exists(dir.filePath(QString::fromLatin1(SingleInstance::LockName))));
    main.shutdown(); // twice is harmless
    EnvRecord env;
    env.setText(Env::UserName, u"鈴木"_s);
    QVERIFY(main.store().writeEnv(env));
    TagMain next(dir.path(), prompt, m_clock);
    QVERIFY(next.start());
    QVERIFY(!next.firstRun());
    QCOMPARE(next.env().userName(), u"鈴木"_s);
}

void TestTagMain::startUpRefused_data()
{
    QTest::addColumn<QByteArray>("content"); // null: the folder cannot be made
    QTest::addColumn<QString>("text");
    const QString corrupt = u"環境定義ファイルの内容が壊れています。\r\nPinboard.exeがあるﾃﾞｨﾚｸﾄﾘ "
                            u"のPinboard.dt1,Pinboard.dt2を削除して再実行して下さい。"_s;
    EnvRecord badNumber, oneTag;
    badNumber.setText(Env::NextTagNumber, u"abcde"_s);
    QTest::newRow("next tag number not digits") << badNumber.bytes() << corrupt;
    QTest::newRow("record 1 cut short") << EnvRecord().bytes().first(2050) << corrupt;
    QTest::newRow("record 1 missing") << QByteArray(100, 'z') << corrupt;
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

void TestTagMain::dueTagsAndTheirWindows()
{
    QTemporaryDir dir;
    TagRecord now, later, trashed, meeting;
    now.setMessage(u"今すぐ"_s);
    later.setByte(Tag::ScheduleKind, 1);
    later.setDate(Tag::DisplayDateTime, utc(2024, 5, 2, 9));
    trashed.setStateMark(TagRecord::InTrash);
    meeting.setByte(Tag::ScheduleKind, 1); // up now, erased half a minute from now
    meeting.setDate(Tag::DisplayDateTime, utc(2024, 5, 1, 9));
    meeting.setDate(Tag::EraseDateTime, utc(2024, 5, 1, 10, 0, 30));
    seed(dir.path(), EnvRecord(), {now, later, trashed, meeting});
    ManualClock clock(m_clock.now());
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, clock);
    QVERIFY(main.start());
    QCOMPARE(main.display()->shownTags(), (QList<int>{1, 4}));
    QCOMPARE(main.display()->window(1)->text(), u"今すぐ"_s);
    QCOMPARE(main.scheduler()->state(2), int(Scheduler::Waiting));

    // The list open on a tag follows the scheduler taking it down.
    main.editors()->showTagList();
    TagList *list = main.editors()->tagList();
    QVERIFY(list->selectTag(4));
    const QString shown = list->infoLabel()->text();
    clock.advance(60);
    main.scheduler()->SchedulerTick();
    QCOMPARE(main.display()->shownTags(), QList<int>{1});
    QCOMPARE(list->infoLabel()->text(),
             TagListModel::describeLive(*main.store().readTag(4), false));
    QVERIFY(list->infoLabel()->text() != shown);

    // A tag from another computer with no arrival sound chosen: a beep and the blink,
    // which a click on the tray icon ends.
    int beeps = 0;
    main.display()->sound().setBeeper([&] { ++beeps; });
    main.display()->PlayArrivalSound();
    QCOMPARE(beeps, 1);
    QVERIFY(main.display()->isBlinking());
    main.trayMessage(TrayMessages::LeftUp, false);
    QVERIFY(!main.display()->isBlinking());
    QVERIFY(prompt.shown.isEmpty());
}

void TestTagMain::mainMenu()
{
    QTemporaryDir dir;
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    auto act = [&](const char *name) { return main.mainMenu()->action(QString::fromLatin1(name)); };
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

    for (const QString &caption : {u"再開"_s, u"一時停止"_s}) {
        act("mnuStop")->trigger();
        QCOMPARE(act("mnuStop")->text(), caption);
        QCOMPARE(main.trayIcon()->toolTip(),
                 caption == u"再開"_s ? u"Pin Board Stoped"_s : TagMain::trayTip());
    }
    for (const QString &caption : {u"通信ﾛｸﾞ記録終了"_s, u"通信ﾛｸﾞ記録開始"_s}) {
        act("mnu_LogStart")->trigger();
        QCOMPARE(act("mnu_LogStart")->text(), caption);
        const bool on = caption == u"通信ﾛｸﾞ記録終了"_s;
        QCOMPARE(main.store().readEnv()->byte(Env::LogEnabled), on ? 1 : 0);
        QCOMPARE(main.mail()->log().isEnabled(), on);
    }

    // A new tag written in the editor goes on the desktop at once; a second editor is refused.
    act("mnu_NewTag")->trigger();
    TagEntry *editor = main.editors()->editor();
    QVERIFY(editor);
    act("mnu_NewTag")->trigger();
    QCOMPARE(prompt.shown, QStringList{EditorHost::editorOpenText()});
    QCOMPARE(main.editors()->editor(), editor);
    editor->findChild<QPlainTextEdit *>(u"txt_Message"_s)->setPlainText(u"新しい付箋"_s);
    editor->findChild<QPushButton *>(u"Command1"_s)->click();
    QTRY_VERIFY(!main.editors()->editor());
    QCOMPARE(main.store().readTag(1)->message(), u"新しい付箋"_s);
    QCOMPARE(main.display()->shownTags(), QList<int>{1});

    // The tag's own menu puts it into the trash; both lists follow, and back it comes.
    act("mnuList")->trigger();
    act("mnu_TrashDisp")->trigger();
    QListWidget *live = main.editors()->tagList()->list();
    QListWidget *trash = main.editors()->trashList()->list();
    QCOMPARE(live->count(), 1);
    main.tagMenu()->prepare(1, false);
    main.tagMenu()->entryAction(TagPopupMenu::Delete)->trigger();
    QCOMPARE(main.store().readTag(1)->stateMark(), u"D"_s);
    QCOMPARE(live->count(), 0);
    QCOMPARE(trash->count(), 1);
    QVERIFY(main.display()->shownTags().isEmpty());
    main.editors()->trashList()->selectTag(1);
    main.editors()->trashList()->restoreSelected();
    QCOMPARE(main.display()->shownTags(), QList<int>{1});
    QCOMPARE(live->count(), 1);
}

void TestTagMain::dueMailTagGoesOutAtStartUp()
{
    QTemporaryDir dir;
    ServerProcess server(dir.path());
    QVERIFY(server.start(u"normal"_s));
    TagRecord tag;
    tag.setMessage(u"メールで届く付箋"_s);
    tag.setByte(Tag::MailFlag, 1);
    seed(dir.path(), smtpTo(server.port), {tag});
    QVERIFY(MailSettingsFile(FileSet::forDirectory(dir.path()).dt4)
                .write(1, {u"件名"_s, {u"a@example.com"_s}, {}, {}}));
    ScriptedPrompt prompt;
    TagMain main(dir.path(), prompt, m_clock);
    QVERIFY(main.start());
    // The session starts from the event loop, so the spy is in time.
    QSignalSpy sent(&main.mail()->sender(), &MailSender::sent);
    QVERIFY(main.display()->shownTags().isEmpty()); // mailed, not shown
    QTRY_COMPARE_WITH_TIMEOUT(sent.size(), 1, 15000);
    QVERIFY(sent.first().at(0).toBool());
    QVERIFY(server.commands().contains(u"RCPT TO:<a@example.com>"_s));
    QVERIFY(server.message(1).contains("Subject: "));
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
    QTest::newRow("at once") << 1 << QList<bool>{};
    QTest::newRow("on the 30th retry") << 31 << QList<bool>{};
    QTest::newRow("no after 30") << 0 << QList<bool>{false};
    QTest::newRow("yes, then found") << 40 << QList<bool>{true};
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

void TestTagMain::trayMessages_data()
{
    QTest::addColumn<int>("message");
    QTest::addColumn<bool>("shift");
    QTest::addColumn<Action>("action");
    QTest::newRow("move") << 0x200 << false << Action::ShowTip;
    QTest::newRow("left down") << 0x201 << false << Action::None;
    QTest::newRow("left up") << 0x202 << false << Action::RaiseTags;
    QTest::newRow("shift left up") << 0x202 << true << Action::ScreenCopy;
    QTest::newRow("double-click") << 0x203 << false << Action::NewTag;
    QTest::newRow("right down") << 0x204 << false << Action::OpenMenu;
    QTest::newRow("right up is ignored") << 0x205 << false << Action::None;
    QTest::newRow("below the range") << 0x1FF << false << Action::None;
}

void TestTagMain::trayMessages()
{
    QFETCH(int, message);
    QFETCH(bool, shift);
    QFETCH(Action, action);
    TrayMessages tray;
    QCOMPARE(tray.decode(message, shift), action);
    if (action != Action::ShowTip)
        QCOMPARE(tray.tooltipIndex(), 0);
}

void TestTagMain::trayTipsRotate()
{
    const QStringList lines{u"ﾀﾞﾌﾞﾙｸﾘｯｸで付箋作成"_s, u"右ｸﾘｯｸで設定ﾒﾆｭｰ表示"_s,
                            u"左ｸﾘｯｸで付箋を前面に表示"_s}; // no screen copy to advertise
    TrayMessages tray;
    for (int i = 0; i < 6; ++i) {
        tray.decode(TrayMessages::MouseMove, false);
        QCOMPARE(tray.currentTip(), u"DeskTop Pin Board\r\n"_s + lines[i % 3]);
        tray.decode(TrayMessages::LeftUp, false); // clicks do not move the rotation
    }
}

// Enter on a message box takes its default button: No when Yes would lose something.
void TestTagMain::questionDefaults()
{
    for (const bool destructive : {false, true}) {
        MessageBoxPrompt prompt;
        bool answered = false;
        QTimer::singleShot(0, this, [&] {
            auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
            QVERIFY(box);
            QTest::keyClick(box, Qt::Key_Return);
            answered = true;
        });
        const QString text = u"削除します。よろしいですか？"_s;
        QCOMPARE(destructive ? prompt.askDestructive(text) : prompt.ask(text), !destructive);
        QVERIFY(answered);
    }
}

QTEST_MAIN(TestTagMain)
#include "tst_tagmain.moc"
