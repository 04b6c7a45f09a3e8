// The LAN inside the running program: start-up, the tray entries and exit. The
// stored settings always name 127.0.0.255, and the host is a made-up one on
// 127.0.0.1, so nothing leaves loopback.
#include "chatsession.h"
#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "desktopdisplay.h"
#include "editorhost.h"
#include "fileset.h"
#include "frmnetwork.h"
#include "loopback.h"
#include "mainmenu.h"
#include "manualclock.h"
#include "netdesk.h"
#include "netendpoint.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "tagmain.h"
#include "tagpopupmenu.h"
#include "tagsender.h"
#include "tagstore.h"
#include "tagwindow.h"
#include "tagwire.h"

#include <QApplication>
#include <QCheckBox>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QNetworkDatagram>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTemporaryDir>
#include <QTest>
#include <QTreeWidget>
#include <QUdpSocket>

namespace {
const LocalIdentity Host{QStringLiteral("desk1"), 0x7F000001};

template <typename T> T *topLevel(const char *name)
{
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (w->objectName() == QLatin1String(name) && w->isVisible())
            return qobject_cast<T *>(w);
    }
    return nullptr;
}

bool startOnHost(TagMain &main)
{
    main.setNetIdentity([] { return Host; }, QHostAddress(Host.address));
    return main.start();
}

// What a raw socket heard since the last call, the peers' start requests left out.
QList<QByteArray> drain(QUdpSocket &socket)
{
    QList<QByteArray> got;
    while (socket.hasPendingDatagrams()) {
        const QByteArray bytes = socket.receiveDatagram().data();
        if (!bytes.startsWith('\xFF'))
            got << bytes;
    }
    return got;
}
} // namespace

class TestLanMain : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void unconfiguredRefusesTheLanEntries();
    void changedHostKeepsTheNetworkDown();
    void findsPeersListsThemAndLogsOutAtExit();
    void savingSettingsRestartsWithoutLogout();
    void adapterPages();
    void receivedTagsOnTheDesktop();
    void chatWindows();
    void textAsTag();
    void editorAndTagMenuSend();
    void answersOnTheDesktop();

private:
    void writeSettings(const QString &host, bool log);
    void trigger(TagMain &main, const char *entry);
    NetConfig bobOn127002() const { return loopbackConfig(m_port, 2, QStringLiteral("bob")); }

    QTemporaryDir m_dir;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
    ScriptedPrompt m_prompt;
    quint16 m_port = 0;
};

void TestLanMain::init()
{
    m_port = freeLoopbackPort();
    QVERIFY(m_port);
    m_prompt.shown.clear();
    for (const QString &f : QDir(m_dir.path()).entryList(QDir::Files))
        QFile::remove(m_dir.filePath(f));
}

void TestLanMain::writeSettings(const QString &host, bool log)
{
    const FileSet files = FileSet::forDirectory(m_dir.path());
    QVERIFY(prepareFileSet(files).ok);
    EnvRecord env;
    env.setByte(Env::NetConfigured, 1);
    env.setText(Env::NetHostName, host);
    env.setText(Env::NetLocalIp, QStringLiteral("127.0.0.1"));
    env.setText(Env::UserName, QStringLiteral("山田"));
    env.setPortNo(m_port);
    env.setBroadcastAddress(0, 0x7F0000FF);
    env.setSequential(0, true);
    env.setByte(Env::LogEnabled, log ? 1 : 0);
    QVERIFY(TagStore(files.dt1).writeEnv(env));
}

void TestLanMain::trigger(TagMain &main, const char *entry)
{
    QAction *a = main.mainMenu()->action(QString::fromLatin1(entry));
    QVERIFY(a->isEnabled());
    a->trigger();
}

