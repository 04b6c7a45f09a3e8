#include "clock.h"
#include "fileset.h"
#include "hotkeys.h"
#include "mainmenu.h"
#include "manualclock.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "shortcuts.h"
#include "sysdesk.h"
#include "tagmain.h"
#include "tagstore.h"
#include "version.h"

#include <QApplication>
#include <QDialog>
#include <QTimer>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

namespace {
QString readAll(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? QString::fromUtf8(f.readAll()) : QString();
}

// The Exec line as a desktop reads it: the key's escapes, then the quoting.
QStringList execArgs(const QString &entry)
{
    QString exec;
    for (const QString &line : entry.split(u'\n'))
        if (line.startsWith(QStringLiteral("Exec=")))
            exec = line.mid(5);
    QString unescaped;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        if (exec[i] == u'\\' && i + 1 < exec.size())
            ++i;
        unescaped += exec[i];
    }
    QStringList args;
    QString cur;
    bool quoted = false, any = false;
    for (qsizetype i = 0; i < unescaped.size(); ++i) {
        const QChar c = unescaped[i];
        if (quoted && c == u'\\' && i + 1 < unescaped.size()) {
            cur += unescaped[++i];
        } else if (c == u'"') {
            quoted = !quoted;
            any = true;
        } else if (c == u' ' && !quoted) {
            if (any || !cur.isEmpty())
                args << cur;
            cur.clear();
            any = false;
        } else {
            cur += c;
        }
    }
    if (any || !cur.isEmpty())
        args << cur;
    for (QString &a : args)
        a.replace(QStringLiteral("%%"), QStringLiteral("%"));
    return args;
}
} // namespace

class TestShortcuts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void foldersFollowXdg();
    void toggle_data();
    void toggle();
    void failureIsReported();
    void execKeepsEveryArgument_data();
    void execKeepsEveryArgument();
    void startUpShowsExistingShortcuts();
    void uninstallKeepsDataWhenAskedTo();
    void uninstallDeletesData();
    void firstRunAsksOnce_data();
    void firstRunAsksOnce();
    void buildDate_data();
    void buildDate();

private:
    QTemporaryDir m_home;
    QString m_desktop;
};

