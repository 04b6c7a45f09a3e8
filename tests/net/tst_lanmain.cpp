// The LAN inside the running program, one path through each window. The settings
// name 127.0.0.255 and a made-up host on 127.0.0.1, so nothing leaves loopback.
#include "cp932.h"
#include "desktopdisplay.h"
#include "lanpeer.h"
#include "loopback.h"
#include "mainmenu.h"
#include "manualclock.h"
#include "netdesk.h"
#include "tagmain.h"
#include "tagsender.h"
#include "tagwire.h"

#include <QApplication>
#include <QCheckBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const LocalIdentity Host{u"desk1"_s, 0x7F000001};

template <typename T = QWidget> T *topLevel(const char *name)
{
    for (QWidget *w : QApplication::topLevelWidgets())
        if (w->objectName() == QLatin1String(name) && w->isVisible())
            return qobject_cast<T *>(w);
    return nullptr;
}

template <typename T> T *child(QWidget *w, const char *name)
{
    return w ? w->findChild<T *>(*name ? QString::fromLatin1(name) : QString()) : nullptr;
}

bool start(TagMain &main)
{
    main.setNetIdentity([] { return Host; }, QHostAddress(Host.address));
    return main.start();
}

void trigger(TagMain &main, const char *entry)
{
    main.mainMenu()->action(QString::fromLatin1(entry))->trigger();
}
} // namespace

class TestLanMain : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void unconfiguredSetUpAndMoved();
    void peersAndChat();
    void tagsBothWays();

private:
    QString dataDir(const LanLoopback &lan, const QString &host = {});

    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
    ScriptedPrompt m_prompt;
};

QString TestLanMain::dataDir(const LanLoopback &lan, const QString &host)
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
    if (!TagStore(files.dt1).writeEnv(env))
        qFatal("cannot write the settings");
    return dir;
}

void TestLanMain::unconfiguredSetUpAndMoved()
{
    LanLoopback lan(m_clock);
    LanPeer &bob = lan.peer(2, u"bob"_s);
    const QString dir = dataDir(lan);
    {
        TagMain main(dir, m_prompt, m_clock);
        QVERIFY(start(main));
        trigger(main, "mnu_Retry_Net");
        QCOMPARE(m_prompt.shown,
                 QStringList(u"ネットワークの設定が行われていないので利用できません。"_s));
        m_prompt.shown.clear();

        trigger(main, "mnu_NetSet");
        auto *setup = topLevel("NetSetup");
        child<QLineEdit>(setup, "txt_PortNo")->setText(QString::number(lan.port));
        child<QLineEdit>(setup, "txt_UserName")->setText(u"alice"_s);
        child<QCheckBox>(setup, "chk_SeqSend_0")->setChecked(true);
        child<QPushButton>(setup, "cmd_OK")->click();
        QTRY_VERIFY(main.net()->endpoint().isStarted());
        QTRY_COMPARE(bob.ep.participants().listed().size(), 1);
        QTRY_COMPARE(main.net()->endpoint().participants().listed().size(), 1);
        QCOMPARE(main.store().readEnv()->byte(Env::NetConfigured), 1);
        QCOMPARE(main.store().readEnv()->text(Env::NetLocalIp), u"127.0.0.1"_s);
        // Searching again restarts without a logout: bob keeps one live entry.
        trigger(main, "mnu_Retry_Net");
        QTRY_VERIFY(main.net()->endpoint().isStarted());
        QTest::qWait(200);
        QCOMPARE(bob.ep.participants().last(), 1);
    }
    // Started on another host, the saved settings stay and the network stays down.
    TagMain moved(dir, m_prompt, m_clock);
    moved.setNetIdentity([] { return LocalIdentity{u"desk2"_s, Lo(1)}; }, QHostAddress(Lo(1)));
    QVERIFY(moved.start());
    QCOMPARE(m_prompt.shown,
             QStringList(
                 u"ネットワークの設定が変更された為、ネットワークの設定を今回は確立しません。"_s));
    QVERIFY(!moved.net()->endpoint().isStarted());
    QCOMPARE(moved.env().text(Env::NetHostName), u"desk1"_s);
}