void TestLanMain::unconfiguredRefusesTheLanEntries()
{
    TagMain main(m_dir.path(), m_prompt, m_clock);
    QVERIFY(startOnHost(main));
    QVERIFY(!main.net()->endpoint().isStarted());
    trigger(main, "mnu_Group");
    trigger(main, "mnu_Retry_Net");
    QCOMPARE(m_prompt.shown, QStringList(2, NetDesk::notConfiguredText()));
    QVERIFY(!main.net()->endpoint().isStarted());
}

void TestLanMain::changedHostKeepsTheNetworkDown()
{
    writeSettings(QStringLiteral("old-desk"), false);
    TagMain main(m_dir.path(), m_prompt, m_clock);
    QVERIFY(startOnHost(main));
    QCOMPARE(m_prompt.shown,
             QStringList(QStringLiteral(
                 "ネットワークの設定が変更された為、ネットワークの設定を今回は確立しません。")));
    QVERIFY(!main.net()->endpoint().isStarted());
    trigger(main, "mnu_Group");
    QCOMPARE(m_prompt.shown.last(), NetDesk::notConfiguredText());
    // The stored settings stay as they were.
    QCOMPARE(main.env().text(Env::NetHostName), QStringLiteral("old-desk"));
}

void TestLanMain::findsPeersListsThemAndLogsOutAtExit()
{
    writeSettings(Host.hostName, true);
    CommLog peerLog({}, m_clock);
    ScriptedPrompt peerPrompt;
    NetEndpoint peer(peerLog, m_clock, peerPrompt);
    const NetConfig c = bobOn127002();
    {
        TagMain main(m_dir.path(), m_prompt, m_clock);
        QVERIFY(startOnHost(main));
        QVERIFY(m_prompt.shown.isEmpty());
        QVERIFY(main.net()->endpoint().isStarted());
        QVERIFY(peer.StartNetwork(c));
        QTRY_COMPARE(main.net()->endpoint().participants().listed().size(), 1);
        QTRY_COMPARE(peer.participants().listed().size(), 1);
        QCOMPARE(peer.participants().at(1).name, QStringLiteral("山田"));
        trigger(main, "mnu_Group");
        auto *list = topLevel<QDialog>("GroupList");
        QVERIFY(list);
        auto *rows = list->findChild<QTreeWidget *>();
        QCOMPARE(rows->topLevelItemCount(), 1);
        QCOMPARE(rows->topLevelItem(0)->text(0), QStringLiteral("bob"));
        QCOMPARE(rows->topLevelItem(0)->text(1), QStringLiteral("127.0.0.2"));
        // bob leaves and the open list follows.
        peer.logoutAndStop();
        QTRY_COMPARE(rows->topLevelItemCount(), 0);
        QVERIFY(peer.StartNetwork(c));
        QTRY_COMPARE(rows->topLevelItemCount(), 1);
        QTRY_COMPARE(peer.participants().listed().size(), 1);
        // The log switch reaches the LAN log too.
        trigger(main, "mnu_LogStart");
        QVERIFY(!main.net()->log().isEnabled());
        trigger(main, "mnu_LogStart");
        QVERIFY(main.net()->log().isEnabled());
    }
    // Exit: bob hears the logout.
    QTRY_COMPARE(peer.participants().listed().size(), 0);
    QFile log(m_dir.filePath(QStringLiteral("Pinboard.log")));
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QStringList lines =
        Cp932::decode(log.readAll()).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    QCOMPARE(lines.mid(lines.size() - 2),
             QStringList({QStringLiteral("2024/05/01 10:00:00 127.0.0.1      ～127.0.0.254     "
                                         "Send-[User Logout(End Prg)] "),
                          QStringLiteral("2024/05/01 10:00:00 Send Status:1")}));
    QVERIFY(lines.contains(
        QStringLiteral("2024/05/01 10:00:00 127.0.0.2       Recv-[User Logout(End Prg)] :")));
}

