// Global and private chat between endpoints on 127.0.0.1-3 (127.0.0.5 stays
// silent), and the private chat's state table.
#include "chatsession.h"
#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "loopback.h"
#include "manualclock.h"
#include "netendpoint.h"
#include "prompt.h"
#include "scriptedprompt.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>
#include <memory>

using namespace PrivateChat;

Q_DECLARE_METATYPE(PrivateChat::State)
Q_DECLARE_METATYPE(PrivateChat::Event)
Q_DECLARE_METATYPE(PrivateChat::Action)

namespace {
struct Peer
{
    Peer(const QString &logPath, const Clock &clock)
        : log(logPath, clock), ep(log, clock, prompt), chat(ep, prompt)
    {
    }
    CommLog log;
    ScriptedPrompt prompt;
    NetEndpoint ep;
    ChatSession chat;
};
} // namespace

class TestChat : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void transitions_data();
    void transitions();
    void privateAcceptedTalkAndLeave();
    void refusedWhileBusy();
    void timedOut();
    void lengthLimit_data();
    void lengthLimit();
    void invitationNotToItsSender();
    void clearAsks();
    void historyKeepsTheNewest();

private:
    Peer &start(int host, const QString &name);

    QTemporaryDir m_dir;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
    quint16 m_port = 0;
    std::vector<std::unique_ptr<Peer>> m_peers;
};

void TestChat::init()
{
    m_port = freeLoopbackPort();
    QVERIFY(m_port);
}

void TestChat::cleanup()
{
    m_peers.clear();
}

Peer &TestChat::start(int host, const QString &name)
{
    m_peers.push_back(
        std::make_unique<Peer>(m_dir.filePath(QStringLiteral("p%1.log").arg(host)), m_clock));
    m_peers.back()->ep.StartNetwork(loopbackConfig(m_port, host, name));
    return *m_peers.back();
}

void TestChat::transitions_data()
{
    QTest::addColumn<State>("state");
    QTest::addColumn<Event>("event");
    QTest::addColumn<State>("then");
    QTest::addColumn<Action>("action");
    QTest::newRow("idle asks") << Idle << Event::Request << Requesting << Action::SendRequest;
    QTest::newRow("asking asks again")
        << Requesting << Event::Request << Requesting << Action::None;
    QTest::newRow("OK while asking")
        << Requesting << Event::AnswerOk << Talking << Action::OpenChat;
    QTest::newRow("late OK") << Idle << Event::AnswerOk << Idle << Action::None;
    QTest::newRow("NG while asking") << Requesting << Event::AnswerNg << Idle << Action::TellBusy;
    QTest::newRow("NG while talking") << Talking << Event::AnswerNg << Talking << Action::None;
    QTest::newRow("deadline while asking")
        << Requesting << Event::Deadline << Idle << Action::TellNoAnswer;
    QTest::newRow("deadline after OK") << Talking << Event::Deadline << Talking << Action::None;
    QTest::newRow("request to idle") << Idle << Event::IncomingRequest << Talking << Action::Accept;
    QTest::newRow("request while asking")
        << Requesting << Event::IncomingRequest << Requesting << Action::Refuse;
    QTest::newRow("request while talking")
        << Talking << Event::IncomingRequest << Talking << Action::Refuse;
    QTest::newRow("partner leaves") << Talking << Event::PartnerLeft << Idle << Action::CloseChat;
    QTest::newRow("stray logout") << Idle << Event::PartnerLeft << Idle << Action::None;
    QTest::newRow("we leave") << Talking << Event::Leave << Idle << Action::SendLogout;
    QTest::newRow("leave when idle") << Idle << Event::Leave << Idle << Action::None;
}

void TestChat::transitions()
{
    QFETCH(State, state);
    QFETCH(Event, event);
    QFETCH(State, then);
    QFETCH(Action, action);
    QCOMPARE(next(state, event), (Step{then, action}));
}