void TestShortcuts::initTestCase()
{
    QVERIFY(m_home.isValid());
    const QString config = m_home.filePath(QStringLiteral("config"));
    QVERIFY(QDir().mkpath(config));
    qputenv("HOME", m_home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", config.toUtf8());
    qputenv("XDG_DATA_HOME", m_home.filePath(QStringLiteral("data")).toUtf8());
    // A desktop under another name, as a Japanese or German user-dirs.dirs gives.
    QFile dirs(config + QStringLiteral("/user-dirs.dirs"));
    QVERIFY(dirs.open(QIODevice::WriteOnly));
    dirs.write("XDG_DESKTOP_DIR=\"$HOME/デスクトップ\"\n");
    dirs.close();
    m_desktop = m_home.filePath(QStringLiteral("デスクトップ"));
    QVERIFY(QDir().mkpath(m_desktop));
}

void TestShortcuts::foldersFollowXdg()
{
    const Shortcuts::Folders f = Shortcuts::userFolders();
    QCOMPARE(f.autostart, m_home.filePath(QStringLiteral("config/autostart")));
    QCOMPARE(f.applications, m_home.filePath(QStringLiteral("data/applications")));
    QCOMPARE(f.desktop, m_desktop);
}

void TestShortcuts::toggle_data()
{
    QTest::addColumn<int>("place");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QString>("removeCaption");
    QTest::addColumn<QString>("addCaption");
    QTest::addColumn<QString>("added");
    QTest::addColumn<QString>("removed");
    QTest::newRow("startup") << int(Shortcuts::StartUp)
                             << QStringLiteral("config/autostart/pinboard.desktop")
                             << QStringLiteral("ｽﾀｰﾄｱｯﾌﾟから削除")
                             << QStringLiteral("ｽﾀｰﾄｱｯﾌﾟに登録")
                             << QStringLiteral(
                                    "スタートアップに、Pinboardのショートカットを登録しました。")
                             << QStringLiteral("スタートアップから削除しました。");
    QTest::newRow("programs")
        << int(Shortcuts::Programs) << QStringLiteral("data/applications/pinboard.desktop")
        << QStringLiteral("ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰから削除") << QStringLiteral("ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰに登録")
        << QStringLiteral("プログラムメニューに、Pinboardのショートカットを登録しました。")
        << QStringLiteral("プログラムメニューからショートカットを削除しました。");
    QTest::newRow("desktop") << int(Shortcuts::Desktop)
                             << QStringLiteral("デスクトップ/pinboard.desktop")
                             << QStringLiteral("ﾃﾞｨｽｸﾄｯﾌﾟから削除")
                             << QStringLiteral("ﾃﾞｨｽｸﾄｯﾌﾟに登録")
                             << QStringLiteral(
                                    "ディスクトップに、Pinboardのショートカットを登録しました。")
                             << QStringLiteral("ディスクトップからショートカットを削除しました。");
}

void TestShortcuts::toggle()
{
    QFETCH(int, place);
    QFETCH(QString, file);
    QFETCH(QString, removeCaption);
    QFETCH(QString, addCaption);
    QFETCH(QString, added);
    QFETCH(QString, removed);
    const auto p = Shortcuts::Place(place);
    Shortcuts s(Shortcuts::userFolders(), {QStringLiteral("/opt/pin board/pinboard")});
    ScriptedPrompt prompt;
    const QString path = m_home.filePath(file);
    QVERIFY(!QFile::exists(path));
    QCOMPARE(s.caption(p), addCaption);
    s.toggle(p, prompt);
    QVERIFY(QFile::exists(path));
    QCOMPARE(s.caption(p), removeCaption);
    const QString entry = readAll(path);
    QVERIFY(entry.startsWith(QStringLiteral("[Desktop Entry]\n")));
    QCOMPARE(execArgs(entry), QStringList{QStringLiteral("/opt/pin board/pinboard")});
    QCOMPARE(entry.contains(QStringLiteral("X-GNOME-Autostart-enabled=true")),
             p == Shortcuts::StartUp);
    // A launcher on the desktop must be executable to start.
    QCOMPARE(bool(QFileInfo(path).permissions() & QFile::ExeOwner), p == Shortcuts::Desktop);
    s.toggle(p, prompt);
    QVERIFY(!QFile::exists(path));
    QCOMPARE(s.caption(p), addCaption);
    QCOMPARE(prompt.shown, (QStringList{added, removed}));
}

void TestShortcuts::failureIsReported()
{
    QTemporaryDir other;
    // The folder cannot be made: a file holds its name.
    QFile blocker(other.filePath(QStringLiteral("autostart")));
    QVERIFY(blocker.open(QIODevice::WriteOnly));
    blocker.close();
    Shortcuts s({blocker.fileName(), other.filePath(QStringLiteral("apps")), other.path()},
                {QStringLiteral("pinboard")});
    ScriptedPrompt prompt;
    s.toggle(Shortcuts::StartUp, prompt);
    QCOMPARE(prompt.shown, QStringList{QStringLiteral("スタートアップの登録に失敗しました。")});
    QCOMPARE(s.caption(Shortcuts::StartUp), QStringLiteral("ｽﾀｰﾄｱｯﾌﾟに登録"));
}

void TestShortcuts::execKeepsEveryArgument_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::newRow("plain") << QStringList{QStringLiteral("/usr/bin/pinboard")};
    QTest::newRow("blank and data")
        << QStringList{QStringLiteral("/home/a b/pinboard"), QStringLiteral("--data"),
                       QStringLiteral("/home/a b/付箋")};
    QTest::newRow("shell characters") << QStringList{
        QStringLiteral("/x/pin$board"), QStringLiteral("--data"), QStringLiteral("/d/\"q\"`b`\\c")};
    QTest::newRow("percent") << QStringList{QStringLiteral("/x/100%/pinboard")};
}

void TestShortcuts::execKeepsEveryArgument()
{
    QFETCH(QStringList, command);
    const Shortcuts s(Shortcuts::userFolders(), command);
    QCOMPARE(execArgs(QString::fromUtf8(s.desktopEntry(Shortcuts::Programs))), command);
}

void TestShortcuts::startUpShowsExistingShortcuts()
{
    const QString autostart = m_home.filePath(QStringLiteral("config/autostart"));
    QVERIFY(QDir().mkpath(autostart));
    QFile f(autostart + QStringLiteral("/pinboard.desktop"));
    QVERIFY(f.open(QIODevice::WriteOnly));
    f.close();
    QTemporaryDir data;
    ScriptedPrompt prompt;
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(9, 0)));
    TagMain main(data.path(), prompt, clock);
    QVERIFY(main.start());
    QCOMPARE(main.mainMenu()->action(QStringLiteral("mnu_StartUp"))->text(),
             QStringLiteral("ｽﾀｰﾄｱｯﾌﾟから削除"));
    QCOMPARE(main.mainMenu()->action(QStringLiteral("mnu_Program"))->text(),
             QStringLiteral("ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰに登録"));
    // Chosen from the menu, the entry removes it.
    main.mainMenu()->action(QStringLiteral("mnu_StartUp"))->trigger();
    QVERIFY(!f.exists());
}