void TestLanMain::savingSettingsRestartsWithoutLogout()
{
    TagMain main(m_dir.path(), m_prompt, m_clock);
    QVERIFY(startOnHost(main));
    CommLog peerLog({}, m_clock);
    ScriptedPrompt peerPrompt;
    NetEndpoint peer(peerLog, m_clock, peerPrompt);
    const NetConfig c = bobOn127002();
    QVERIFY(peer.StartNetwork(c));

    trigger(main, "mnu_NetSet");
    auto *setup = topLevel<QDialog>("NetSetup");
    QVERIFY(setup);
    auto edit = [&](const QString &name) { return setup->findChild<QLineEdit *>(name); };
    // Opened on a fresh record: the default port and this host's network.
    QCOMPARE(edit(QStringLiteral("txt_PortNo"))->text(), QStringLiteral("12222"));
    QCOMPARE(edit(QStringLiteral("txt_IP1_0"))->text() + edit(QStringLiteral("txt_IP4_0"))->text(),
             QStringLiteral("127255"));
    edit(QStringLiteral("txt_PortNo"))->setText(QString::number(m_port));
    edit(QStringLiteral("txt_UserName"))->setText(QStringLiteral("alice"));
    setup->findChild<QCheckBox *>(QStringLiteral("chk_SeqSend_0"))->setChecked(true);
    setup->findChild<QPushButton *>(QStringLiteral("cmd_OK"))->click();
    QVERIFY(m_prompt.shown.isEmpty());
    QTRY_VERIFY(main.net()->endpoint().isStarted());
    QTRY_COMPARE(peer.participants().listed().size(), 1);
    QTRY_COMPARE(main.net()->endpoint().participants().listed().size(), 1);
    QCOMPARE(main.store().readEnv()->byte(Env::NetConfigured), 1);
    // Searching again restarts without a logout: bob keeps one live entry.
    trigger(main, "mnu_Retry_Net");
    QVERIFY(!main.net()->endpoint().isStarted());
    QTRY_VERIFY(main.net()->endpoint().isStarted());
    QTest::qWait(200);
    QCOMPARE(peer.participants().last(), 1);
    QCOMPARE(peer.participants().listed().size(), 1);
}

void TestLanMain::adapterPages()
{
    TagMain main(m_dir.path(), m_prompt, m_clock);
    QVERIFY(startOnHost(main));
    trigger(main, "mnu_ShowNetWork");
    auto *info = topLevel<FrmNetwork>("frmNetwork");
    QVERIFY(info);
    QVERIFY(info->pages() >= 1); // loopback at least
    const int pages = info->pages();
    for (int i = 0; i < pages + 2; ++i)
        info->findChild<QPushButton *>(QStringLiteral("cmd_Next"))->click();
    QCOMPARE(info->page(), pages - 1);
    info->findChild<QPushButton *>(QStringLiteral("cmd_Back"))->click();
    QCOMPARE(info->page(), std::max(0, pages - 2));
    const QString lo = adapterText(QNetworkInterface::interfaceFromName(QStringLiteral("lo")));
    QVERIFY(lo.contains(QStringLiteral("IPアドレス: 127.0.0.1")));
    QVERIFY(lo.contains(QStringLiteral("サブネットマスク: 255.0.0.0")));
}

