// The LAN inside the running program: start-up, the tray entries, the windows and
// exit. The stored settings always name 127.0.0.255, and the host is a made-up one
// on 127.0.0.1, so nothing leaves loopback.
#include "cp932.h"
#include "desktopdisplay.h"
#include "editorhost.h"
#include "frmnetwork.h"
#include "lanpeer.h"
#include "loopback.h"
#include "mainmenu.h"
#include "manualclock.h"
#include "netdesk.h"
#include "tagmain.h"
#include "tagpopupmenu.h"
#include "tagsender.h"
#include "tagwindow.h"
#include "tagwire.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTest>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {
const LocalIdentity Host{u"desk1"_s, 0x7F000001};

template <typename T = QWidget> T *topLevel(const char *name)
{
    for (QWidget *w : QApplication::topLevelWidgets()) {
        if (w->objectName() == QLatin1String(name) && w->isVisible())
            return qobject_cast<T *>(w);
    }
    return nullptr;
}

template <typename T> T *child(QWidget *w, const char *name)
{
    return w ? w->findChild<T *>(*name ? QString::fromLatin1(name) : QString()) : nullptr;
}

} // namespace

class TestLanMain : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void unconfiguredSetUpRetriedAndMoved();
    void peersChatAndExit();
    void tagsBothWays();

private:
    // The program's data folder in lan, with settings for this host when host is given.
    QString dataDir(const LanLoopback &lan, const QString &host = {}, bool log = false);
    bool start(TagMain &main);
    void trigger(TagMain &main, const char *entry);

    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
    ScriptedPrompt m_prompt;
};

QString TestLanMain::dataDir(const LanLoopback &lan, const QString &host, bool log)
{
    m_prompt.shown.clear();
    const QString dir = lan.dir(u"main"_s);
    const FileSet files = LanPeer::prepared(dir);
    if (host.isEmpty())
        return dir;
    EnvRecord env;
    env.setByte(Env::NetConfigured, 1);
    env.setText(Env::NetHostName, host);
    env.setText(Env::NetLocalIp, u"127.0.0.1"_s);
    env.setText(Env::UserName, u"山田"_s);
    env.setPortNo(lan.port);
    env.setBroadcastAddress(0, 0x7F0000FF);
    env.setSequential(0, true);
    env.setByte(Env::LogEnabled, log ? 1 : 0);
    if (!TagStore(files.dt1).writeEnv(env))
        qFatal("cannot write the settings");
    return dir;
}

bool TestLanMain::start(TagMain &main)
{
    main.setNetIdentity([] { return Host; }, QHostAddress(Host.address));
    return main.start();
}

void TestLanMain::trigger(TagMain &main, const char *entry)
{
    QAction *a = main.mainMenu()->action(QString::fromLatin1(entry));
    QVERIFY(a->isEnabled());
    a->trigger();
}

