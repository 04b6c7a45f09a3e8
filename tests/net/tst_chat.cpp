// Global and private chat between endpoints on 127.0.0.1-3 (127.0.0.5 stays
// silent), and the private chat's state table.
#include "lanpeer.h"
#include "manualclock.h"

#include <QSignalSpy>
#include <QTest>

using namespace PrivateChat;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(PrivateChat::State)
Q_DECLARE_METATYPE(PrivateChat::Event)
Q_DECLARE_METATYPE(PrivateChat::Action)

class TestChat : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void transitions_data();
    void transitions();
    void privateTalkRefusalAndTimeout();
    void globalLinesAndLimit();
    void invitationAndClearAsk();

private:
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
};

void TestChat::transitions_data()
{
    QTest::addColumn<State>("state");
    QTest::addColumn<Event>("event");
    QTest::addColumn<State>("then");
    QTest::addColumn<Action>("action");
    auto row = [](const char *tag, State s, Event e, State then, Action a) {
        QTest::newRow(tag) << s << e << then << a;
    };
    row("idle asks", Idle, Event::Request, Requesting, Action::SendRequest);
    row("asking asks again", Requesting, Event::Request, Requesting, Action::None);
    row("OK while asking", Requesting, Event::AnswerOk, Talking, Action::OpenChat);
    row("late OK", Idle, Event::AnswerOk, Idle, Action::None);
    row("NG while asking", Requesting, Event::AnswerNg, Idle, Action::TellBusy);
    row("NG while talking", Talking, Event::AnswerNg, Talking, Action::None);
    row("deadline while asking", Requesting, Event::Deadline, Idle, Action::TellNoAnswer);
    row("deadline after OK", Talking, Event::Deadline, Talking, Action::None);
    row("request to idle", Idle, Event::IncomingRequest, Talking, Action::Accept);
    row("request while asking", Requesting, Event::IncomingRequest, Requesting, Action::Refuse);
    row("request while talking", Talking, Event::IncomingRequest, Talking, Action::Refuse);
    row("partner leaves", Talking, Event::PartnerLeft, Idle, Action::CloseChat);
    row("stray logout", Idle, Event::PartnerLeft, Idle, Action::None);
    row("we leave", Talking, Event::Leave, Idle, Action::SendLogout);
    row("leave when idle", Idle, Event::Leave, Idle, Action::None);
}

void TestChat::transitions()
{
    QFETCH(State, state);
    QFETCH(Event, event);
    QFETCH(State, then);
    QFETCH(Action, action);
    QCOMPARE(next(state, event), (Step{then, action}));
}

void TestChat::privateTalkRefusalAndTimeout()
{
    LanLoopback lan(m_clock);
    LanPeer &a = lan.peer(1, u"山田"_s);
    LanPeer &b = lan.peer(2, u"佐藤"_s);
    LanPeer &c = lan.peer(3, u"鈴木"_s);
    QSignalSpy openedA(&a.chat, &ChatSession::privateOpened);
    QSignalSpy openedB(&b.chat, &ChatSession::privateOpened);
    QVERIFY(a.chat.requestPrivate(Lo(2), u"佐藤"_s));
    QCOMPARE(a.chat.PrivateChatState(), Requesting);
    QVERIFY(!a.chat.requestPrivate(Lo(3), u"鈴木"_s)); // one at a time
    QTRY_COMPARE(openedA.size(), 1);
    QCOMPARE(openedA.first().first().toString(), u"Private NetWork Chat (From 佐藤)"_s);
    QCOMPARE(openedB.first().first().toString(), u"Private NetWork Chat (From 山田)"_s);
    QCOMPARE(a.chat.PrivateChatState(), Talking);
    QCOMPARE(b.chat.PrivateChatState(), Talking);
    QCOMPARE(b.chat.partnerAddress(), Lo(1));
    QVERIFY(a.chat.sendPrivate(u"こんにちは\r\n"_s));
    // 山田 is 4 bytes: 9 blanks fill the 13-byte name column.
    const QString line = u"山田"_s + QString(9, u' ') + u"こんにちは"_s;
    QTRY_COMPARE(b.chat.privateHistory(), QStringList{line});
    QCOMPARE(a.chat.privateHistory(), QStringList{line});

    // 佐藤 is busy: 鈴木 is refused at once, and the talk goes on.
    QSignalSpy failed(&c.chat, &ChatSession::requestFailed);
    c.chat.requestPrivate(Lo(2), u"佐藤"_s);
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(c.prompt.shown, QStringList{ChatSession::busyText()});
    QCOMPARE(ChatSession::busyText(), u"相手先は、既に他の人とプライベートチャットをしています。"
                                      u"しばらく待ってから再度試して下さい。"_s);
    QCOMPARE(c.chat.PrivateChatState(), Idle);
    QCOMPARE(b.chat.partnerAddress(), Lo(1));
    QCOMPARE(b.chat.PrivateChatState(), Talking);

    QVERIFY(a.prompt.shown.isEmpty() && b.prompt.shown.isEmpty()); // tst_lanmain leaves

    // Nobody on 127.0.0.5: the request times out.
    c.chat.setAnswerMs(150);
    c.chat.requestPrivate(Lo(5), u"誰か"_s);
    QTRY_COMPARE(failed.size(), 2);
    QCOMPARE(c.prompt.shown.last(),
             u"相手先から応答がありません。既に退出している可能性があります。"_s);
    QCOMPARE(c.chat.PrivateChatState(), Idle);
}