// 佐藤 on 127.0.0.2 is a bare socket: it sends tag records and reads the answers.
void TestLanMain::receivedTagsOnTheDesktop()
{
    writeSettings(Host.hostName, false);
    QUdpSocket sato;
    QVERIFY(sato.bind(QHostAddress(0x7F000002), m_port));
    auto send = [&](bool sealed, const QString &text) {
        TagRecord tag;
        tag.setMessage(text);
        Net::TagDatagram wire = TagWireMap::toDatagram(tag);
        sealForSending(wire, sealed, {}, QStringLiteral("127.0.0.2"), QStringLiteral("佐藤"));
        sato.writeDatagram(wire.bytes(), QHostAddress(Host.address), m_port);
    };
    QList<QByteArray> got; // what 佐藤 heard
    auto answers = [&] { return got += drain(sato); };
    {
        TagMain main(m_dir.path(), m_prompt, m_clock);
        QVERIFY(startOnHost(main));
        send(false, QStringLiteral("plain"));
        QTRY_VERIFY(main.display()->window(1));
        TagWindow *w = main.display()->window(1);
        QVERIFY(w->isVisible());
        QCOMPARE(w->toolTip(), QStringLiteral("このタブは、佐藤 から送られました。"));
        QCOMPARE(w->noteLabel()->text(), QStringLiteral("佐藤から届きました。"));
        QVERIFY(w->windowFlags() & Qt::WindowStaysOnTopHint); // mnu_NetTop is on by default
        QTRY_COMPARE(answers(), QList<QByteArray>{"\x02" + Cp932::encode(u"山田")});
        send(true, QStringLiteral("sealed"));
        QTRY_VERIFY(topLevel<QWidget>("SealedForm"));
        QVERIFY(!main.display()->window(2));
    }
    // The next start: still sealed, asked again; opened, it goes up and 佐藤 hears.
    QTRY_COMPARE(answers().size(), 2);
    got.clear();
    TagMain again(m_dir.path(), m_prompt, m_clock);
    QVERIFY(startOnHost(again));
    auto *form = topLevel<QWidget>("SealedForm");
    QVERIFY(form);
    QCOMPARE(form->findChild<QLabel *>(QStringLiteral("lbl_IPAddress"))->text(),
             QStringLiteral("127.0.0.2"));
    QVERIFY(again.display()->window(1));
    QVERIFY(!again.display()->window(2));
    form->findChild<QPushButton *>(QStringLiteral("cmd_Open"))->click();
    QVERIFY(again.display()->window(2));
    QTRY_COMPARE(answers(), QList<QByteArray>{"\x0A" + Cp932::toField(u"山田", 32) + "sealed"});
    QVERIFY(m_prompt.shown.isEmpty());
}

void TestLanMain::chatWindows()
{
    writeSettings(Host.hostName, false);
    CommLog peerLog({}, m_clock);
    ScriptedPrompt peerPrompt;
    NetEndpoint peer(peerLog, m_clock, peerPrompt);
    ChatSession bob(peer, peerPrompt);
    TagMain main(m_dir.path(), m_prompt, m_clock);
    QVERIFY(startOnHost(main));
    QVERIFY(peer.StartNetwork(bobOn127002()));
    QTRY_COMPARE(main.net()->endpoint().participants().listed().size(), 1);

    trigger(main, "mnu_PrvChat");
    auto *select = topLevel<QDialog>("UserSelct2");
    QVERIFY(select);
    auto *ok = select->findChild<QPushButton *>(QStringLiteral("cmd_OK"));
    ok->click();
    QCOMPARE(m_prompt.shown,
             QStringList{QStringLiteral("チャットを行うユーザーを選択して下さい。")});
    select->findChild<QListWidget *>()->setCurrentRow(0);
    ok->click();
    QTRY_VERIFY(topLevel<QWidget>("NetChatP"));
    auto *chat = topLevel<QWidget>("NetChatP");
    QCOMPARE(chat->windowTitle(), QStringLiteral("Private NetWork Chat (From bob)"));
    trigger(main, "mnu_PrvChat");
    QCOMPARE(m_prompt.shown.last(), QStringLiteral("既にプライベートチャットを開始しています。"));
    auto *line = chat->findChild<QLineEdit *>(QStringLiteral("txt_Message"));
    line->setText(QStringLiteral("やあ"));
    QTest::keyClick(line, Qt::Key_Return);
    QVERIFY(line->text().isEmpty());
    QTRY_COMPARE(bob.privateHistory(),
                 QStringList{QStringLiteral("山田") + QString(9, u' ') + QStringLiteral("やあ")});
    bob.leavePrivate();
    QTRY_VERIFY(!topLevel<QWidget>("NetChatP"));

    // The global chat: a line over 284 bytes stays for editing.
    trigger(main, "mnu_Chat");
    auto *global = topLevel<QWidget>("NetChat");
    QVERIFY(global);
    auto *text = global->findChild<QLineEdit *>(QStringLiteral("txt_Message"));
    const QString tooLong = QString(143, QChar(0x4ED8));
    text->setText(tooLong);
    QTest::keyClick(text, Qt::Key_Return);
    QCOMPARE(m_prompt.shown.last(), ChatSession::tooLongText());
    QCOMPARE(text->text(), tooLong);
    // A line heard while the window is closed opens it again.
    global->close();
    QTRY_VERIFY(!topLevel<QWidget>("NetChat"));
    bob.sendGlobal(QStringLiteral("hello"));
    QTRY_VERIFY(topLevel<QWidget>("NetChat"));

    // Invitations: one ChatReq on screen, naming the latest inviter.
    QUdpSocket carol;
    QVERIFY(carol.bind(QHostAddress(0x7F000003), m_port));
    for (const QString &name : {QStringLiteral("carol"), QStringLiteral("dave")})
        carol.writeDatagram(Net::nameOnly(Net::GlobalChatRequest, name), QHostAddress(Host.address),
                            m_port);
    QTRY_VERIFY(topLevel<QDialog>("ChatReq") &&
                topLevel<QDialog>("ChatReq")->findChild<QLabel *>()->text().endsWith(u"dave"));
    int asking = 0;
    for (QWidget *w : QApplication::topLevelWidgets())
        asking += w->objectName() == QLatin1String("ChatReq") && w->isVisible();
    QCOMPARE(asking, 1);
    QCOMPARE(topLevel<QDialog>("ChatReq")->findChild<QLabel *>()->text(),
             QStringLiteral("Chat Request From dave"));
}

