#include "mainmenu.h"
#include "manualclock.h"
#include "scriptedprompt.h"
#include "shortcuts.h"
#include "sysdesk.h"
#include "tagmain.h"
#include "testfiles.h"
#include "version.h"

#include <QApplication>
#include <QDialog>
#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>

using namespace Qt::StringLiterals;

namespace {
// The Exec line as a desktop reads it: the key's escapes, then the quoting.
QStringList execArgs(const QString &entry)
{
    QString exec, unescaped, cur;
    for (const QString &line : entry.split(u'\n'))
        if (line.startsWith(u"Exec="_s))
            exec = line.mid(5);
    for (qsizetype i = 0; i < exec.size(); ++i)
        unescaped += exec[exec[i] == u'\\' && i + 1 < exec.size() ? ++i : i];
    QStringList args;
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
    // "%%" is a percent sign; any other % starts a field code the desktop expands.
    for (QString &a : args)
        a = QString(a).remove(u"%%"_s).contains(u'%') ? u"<field code>"_s
                                                      : a.replace(u"%%"_s, u"%"_s);
    return args;
}
} // namespace

class TestShortcuts : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase();
    void toggle_data();
    void toggle();
    void failureIsReported();
    void execKeepsEveryArgument_data();
    void execKeepsEveryArgument();
    void startUpShowsExistingShortcuts();
    void uninstall_data();
    void uninstall();
    void firstRunAsksOnce_data();
    void firstRunAsksOnce();
    void buildDate();

private:
    QTemporaryDir m_home;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 0))};
};