void TestChat::privateAcceptedTalkAndLeave()
{
    Peer &a = start(1, QStringLiteral("山田"));
    Peer &b = start(2, QStringLiteral("佐藤"));
    QSignalSpy openedA(&a.chat, &ChatSession::privateOpened);
    QSignalSpy openedB(&b.chat, &ChatSession::privateOpened);
    QSignalSpy closedB(&b.chat, &ChatSession::privateClosed);
    QVERIFY(a.chat.requestPrivate(Lo(2), QStringLiteral("佐藤")));
    QCOMPARE(int(a.chat.PrivateChatState()), 1);
    QVERIFY(!a.chat.requestPrivate(Lo(3), QStringLiteral("鈴木"))); // one at a time
    QTRY_COMPARE(openedA.size(), 1);
    QCOMPARE(openedA.first().first().toString(),
             QStringLiteral("Private NetWork Chat (From 佐藤)"));
    QCOMPARE(openedB.first().first().toString(),
             QStringLiteral("Private NetWork Chat (From 山田)"));
    QCOMPARE(int(a.chat.PrivateChatState()), 2);
    QCOMPARE(int(b.chat.PrivateChatState()), 2);
    QCOMPARE(b.chat.partnerAddress(), Lo(1));

    QVERIFY(a.chat.sendPrivate(QStringLiteral("こんにちは\r\n")));
    // 山田 is 4 bytes: 9 blanks fill the 13-byte name column.
    const QString line = QStringLiteral("山田") + QString(9, u' ') + QStringLiteral("こんにちは");
    QTRY_COMPARE(b.chat.privateHistory(), QStringList{line});
    QCOMPARE(a.chat.privateHistory(), QStringList{line});

    a.chat.leavePrivate();
    QCOMPARE(int(a.chat.PrivateChatState()), 0);
    QTRY_COMPARE(closedB.size(), 1);
    QCOMPARE(int(b.chat.PrivateChatState()), 0);
    QVERIFY(a.prompt.shown.isEmpty());
    QVERIFY(b.prompt.shown.isEmpty());
}

void TestChat::refusedWhileBusy()
{
    Peer &a = start(1, QStringLiteral("山田"));
    Peer &b = start(2, QStringLiteral("佐藤"));
    Peer &c = start(3, QStringLiteral("鈴木"));
    QSignalSpy openedB(&b.chat, &ChatSession::privateOpened);
    QVERIFY(c.chat.requestPrivate(Lo(2), QStringLiteral("佐藤")));
    QTRY_COMPARE(openedB.size(), 1);
    QSignalSpy failed(&a.chat, &ChatSession::requestFailed);
    a.chat.requestPrivate(Lo(2), QStringLiteral("佐藤"));
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(a.prompt.shown,
             QStringList{QStringLiteral("相手先は、既に他の人とプライベートチャットをしています。"
                                        "しばらく待ってから再度試して下さい。")});
    QCOMPARE(int(a.chat.PrivateChatState()), 0);
    // The talk of 佐藤 and 鈴木 goes on.
    QCOMPARE(b.chat.partnerAddress(), Lo(3));
    QCOMPARE(int(b.chat.PrivateChatState()), 2);
}

void TestChat::timedOut()
{
    Peer &a = start(1, QStringLiteral("山田"));
    a.chat.setAnswerMs(150);
    QSignalSpy failed(&a.chat, &ChatSession::requestFailed);
    a.chat.requestPrivate(Lo(5), QStringLiteral("誰か"));
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(a.prompt.shown,
             QStringList{
                 QStringLiteral("相手先から応答がありません。既に退出している可能性があります。")});
    QCOMPARE(int(a.chat.PrivateChatState()), 0);
}

void TestChat::lengthLimit_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("sent");
    QTest::newRow("284 bytes") << QString(142, QChar(0x4ED8)) << true;
    QTest::newRow("284 bytes and CR LF")
        << QString(142, QChar(0x4ED8)) + QStringLiteral("\r\n") << true;
    QTest::newRow("285 bytes") << QString(142, QChar(0x4ED8)) + u'x' << false;
}