void TestShortcuts::uninstallKeepsDataWhenAskedTo()
{
    QTemporaryDir data;
    ScriptedPrompt prompt;
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(9, 0)));
    TagMain main(data.path(), prompt, clock);
    QVERIFY(main.start());
    Shortcuts s(Shortcuts::userFolders(), {QStringLiteral("pinboard")});
    for (auto p : {Shortcuts::StartUp, Shortcuts::Programs, Shortcuts::Desktop})
        QVERIFY(s.create(p));
    QVERIFY(main.settings()
                .change([](EnvRecord &e) { e.setText(Env::HotkeyEnabled, QStringLiteral("1"), 0); })
                .isEmpty());
    QSignalSpy quit(&main, &TagMain::quitRequested);
    prompt.answers = {true, false}; // prepare: yes; delete the data: no
    main.mainMenu()->action(QStringLiteral("mnu_UnInstall"))->trigger();
    QCOMPARE(prompt.shown.size(), 2);
    QCOMPARE(prompt.shown[0], SysDesk::uninstallQuestion());
    QVERIFY(prompt.shown[1].contains(QDir::toNativeSeparators(data.path())));
    for (auto p : {Shortcuts::StartUp, Shortcuts::Programs, Shortcuts::Desktop})
        QVERIFY(!s.exists(p));
    QVERIFY(!main.env().hotkeyEnabled(1));
    QCOMPARE(quit.count(), 0);
    main.shutdown();
    QVERIFY(QFile::exists(main.files().dt1));
}

void TestShortcuts::uninstallDeletesData()
{
    QTemporaryDir data;
    QFile other(data.filePath(QStringLiteral("mine.txt"))); // not ours: stays
    QVERIFY(other.open(QIODevice::WriteOnly));
    other.close();
    ScriptedPrompt prompt;
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(9, 0)));
    TagMain main(data.path(), prompt, clock);
    QVERIFY(main.start());
    QSignalSpy quit(&main, &TagMain::quitRequested);
    prompt.answers = {true, true};
    main.mainMenu()->action(QStringLiteral("mnu_UnInstall"))->trigger();
    QCOMPARE(quit.count(), 1);
    QVERIFY(QFile::exists(main.files().dt1)); // not while the program still runs on it
    main.shutdown();
    QCOMPARE(prompt.shown.size(), 3);
    QCOMPARE(prompt.shown[2], SysDesk::dataDeletedText(data.path()));
    QCOMPARE(QDir(data.path()).entryList(QDir::Files | QDir::Hidden),
             QStringList{QStringLiteral("mine.txt")});
}

void TestShortcuts::firstRunAsksOnce_data()
{
    QTest::addColumn<QList<bool>>("answers");
    QTest::addColumn<int>("hotkeyForms");
    QTest::newRow("all no") << QList<bool>{false, false, false} << 0;
    QTest::newRow("hotkeys yes") << QList<bool>{false, false, true} << 1;
}

void TestShortcuts::firstRunAsksOnce()
{
    QFETCH(QList<bool>, answers);
    QFETCH(int, hotkeyForms);
    QTemporaryDir data;
    ScriptedPrompt prompt;
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(9, 0)));
    int forms = 0;
    {
        TagMain main(data.path(), prompt, clock);
        QVERIFY(main.start());
        prompt.answers = answers;
        // The hotkey form is modal: the user closes it without registering.
        QTimer closer;
        connect(&closer, &QTimer::timeout, this, [&] {
            if (auto *form = qobject_cast<QDialog *>(QApplication::activeModalWidget())) {
                forms += form->objectName() == u"HotKey";
                form->reject();
            }
        });
        closer.start(10);
        main.firstRunSetUp();
        QCOMPARE(forms, hotkeyForms);
        QStringList expected{SysDesk::firstRunNetworkText(), SysDesk::firstRunMailText(),
                             SysDesk::firstRunHotkeyText()};
        if (hotkeyForms)
            expected << QStringLiteral(
                "ｼｮｰﾄｶｯﾄｷｰの設定が中断されました。\r\nｼｮｰﾄｶｯﾄｷｰを無効にします。");
        QCOMPARE(prompt.shown, expected);
    }
    // The next start is no first run: nothing asked.
    ScriptedPrompt next;
    TagMain main(data.path(), next, clock);
    QVERIFY(main.start());
    main.firstRunSetUp();
    QVERIFY(next.shown.isEmpty());
}

void TestShortcuts::buildDate_data()
{
    QTest::addColumn<QByteArray>("compiler");
    QTest::addColumn<QString>("date");
    QTest::newRow("one-digit day") << QByteArray("Nov  4 2026") << QStringLiteral("2026/11/04");
    QTest::newRow("two-digit day") << QByteArray("Jan 31 2025") << QStringLiteral("2025/01/31");
    QTest::newRow("unreadable kept") << QByteArray("??? ?? ????") << QStringLiteral("??? ?? ????");
}

void TestShortcuts::buildDate()
{
    QFETCH(QByteArray, compiler);
    QFETCH(QString, date);
    QCOMPARE(Version::buildDate(compiler.constData()), date);
}

QTEST_MAIN(TestShortcuts)
#include "tst_shortcuts.moc"