void TestShortcuts::initTestCase()
{
    const QString config = m_home.filePath(u"config"_s);
    QVERIFY(QDir().mkpath(config) && QDir().mkpath(m_home.filePath(u"デスクトップ"_s)));
    qputenv("HOME", m_home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", config.toUtf8());
    qputenv("XDG_DATA_HOME", m_home.filePath(u"data"_s).toUtf8());
    // A desktop under another name, as a Japanese or German user-dirs.dirs gives.
    QVERIFY(writeFile(config + u"/user-dirs.dirs"_s, "XDG_DESKTOP_DIR=\"$HOME/デスクトップ\"\n"));
}

void TestShortcuts::toggle_data()
{
    QTest::addColumn<int>("place");
    QTest::addColumn<QString>("file");
    QTest::addColumn<QStringList>("captions"); // to add, to remove
    QTest::addColumn<QStringList>("texts");    // added, removed
    QTest::newRow("startup") << int(Shortcuts::StartUp) << u"config/autostart/pinboard.desktop"_s
                             << QStringList{u"ｽﾀｰﾄｱｯﾌﾟに登録"_s, u"ｽﾀｰﾄｱｯﾌﾟから削除"_s}
                             << QStringList{
                                    u"スタートアップに、Pinboardのショートカットを登録しました。"_s,
                                    u"スタートアップから削除しました。"_s};
    QTest::newRow("programs")
        << int(Shortcuts::Programs) << u"data/applications/pinboard.desktop"_s
        << QStringList{u"ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰに登録"_s, u"ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰから削除"_s}
        << QStringList{u"プログラムメニューに、Pinboardのショートカットを登録しました。"_s,
                       u"プログラムメニューからショートカットを削除しました。"_s};
    QTest::newRow("desktop") << int(Shortcuts::Desktop) << u"デスクトップ/pinboard.desktop"_s
                             << QStringList{u"ﾃﾞｨｽｸﾄｯﾌﾟに登録"_s, u"ﾃﾞｨｽｸﾄｯﾌﾟから削除"_s}
                             << QStringList{
                                    u"ディスクトップに、Pinboardのショートカットを登録しました。"_s,
                                    u"ディスクトップからショートカットを削除しました。"_s};
}

void TestShortcuts::toggle()
{
    QFETCH(int, place);
    QFETCH(QString, file);
    QFETCH(QStringList, captions);
    QFETCH(QStringList, texts);
    const auto p = Shortcuts::Place(place);
    Shortcuts s(Shortcuts::userFolders(), {u"/opt/pin board/pinboard"_s});
    ScriptedPrompt prompt;
    const QString path = m_home.filePath(file);
    QCOMPARE(s.caption(p), captions[0]);
    s.toggle(p, prompt);
    QCOMPARE(s.caption(p), captions[1]);
    const QString entry = QString::fromUtf8(fileBytes(path));
    QVERIFY(entry.startsWith(u"[Desktop Entry]\n"_s));
    QCOMPARE(execArgs(entry), QStringList{u"/opt/pin board/pinboard"_s});
    QCOMPARE(entry.contains(u"X-GNOME-Autostart-enabled=true"_s), p == Shortcuts::StartUp);
    // A launcher on the desktop must be executable to start.
    QCOMPARE(bool(QFileInfo(path).permissions() & QFile::ExeOwner), p == Shortcuts::Desktop);
    s.toggle(p, prompt);
    QVERIFY(!QFile::exists(path));
    QCOMPARE(s.caption(p), captions[0]);
    QCOMPARE(prompt.shown, texts);
}

void TestShortcuts::failureIsReported()
{
    QTemporaryDir other;
    // The folder cannot be made: a file holds its name.
    const QString blocker = other.filePath(u"autostart"_s);
    QVERIFY(writeFile(blocker, {}));
    Shortcuts s({blocker, other.filePath(u"apps"_s), other.path()}, {u"pinboard"_s});
    ScriptedPrompt prompt;
    s.toggle(Shortcuts::StartUp, prompt);
    QCOMPARE(prompt.shown, QStringList{u"スタートアップの登録に失敗しました。"_s});
    QCOMPARE(s.caption(Shortcuts::StartUp), u"ｽﾀｰﾄｱｯﾌﾟに登録"_s);
}

void TestShortcuts::execKeepsEveryArgument_data()
{
    QTest::addColumn<QStringList>("command");
    QTest::newRow("plain") << QStringList{u"/usr/bin/pinboard"_s};
    QTest::newRow("blank and data")
        << QStringList{u"/home/a b/pinboard"_s, u"--data"_s, u"/home/a b/付箋"_s};
    QTest::newRow("shell characters")
        << QStringList{u"/x/pin$board"_s, u"--data"_s, u"/d/\"q\"`b`\\c"_s};
    QTest::newRow("percent") << QStringList{u"/x/100%/pinboard"_s};
}

void TestShortcuts::execKeepsEveryArgument()
{
    QFETCH(QStringList, command);
    const Shortcuts s(Shortcuts::userFolders(), command);
    QCOMPARE(execArgs(QString::fromUtf8(s.desktopEntry(Shortcuts::Programs))), command);
}

void TestShortcuts::startUpShowsExistingShortcuts()
{
    const QString autostart = m_home.filePath(u"config/autostart/pinboard.desktop"_s);
    QVERIFY(QDir().mkpath(QFileInfo(autostart).path()) && writeFile(autostart, {}));
    QTemporaryDir data;
    ScriptedPrompt prompt;
    TagMain main(data.path(), prompt, m_clock);
    QVERIFY(main.start());
    QCOMPARE(main.mainMenu()->action(u"mnu_StartUp"_s)->text(), u"ｽﾀｰﾄｱｯﾌﾟから削除"_s);
    QCOMPARE(main.mainMenu()->action(u"mnu_Program"_s)->text(), u"ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰに登録"_s);
    // Chosen from the menu, the entry removes it.
    main.mainMenu()->action(u"mnu_StartUp"_s)->trigger();
    QVERIFY(!QFile::exists(autostart));
}

void TestShortcuts::uninstall_data()
{
    QTest::addColumn<bool>("deleteData");
    QTest::newRow("data kept") << false;
    QTest::newRow("data deleted") << true;
}

void TestShortcuts::uninstall()
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
    int forms = 0;
    {
        TagMain main(data.path(), prompt, m_clock);
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
            expected << u"ｼｮｰﾄｶｯﾄｷｰの設定が中断されました。\r\nｼｮｰﾄｶｯﾄｷｰを無効にします。"_s;
        QCOMPARE(prompt.shown, expected);
    }
    // The next start is no first run: nothing asked.
    ScriptedPrompt next;
    TagMain main(data.path(), next, m_clock);
    QVERIFY(main.start());
    main.firstRunSetUp();
    QVERIFY(next.shown.isEmpty());
}

void TestShortcuts::buildDate()
{
    QCOMPARE(Version::buildDate("Nov  4 2026"), u"2026/11/04"_s);
    QCOMPARE(Version::buildDate("Jan 31 2025"), u"2025/01/31"_s);
    QCOMPARE(Version::buildDate("??? ?? ????"), u"??? ?? ????"_s); // unreadable: kept
}

QTEST_MAIN(TestShortcuts)
#include "tst_shortcuts.moc"