void TestLanMain::unconfiguredSetUpRetriedAndMoved()
{
    LanLoopback lan(m_clock);
    LanPeer &bob = lan.peer(2, u"bob"_s);
    const QString dir = dataDir(lan);
    {
        TagMain main(dir, m_prompt, m_clock);
        QVERIFY(start(main));
        QVERIFY(!main.net()->endpoint().isStarted());
        trigger(main, "mnu_Group");
        trigger(main, "mnu_Retry_Net");
        QCOMPARE(m_prompt.shown,
                 QStringList(2, u"ネットワークの設定が行われていないので利用できません。"_s));
        m_prompt.shown.clear();

        trigger(main, "mnu_NetSet");
        auto *setup = topLevel<QDialog>("NetSetup");
        auto edit = [&](const char *name) { return child<QLineEdit>(setup, name); };
        QCOMPARE(edit("txt_IP1_0")->text() + edit("txt_IP4_0")->text(), u"127255"_s); // this host's
        edit("txt_PortNo")->setText(u"999"_s);
        child<QPushButton>(setup, "cmd_OK")->click();
        QCOMPARE(m_prompt.shown, QStringList(u"ポート番号は、４桁以上で指定して下さい。"_s));
        QCOMPARE(main.store().readEnv()->byte(Env::NetConfigured), 0);
        m_prompt.shown.clear();
        edit("txt_PortNo")->setText(QString::number(lan.port));
        edit("txt_UserName")->setText(u"alice"_s);
        child<QCheckBox>(setup, "chk_SeqSend_0")->setChecked(true);
        child<QPushButton>(setup, "cmd_OK")->click();
        QVERIFY(m_prompt.shown.isEmpty());
        QTRY_VERIFY(main.net()->endpoint().isStarted());
        QTRY_COMPARE(bob.ep.participants().listed().size(), 1);
        QTRY_COMPARE(main.net()->endpoint().participants().listed().size(), 1);
        QCOMPARE(main.store().readEnv()->byte(Env::NetConfigured), 1);
        QCOMPARE(main.store().readEnv()->text(Env::NetLocalIp), u"127.0.0.1"_s);
        // Searching again restarts without a logout: bob keeps one live entry.
        trigger(main, "mnu_Retry_Net");
        QVERIFY(!main.net()->endpoint().isStarted());
        QTRY_VERIFY(main.net()->endpoint().isStarted());
        QTest::qWait(200);
        QCOMPARE(bob.ep.participants().last(), 1);
        QCOMPARE(bob.ep.participants().listed().size(), 1);

        // The adapter pages: loopback at least, and the buttons stop at the ends.
        trigger(main, "mnu_ShowNetWork");
        auto *info = topLevel<FrmNetwork>("frmNetwork");
        QVERIFY(info && info->pages() >= 1);
        for (int i = 0; i < info->pages() + 2; ++i)
            child<QPushButton>(info, "cmd_Next")->click();
        QCOMPARE(info->page(), info->pages() - 1);
        child<QPushButton>(info, "cmd_Back")->click();
        QCOMPARE(info->page(), std::max(0, info->pages() - 2));
        const QString lo = adapterText(QNetworkInterface::interfaceFromName(u"lo"_s));
        QVERIFY(lo.contains(u"IPアドレス: 127.0.0.1"_s) &&
                lo.contains(u"サブネットマスク: 255.0.0.0"_s));
    }
    // Started on another host, the saved settings stay and the network stays down.
    TagMain moved(dir, m_prompt, m_clock);
    moved.setNetIdentity([] { return LocalIdentity{u"desk2"_s, Lo(1)}; }, QHostAddress(Lo(1)));
    QVERIFY(moved.start());
    QCOMPARE(m_prompt.shown,
             QStringList(
                 u"ネットワークの設定が変更された為、ネットワークの設定を今回は確立しません。"_s));
    QVERIFY(!moved.net()->endpoint().isStarted());
    trigger(moved, "mnu_Group");
    QCOMPARE(m_prompt.shown.last(), NetDesk::notConfiguredText());
    QCOMPARE(moved.env().text(Env::NetHostName), u"desk1"_s);
}