// bob on 127.0.0.2 is a whole peer; carol and dave on 127.0.0.3 a bare socket that invites.
void TestLanMain::peersAndChat()
{
    LanLoopback lan(m_clock);
    TagMain main(dataDir(lan, Host.hostName), m_prompt, m_clock);
    QVERIFY(start(main));
    LanPeer &bob = lan.peer(2, u"bob"_s);
    QTRY_COMPARE(main.net()->endpoint().participants().listed().size(), 1);
    QTRY_COMPARE(bob.ep.participants().listed().size(), 1);
    QCOMPARE(bob.ep.participants().at(1).name, u"山田"_s);

    // Private chat: one at a time; bob leaving closes it.
    trigger(main, "mnu_PrvChat");
    auto *select = topLevel("UserSelct2");
    child<QListWidget>(select, "")->setCurrentRow(0);
    child<QPushButton>(select, "cmd_OK")->click();
    QTRY_VERIFY(topLevel("NetChatP"));
    trigger(main, "mnu_PrvChat");
    QCOMPARE(m_prompt.shown, QStringList{u"既にプライベートチャットを開始しています。"_s});
    bob.chat.leavePrivate();
    QTRY_VERIFY(!topLevel("NetChatP"));

    for (const QString &name : {u"carol"_s, u"dave"_s})
        lan.raw(3).writeDatagram(Net::nameOnly(Net::GlobalChatRequest, name), QHostAddress(Lo(1)),
                                 lan.port);
    QTRY_VERIFY(topLevel("ChatReq"));
    QTRY_COMPARE(child<QLabel>(topLevel("ChatReq"), "")->text(), u"Chat Request From dave"_s);
}

// 佐藤 on 127.0.0.2 is a bare socket that sends tags, receipts and a confirmation.
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
        sendTag(true, u"sealed"_s);
        QTRY_VERIFY(topLevel("SealedForm"));
        QVERIFY(!main.display()->window(2));
        QTRY_COMPARE(lan.heardBy(2), QList<QByteArray>(2, receipt));

        // Receipts gather in one RcvResult; each confirmation gets its ResultForm.
        send("\002" + Cp932::encode(u"佐藤"));
        send("\002" + Cp932::encode(u"鈴木"));
        QTRY_VERIFY(topLevel("RcvResult"));
        QTRY_COMPARE(child<QListWidget>(topLevel("RcvResult"), "")->count(), 2);
        send(Net::confirmation(Net::AbandonmentConfirmation, u"佐藤"_s, u"例の件"_s));
        QTRY_VERIFY(topLevel("ResultForm"));
        QCOMPARE(child<QLabel>(topLevel("ResultForm"), "lbl_Sender")->text(),
                 u"佐藤から廃棄確認が届きました。"_s);

        // The hotkeys' call: text becomes a tag in the default look: dummy, dummy, tag.
        QVERIFY(main.net()->sendTextAsTag(u"メモ\nです"_s, {Lo(2)}));
        QVERIFY(!main.net()->sendTextAsTag(u"x"_s, {Lo(2)})); // one at a time
        QTRY_COMPARE(lan.heard.size(), 5);
        QVERIFY(wire.setBytes(lan.heard.last().second));
        using namespace Net::TagWire;
        QCOMPARE(QStringList({wire.text(Message), wire.text(Text24), wire.text(SenderIp),
                              wire.text(Sealed)}),
                 QStringList({u"メモ\r\nです"_s, u"山田"_s, u"127.0.0.1"_s, u"0"_s}));
    }
    // The next start: still sealed, asked again; opened, it goes up and 佐藤 hears.
    QTRY_COMPARE(lan.heard.size(), 6);
    QCOMPARE(lan.heard.last().second, Net::logout());
    TagMain again(dir, m_prompt, m_clock);
    QVERIFY(start(again));
    auto *form = topLevel("SealedForm");
    QVERIFY(form);
    QCOMPARE(child<QLabel>(form, "lbl_IPAddress")->text(), u"127.0.0.2"_s);
    QVERIFY(again.display()->window(1) && !again.display()->window(2));
    child<QPushButton>(form, "cmd_Open")->click();
    QVERIFY(again.display()->window(2));
    QTRY_COMPARE(lan.heard.size(), 7);
    QCOMPARE(lan.heard.last().second, "\012" + Cp932::toField(u"山田", 32) + "sealed");
    QVERIFY(m_prompt.shown.isEmpty());
}

QTEST_MAIN(TestLanMain)
#include "tst_lanmain.moc"