void TestChat::lengthLimit()
{
    QFETCH(QString, text);
    QFETCH(bool, sent);
    Peer &a = start(1, QStringLiteral("山田"));
    Peer &b = start(2, QStringLiteral("佐藤"));
    QSignalSpy heard(&b.chat, &ChatSession::globalLine);
    QCOMPARE(a.chat.sendGlobal(text), sent);
    if (!sent) {
        QCOMPARE(a.prompt.shown, QStringList{QStringLiteral(
                                     "送信するメッセージが長すぎます。（漢字で140文字以内）")});
        QTest::qWait(300);
        QCOMPARE(heard.size(), 0);
        return;
    }
    QTRY_COMPARE(heard.size(), 1);
    QCOMPARE(heard.first().first().toString(),
             QStringLiteral("山田") + QString(9, u' ') + QString(142, QChar(0x4ED8)));
    // The broadcast comes back to its sender too, so both histories hold the line.
    QTRY_COMPARE(a.chat.globalHistory(), b.chat.globalHistory());
}

void TestChat::invitationNotToItsSender()
{
    Peer &a = start(1, QStringLiteral("山田"));
    Peer &b = start(2, QStringLiteral("佐藤"));
    QSignalSpy invitedA(&a.chat, &ChatSession::invited);
    QSignalSpy invitedB(&b.chat, &ChatSession::invited);
    a.prompt.answers = {false};
    a.chat.invite();
    a.prompt.answers = {true};
    a.chat.invite();
    QCOMPARE(a.prompt.shown,
             QStringList(2, QStringLiteral("ﾈｯﾄﾜｰｸ上の参加者全員に、ﾁｬｯﾄ開始案内を送信します。")));
    QCOMPARE(a.prompt.titles, QStringList(2, QStringLiteral("送信確認")));
    QTRY_COMPARE(invitedB.size(), 1);
    QCOMPARE(invitedB.first().first().toString(), QStringLiteral("山田"));
    QTest::qWait(200);
    QCOMPARE(invitedA.size(), 0);
    QCOMPARE(invitedB.size(), 1);
}

void TestChat::clearAsks()
{
    Peer &a = start(1, QStringLiteral("山田"));
    a.chat.sendGlobal(QStringLiteral("one"));
    QTRY_COMPARE(a.chat.globalHistory().size(), 1);
    a.prompt.answers = {false};
    QVERIFY(!a.chat.clearGlobal());
    QCOMPARE(a.chat.globalHistory().size(), 1);
    a.prompt.answers = {true};
    QVERIFY(a.chat.clearGlobal());
    QVERIFY(a.chat.globalHistory().isEmpty());
    QCOMPARE(a.prompt.shown,
             QStringList(2, QStringLiteral("これまでのメッセージをすべて消去します。")));
    QCOMPARE(a.prompt.titles, QStringList(2, QStringLiteral("消去確認")));
}

void TestChat::historyKeepsTheNewest()
{
    Peer &a = start(1, QStringLiteral("山田"));
    QUdpSocket flood;
    QVERIFY(flood.bind(QHostAddress(Lo(4)), 0));
    const int n = ChatSession::HistoryLines + 3;
    for (int i = 0; i < n; ++i)
        flood.writeDatagram(Net::chatLine(Net::GlobalChat, QStringLiteral("x"), QString::number(i)),
                            QHostAddress(Lo(1)), m_port);
    QTRY_VERIFY(a.chat.globalHistory().size() == ChatSession::HistoryLines &&
                a.chat.globalHistory().last().endsWith(QString::number(n - 1)));
    QVERIFY(a.chat.globalHistory().first().endsWith(u" 3"));
}

QTEST_GUILESS_MAIN(TestChat)
#include "tst_chat.moc"