// bob on 127.0.0.2 is a whole peer; carol on 127.0.0.3 a bare socket that invites.
void TestLanMain::peersChatAndExit()
{
    LanLoopback lan(m_clock);
    const QString dir = dataDir(lan, Host.hostName, true);
    LanPeer &bob = lan.peer(2);
    const NetConfig c = loopbackConfig(lan.port, 2, u"bob"_s);
    {
        TagMain main(dir, m_prompt, m_clock);
        QVERIFY(start(main));
        QVERIFY(main.net()->endpoint().isStarted());
        QVERIFY(bob.ep.StartNetwork(c));
        QTRY_COMPARE(main.net()->endpoint().participants().listed().size(), 1);
        QTRY_COMPARE(bob.ep.participants().listed().size(), 1);
        QCOMPARE(bob.ep.participants().at(1).name, u"山田"_s);
        trigger(main, "mnu_Group");
        auto *rows = child<QTreeWidget>(topLevel("GroupList"), "");
        QVERIFY(rows);
        QCOMPARE(rows->topLevelItemCount(), 1);
        QCOMPARE(rows->topLevelItem(0)->text(0) + rows->topLevelItem(0)->text(1),
                 u"bob127.0.0.2"_s);
        // bob leaves and the open list follows.
        bob.ep.logoutAndStop();
        QTRY_COMPARE(rows->topLevelItemCount(), 0);
        QVERIFY(bob.ep.StartNetwork(c));
        QTRY_COMPARE(rows->topLevelItemCount(), 1);
        QTRY_COMPARE(bob.ep.participants().listed().size(), 1);
        // The log switch reaches the LAN log too.
        trigger(main, "mnu_LogStart");
        QVERIFY(!main.net()->log().isEnabled());
        trigger(main, "mnu_LogStart");
        QVERIFY(main.net()->log().isEnabled());

        // Private chat: a partner must be chosen; one talk at a time; bob leaving closes it.
        trigger(main, "mnu_PrvChat");
        auto *select = topLevel<QDialog>("UserSelct2");
        child<QPushButton>(select, "cmd_OK")->click();
        QCOMPARE(m_prompt.shown, QStringList{u"チャットを行うユーザーを選択して下さい。"_s});
        child<QListWidget>(select, "")->setCurrentRow(1); // row 0 is bob before he left
        child<QPushButton>(select, "cmd_OK")->click();
        QTRY_VERIFY(topLevel("NetChatP"));
        QCOMPARE(topLevel("NetChatP")->windowTitle(), u"Private NetWork Chat (From bob)"_s);
        trigger(main, "mnu_PrvChat");
        QCOMPARE(m_prompt.shown.last(), u"既にプライベートチャットを開始しています。"_s);
        auto *line = child<QLineEdit>(topLevel("NetChatP"), "txt_Message");
        line->setText(u"やあ"_s);
        QTest::keyClick(line, Qt::Key_Return);
        QVERIFY(line->text().isEmpty());
        QTRY_COMPARE(bob.chat.privateHistory(),
                     QStringList{u"山田"_s + QString(9, u' ') + u"やあ"_s});
        bob.chat.leavePrivate();
        QTRY_VERIFY(!topLevel("NetChatP"));

        // The global chat: a line over 284 bytes stays for editing.
        trigger(main, "mnu_Chat");
        auto *text = child<QLineEdit>(topLevel("NetChat"), "txt_Message");
        text->setText(QString(143, QChar(0x4ED8)));
        QTest::keyClick(text, Qt::Key_Return);
        QCOMPARE(m_prompt.shown.last(), ChatSession::tooLongText());
        QCOMPARE(text->text(), QString(143, QChar(0x4ED8)));
        // A line heard while the window is closed opens it again.
        topLevel("NetChat")->close();
        QTRY_VERIFY(!topLevel("NetChat"));
        bob.chat.sendGlobal(u"hello"_s);
        QTRY_VERIFY(topLevel("NetChat"));

        // Invitations: one ChatReq on screen, naming the latest inviter.
        for (const QString &name : {u"carol"_s, u"dave"_s})
            lan.raw(3).writeDatagram(Net::nameOnly(Net::GlobalChatRequest, name),
                                     QHostAddress(Lo(1)), lan.port);
        QTRY_VERIFY(topLevel("ChatReq") &&
                    child<QLabel>(topLevel("ChatReq"), "")->text().endsWith(u"dave"));
        QCOMPARE(child<QLabel>(topLevel("ChatReq"), "")->text(), u"Chat Request From dave"_s);
        QCOMPARE(std::ranges::count_if(
                     QApplication::topLevelWidgets(),
                     [](QWidget *w) { return w->objectName() == "ChatReq"_L1 && w->isVisible(); }),
                 1);
    }
    // Exit: bob hears the logout, and the log ends with it.
    QTRY_COMPARE(bob.ep.participants().listed().size(), 0);
    QFile log(dir + u"/Pinboard.log"_s);
    QVERIFY(log.open(QIODevice::ReadOnly));
    const QStringList lines = Cp932::decode(log.readAll()).split(u"\r\n"_s, Qt::SkipEmptyParts);
    const QString at = u"2024/05/01 10:00:00 "_s;
    QCOMPARE(lines.mid(lines.size() - 2),
             QStringList({at + u"127.0.0.1      ～127.0.0.254     Send-[User Logout(End Prg)] "_s,
                          at + u"Send Status:1"_s}));
    QVERIFY(lines.contains(at + u"127.0.0.2       Recv-[User Logout(End Prg)] :"_s));
}