// The hotkeys' call: text becomes a tag in the default look, sent the usual way.
void TestLanMain::textAsTag()
{
    writeSettings(Host.hostName, false);
    QUdpSocket sato;
    QVERIFY(sato.bind(QHostAddress(0x7F000002), m_port));
    TagMain main(m_dir.path(), m_prompt, m_clock);
    QVERIFY(startOnHost(main));
    QVERIFY(main.net()->sendTextAsTag(QStringLiteral("メモ\nです"), {0x7F000002}));
    QVERIFY(!main.net()->sendTextAsTag(QStringLiteral("x"), {0x7F000002})); // one at a time
    QList<QByteArray> got;
    QTRY_VERIFY((got += drain(sato)).size() >= 3);
    QCOMPARE(got.size(), 3);
    QCOMPARE(got[0], got[1]);
    QCOMPARE(got[0], Net::dummy());
    Net::TagDatagram wire;
    QVERIFY(wire.setBytes(got[2]));
    QCOMPARE(wire.text(Net::TagWire::Message), QStringLiteral("メモ\r\nです"));
    QCOMPARE(wire.text(Net::TagWire::Text24), QStringLiteral("山田"));
    QCOMPARE(wire.text(Net::TagWire::SenderIp), QStringLiteral("127.0.0.1"));
    QCOMPARE(wire.text(Net::TagWire::Sealed), QStringLiteral("0"));
}