void TestChat::globalLinesAndLimit()
{
    LanLoopback lan(m_clock);
    LanPeer &a = lan.peer(1, u"山田"_s);
    LanPeer &b = lan.peer(2, u"佐藤"_s);
    QSignalSpy heard(&b.chat, &ChatSession::globalLine);
    const QString text = QString(142, QChar(0x4ED8)); // 284 bytes
    QVERIFY(!a.chat.sendGlobal(text + u'x'));
    QCOMPARE(a.prompt.shown,
             QStringList{u"送信するメッセージが長すぎます。（漢字で140文字以内）"_s});
    QVERIFY(a.chat.sendGlobal(text + u"\r\n"_s));
    QTRY_COMPARE(heard.size(), 1);
    QCOMPARE(heard.first().first().toString(), u"山田"_s + QString(9, u' ') + text);
    // The broadcast comes back to its sender too, so both histories hold the line.
    QTRY_COMPARE(a.chat.globalHistory(), b.chat.globalHistory());
    QTest::qWait(200);
    QCOMPARE(heard.size(), 1); // the refused line never went

    // A flood of lines: the history keeps the newest.
    QUdpSocket flood;
    QVERIFY(flood.bind(QHostAddress(Lo(4)), 0));
    const int n = ChatSession::HistoryLines + 3;
    for (int i = 0; i < n; ++i)
        flood.writeDatagram(Net::chatLine(Net::GlobalChat, u"x"_s, QString::number(i)),
                            QHostAddress(Lo(2)), lan.port);
    QTRY_VERIFY(b.chat.globalHistory().size() == ChatSession::HistoryLines &&
                b.chat.globalHistory().last().endsWith(QString::number(n - 1)));
    QVERIFY(b.chat.globalHistory().first().endsWith(u" 3"));
}

void TestChat::invitationAndClearAsk()
{
    LanLoopback lan(m_clock);
    LanPeer &a = lan.peer(1, u"山田"_s);
    LanPeer &b = lan.peer(2, u"佐藤"_s);
    QSignalSpy invitedA(&a.chat, &ChatSession::invited);
    QSignalSpy invitedB(&b.chat, &ChatSession::invited);
    a.prompt.answers = {false, true};
    a.chat.invite();
    a.chat.invite();
    QCOMPARE(a.prompt.shown,
             QStringList(2, u"ﾈｯﾄﾜｰｸ上の参加者全員に、ﾁｬｯﾄ開始案内を送信します。"_s));
    QCOMPARE(a.prompt.titles, QStringList(2, u"送信確認"_s));
    QTRY_COMPARE(invitedB.size(), 1);
    QCOMPARE(invitedB.first().first().toString(), u"山田"_s);
    QTest::qWait(200);
    QCOMPARE(invitedA.size(), 0); // not to its sender
    QCOMPARE(invitedB.size(), 1);

    b.chat.sendGlobal(u"one"_s);
    QTRY_COMPARE(b.chat.globalHistory().size(), 1);
    b.prompt.answers = {false, true};
    QVERIFY(!b.chat.clearGlobal());
    QCOMPARE(b.chat.globalHistory().size(), 1);
    QVERIFY(b.chat.clearGlobal());
    QVERIFY(b.chat.globalHistory().isEmpty());
    QCOMPARE(b.prompt.shown, QStringList(2, u"これまでのメッセージをすべて消去します。"_s));
    QCOMPARE(b.prompt.titles, QStringList(2, u"消去確認"_s));
}

QTEST_GUILESS_MAIN(TestChat)
#include "tst_chat.moc"