// 佐藤 on 127.0.0.2 is a bare socket: he sends tags, receipts and a confirmation, and
// reads what comes back.
void TestLanMain::tagsBothWays()
{
    LanLoopback lan(m_clock);
    const QString dir = dataDir(lan, Host.hostName);
    auto send = [&](const QByteArray &bytes) {
        lan.raw(2).writeDatagram(bytes, QHostAddress(Lo(1)), lan.port);
    };
    auto sendTag = [&](bool sealed, const QString &text) {
        TagRecord tag;
        tag.setMessage(text);
        Net::TagDatagram wire = TagWireMap::toDatagram(tag);
        sealForSending(wire, sealed, {}, u"127.0.0.2"_s, u"佐藤"_s);
        send(wire.bytes());
    };
    const QByteArray receipt = "\002" + Cp932::encode(u"山田");
    Net::TagDatagram wire;
    {
        TagMain main(dir, m_prompt, m_clock);
        QVERIFY(start(main));
        sendTag(false, u"plain"_s);
        QTRY_VERIFY(main.display()->window(1));
        QVERIFY(main.display()->window(1)->isVisible());
        // mnu_NetTop is on by default.
        QVERIFY(main.display()->window(1)->windowFlags() & Qt::WindowStaysOnTopHint);
        sendTag(true, u"sealed"_s);
        QTRY_VERIFY(topLevel("SealedForm"));
        QVERIFY(!main.display()->window(2));
        QTRY_COMPARE(lan.heardBy(2), QList<QByteArray>(2, receipt));

        // Receipts gather in one RcvResult; each confirmation gets its ResultForm.
        send("\002" + Cp932::encode(u"佐藤"));
        send("\002" + Cp932::encode(u"鈴木"));
        QTRY_VERIFY(topLevel("RcvResult"));
        QTRY_COMPARE(child<QListWidget>(topLevel("RcvResult"), "")->count(), 2);
        QCOMPARE(child<QListWidget>(topLevel("RcvResult"), "")->item(1)->text(),
                 u"鈴木 Received"_s);
        send(Net::confirmation(Net::AbandonmentConfirmation, u"佐藤"_s, u"例の件"_s));
        QTRY_VERIFY(topLevel("ResultForm"));
        QCOMPARE(
            child<QLabel>(topLevel("ResultForm"), "lbl_Heading")->text() +
                child<QLabel>(topLevel("ResultForm"), "lbl_Sender")->text() +
                child<QPlainTextEdit>(topLevel("ResultForm"), "")->toPlainText(),
            u"以下に示す付箋が開封せずに廃棄されました。佐藤から廃棄確認が届きました。例の件"_s);

        // The hotkeys' call: text becomes a tag in the default look: dummy, dummy, tag.
        QVERIFY(main.net()->sendTextAsTag(u"メモ\nです"_s, {Lo(2)}));
        QVERIFY(!main.net()->sendTextAsTag(u"x"_s, {Lo(2)})); // one at a time
        QTRY_COMPARE(lan.heard.size(), 5);
        QCOMPARE(lan.heardBy(2).mid(2, 2), QList<QByteArray>(2, Net::dummy()));
        QVERIFY(wire.setBytes(lan.heard.last().second));
        using namespace Net::TagWire;
        QCOMPARE(QStringList({wire.text(Message), wire.text(Text24), wire.text(SenderIp),
                              wire.text(Sealed)}),
                 QStringList({u"メモ\r\nです"_s, u"山田"_s, u"127.0.0.1"_s, u"0"_s}));

        // cmd_AddNet and the tag menu both end in UserSelect listing 佐藤.
        send(Net::startAnswer(u"佐藤"_s, {}));
        QTRY_COMPARE(main.net()->endpoint().participants().listed().size(), 1);
        main.editors()->openNew();
        TagEntry *editor = main.editors()->editor();
        auto *addNet = child<QPushButton>(editor, "cmd_AddNet");
        addNet->click();
        QCOMPARE(m_prompt.shown, QStringList{u"メッセージを指定して下さい。"_s});
        child<QPlainTextEdit>(editor, "txt_Message")->setPlainText(u"from the editor"_s);
        addNet->click();
        auto *users = child<QListWidget>(topLevel("UserSelect"), "lst_User");
        QVERIFY(users);
        QCOMPARE(users->count(), 1);
        QCOMPARE(users->item(0)->text(), u"佐藤"_s);
        users->item(0)->setSelected(true);
        child<QPushButton>(topLevel("UserSelect"), "cmd_OK")->click();
        QTRY_VERIFY(!topLevel("UserSelect"));
        QTRY_COMPARE(lan.heard.size(), 8);
        QVERIFY(wire.setBytes(lan.heard.last().second));
        QCOMPARE(wire.text(Message), u"from the editor"_s);
        editor->reject();
        TagRecord stored;
        stored.setMessage(u"stored one"_s);
        const auto k = main.store().addTag(stored);
        QVERIFY(k);
        main.tagMenu()->prepare(*k, false);
        main.tagMenu()->entryAction(TagPopupMenu::SendTo)->trigger();
        QVERIFY(topLevel("UserSelect"));
        child<QPushButton>(topLevel("UserSelect"), "cmd_Cancel")->click();
        QTRY_VERIFY(!topLevel("UserSelect"));
        m_prompt.shown.clear();
    }
    // The next start: still sealed, asked again; opened, it goes up and 佐藤 hears.
    QTRY_COMPARE(lan.heard.size(), 9);
    QCOMPARE(lan.heard.last().second, Net::logout());
    TagMain again(dir, m_prompt, m_clock);
    QVERIFY(start(again));
    auto *form = topLevel("SealedForm");
    QCOMPARE(child<QLabel>(form, "lbl_IPAddress")->text(), u"127.0.0.2"_s);
    QVERIFY(again.display()->window(1) && !again.display()->window(2));
    child<QPushButton>(form, "cmd_Open")->click();
    QVERIFY(again.display()->window(2));
    QTRY_COMPARE(lan.heard.size(), 10);
    QCOMPARE(lan.heard.last().second, "\012" + Cp932::toField(u"山田", 32) + "sealed");
    QVERIFY(m_prompt.shown.isEmpty());
}

QTEST_MAIN(TestLanMain)
#include "tst_lanmain.moc"