// cmd_AddNet and 他のｺﾝﾋﾟｭｰﾀに送る both end in UserSelect listing bob, who gets the tag.
void TestLanMain::editorAndTagMenuSend()
{
    writeSettings(Host.hostName, false);
    QUdpSocket bob;
    QVERIFY(bob.bind(QHostAddress(0x7F000002), m_port));
    TagMain main(m_dir.path(), m_prompt, m_clock);
    QVERIFY(startOnHost(main));
    bob.writeDatagram(Net::startAnswer(QStringLiteral("bob"), {}), QHostAddress(Host.address),
                      m_port);
    QTRY_COMPARE(main.net()->endpoint().participants().listed().size(), 1);

    main.editors()->openNew();
    TagEntry *editor = main.editors()->editor();
    QVERIFY(editor);
    auto *send = editor->findChild<QPushButton *>(QStringLiteral("cmd_AddNet"));
    QVERIFY(send->isEnabled());
    send->click();
    QCOMPARE(m_prompt.shown, QStringList{QStringLiteral("メッセージを指定して下さい。")});
    editor->findChild<QPlainTextEdit *>(QStringLiteral("txt_Message"))
        ->setPlainText(QStringLiteral("from the editor"));
    send->click();
    auto *select = topLevel<QDialog>("UserSelect");
    QVERIFY(select);
    auto *users = select->findChild<QListWidget *>(QStringLiteral("lst_User"));
    QCOMPARE(users->count(), 1);
    QCOMPARE(users->item(0)->text(), QStringLiteral("bob"));
    users->item(0)->setSelected(true);
    select->findChild<QPushButton *>(QStringLiteral("cmd_OK"))->click();
    QTRY_VERIFY(!topLevel<QDialog>("UserSelect"));
    QList<QByteArray> got;
    QTRY_VERIFY(!(got += drain(bob)).isEmpty() && got.last().size() == Net::TagRecordSize);
    Net::TagDatagram wire;
    QVERIFY(wire.setBytes(got.last()));
    QCOMPARE(wire.text(Net::TagWire::Message), QStringLiteral("from the editor"));
    editor->reject();

    // A stored tag through its menu.
    TagRecord stored;
    stored.setMessage(QStringLiteral("stored one"));
    const auto k = main.store().addTag(stored);
    QVERIFY(k);
    QAction *entry = main.tagMenu()->entryAction(TagPopupMenu::SendTo);
    QVERIFY(entry->isEnabled());
    main.tagMenu()->prepare(*k, false);
    entry->trigger();
    QVERIFY(topLevel<QDialog>("UserSelect"));
    topLevel<QDialog>("UserSelect")
        ->findChild<QPushButton *>(QStringLiteral("cmd_Cancel"))
        ->click();
    QTRY_VERIFY(!topLevel<QDialog>("UserSelect"));
}

// Receipts gather in one RcvResult; each confirmation gets its ResultForm.
void TestLanMain::answersOnTheDesktop()
{
    writeSettings(Host.hostName, false);
    QUdpSocket sato;
    QVERIFY(sato.bind(QHostAddress(0x7F000002), m_port));
    TagMain main(m_dir.path(), m_prompt, m_clock);
    QVERIFY(startOnHost(main));
    const QHostAddress to(Host.address);
    sato.writeDatagram("\x02" + Cp932::encode(u"佐藤"), to, m_port);
    sato.writeDatagram("\x02" + Cp932::encode(u"鈴木"), to, m_port);
    QTRY_VERIFY(topLevel<QWidget>("RcvResult"));
    auto *list = topLevel<QWidget>("RcvResult")->findChild<QListWidget *>();
    QTRY_COMPARE(list->count(), 2);
    QCOMPARE(list->item(1)->text(), QStringLiteral("鈴木 Received"));
    sato.writeDatagram(Net::confirmation(Net::AbandonmentConfirmation, QStringLiteral("佐藤"),
                                         QStringLiteral("例の件")),
                       to, m_port);
    QTRY_VERIFY(topLevel<QWidget>("ResultForm"));
    auto *form = topLevel<QWidget>("ResultForm");
    QCOMPARE(form->findChild<QLabel *>(QStringLiteral("lbl_Heading"))->text(),
             QStringLiteral("以下に示す付箋が開封せずに廃棄されました。"));
    QCOMPARE(form->findChild<QLabel *>(QStringLiteral("lbl_Sender"))->text(),
             QStringLiteral("佐藤から廃棄確認が届きました。"));
    QCOMPARE(form->findChild<QPlainTextEdit *>()->toPlainText(), QStringLiteral("例の件"));
}

QTEST_MAIN(TestLanMain)
#include "tst_lanmain.moc"
