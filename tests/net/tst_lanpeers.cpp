// Endpoints, chat and tags with real datagrams on loopback: peers on 127.0.0.1-3 with
// their own stores, bare sockets on 127.0.0.2-4 that listen or play a (hostile) peer.
#include "cp932.h"
#include "floodgate.h"
#include "lanpeer.h"
#include "manualclock.h"
#include "recordingdisplay.h"
#include "tagsender.h"
#include "tagwire.h"
#include "userselect.h"

#include <QFile>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;
using PrivateChat::Idle, PrivateChat::Talking;

Q_DECLARE_METATYPE(ResultLines)

namespace {
// The log's lines; a file whose lines do not all end in CR LF gives none.
QStringList logLines(LanPeer &p)
{
    QFile f(p.log.path());
    const QByteArray bytes = f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
    if (!bytes.endsWith("\r\n") || bytes.count("\r\n") != bytes.count('\n'))
        return {};
    return Cp932::decode(bytes).split(u"\r\n"_s, Qt::SkipEmptyParts);
}

void send(LanLoopback &lan, const QByteArray &bytes, int to = 1)
{
    QCOMPARE(lan.raw(4).writeDatagram(bytes, QHostAddress(Lo(to)), lan.port), bytes.size());
}

Net::TagDatagram wire(const QString &message, bool sealed = false, const QString &pw = {})
{
    TagRecord tag;
    tag.setMessage(message);
    Net::TagDatagram w = TagWireMap::toDatagram(tag);
    sealForSending(w, sealed, pw, u"127.0.0.1      "_s, u"山田"_s);
    return w;
}
} // namespace

class TestLanPeers : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<ResultLines>(); }
    void discoveryRestartAndLogout();
    void exactLogLines();
    void badAndOutsideDatagramsAreDropped();
    void bindFailureAndBoundedQueue();
    void privateTalkRefusalAndTimeout();
    void globalChatAndInvitation();
    void dummyDummyTagPerRecipient();
    void cancelBetweenRecipients();
    void receivedStartsNothingAndFloodsAreCut();
    void sealed_data();
    void sealed();

private:
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
};

void TestLanPeers::discoveryRestartAndLogout()
{
    LanLoopback lan(m_clock);
    lan.raw(4);
    LanPeer &alice = lan.peer(1);
    QSignalSpy seen(&alice.ep, &NetEndpoint::datagramReceived);
    QVERIFY(alice.ep.StartNetwork(loopbackConfig(lan.port, 1, u"alice"_s)));
    LanPeer &bob = lan.peer(2, u"bob"_s);
    LanPeer &yamada = lan.peer(3, u"山田"_s);
    for (LanPeer *p : {&alice, &bob, &yamada})
        QTRY_COMPARE(p->ep.participants().listed().size(), 2);
    // Alice heard each request once (her own back from the sweep too) and each answer once.
    QTRY_COMPARE(lan.starts, 3);
    QTRY_VERIFY(alice.ep.queuedDatagrams() == 0);
    QTest::qWait(100);
    QCOMPARE(lan.starts, 3);
    QVERIFY(lan.heard.isEmpty());
    int own = 0, requests = 0, answers = 0;
    for (const auto &args : seen) {
        const char code = args.at(1).toByteArray().at(0);
        own += args.at(0).toUInt() == Lo(1);
        requests += code == '\xFF';
        answers += code == '\xFE';
    }
    QCOMPARE(QList<int>({own, requests, answers}), QList<int>({1, 3, 2}));

    // Just after saving the settings neither a restart nor an exit sends a logout.
    QSignalSpy bobSees(&bob.ep, &NetEndpoint::datagramReceived);
    alice.ep.setSettingsSaved();
    alice.ep.RestartNetwork(loopbackConfig(lan.port, 1, u"alice"_s));
    QTRY_VERIFY(alice.ep.isStarted());
    QVERIFY(!alice.ep.settingsSaved());
    QTRY_VERIFY(bobSees.size() >= 1);
    yamada.ep.setSettingsSaved();
    yamada.ep.logoutAndStop();
    QTest::qWait(100);
    for (const auto &args : bobSees)
        QVERIFY(args.at(1).toByteArray() != Net::logout());
    QCOMPARE(bob.ep.participants().last(), 2);
    QCOMPARE(alice.ep.participants().listed().size(), 2);
    QVERIFY(!QFile::exists(alice.log.path())); // the log is off
}

void TestLanPeers::exactLogLines()
{
    LanLoopback lan(m_clock);
    lan.raw(4);
    lan.peer(1, u"alice"_s);
    lan.peer(2, u"bob"_s);
    LanPeer &p = lan.peer(3, u"山田"_s, true);
    QTRY_COMPARE(p.ep.participants().listed().size(), 2);
    QTRY_COMPARE(p.ep.queuedDatagrams(), 0);
    send(lan, QByteArray(3500, '0'), 3);
    send(lan, QByteArray(), 3);
    QTRY_COMPARE(p.ep.droppedCount(), quint64(2));
    p.ep.logoutAndStop();

    const QStringList lines = logLines(p);
    const QString v = Net::programVersion();
    const QString at = u"2024/05/01 10:00:00 "_s;
    // Its own sweep: one pair for 254 sends.
    const qsizetype sweep = lines.indexOf(
        at + u"127.0.0.1      ～127.0.0.254     Send-[Pinboard Start Req  ] 山田\t"_s + v);
    QVERIFY(sweep >= 0);
    QCOMPARE(lines.at(sweep + 1), at + u"Send Status:%1"_s.arg(6 + v.size()));
    for (const QString &line :
         {u"127.0.0.3       Recv-[Pinboard Start Req  ] :山田\t"_s + v,
          u"127.0.0.2       Send-[Start Request Answer] :山田\t"_s + v,
          u"127.0.0.1       Recv-[Start Request Answer] :alice\t"_s + v, u"Receive Status:3000"_s,
          u"127.0.0.4       Recv-[Tag Data Receive    ] :"_s + QString(2999, u'0'),
          u"127.0.0.4       Recv-[Tag Data Receive    ] :"_s, u"Receive Status:0"_s})
        QVERIFY2(lines.contains(at + line), qPrintable(line));
    QCOMPARE(lines.mid(lines.size() - 2),
             QStringList({at + u"127.0.0.1      ～127.0.0.254     Send-[User Logout(End Prg)] "_s,
                          at + u"Send Status:1"_s}));
    QCOMPARE(lines.size() % 2, 0);
}

void TestLanPeers::badAndOutsideDatagramsAreDropped()
{
    LanLoopback lan(m_clock);
    lan.raw(4);
    LanPeer &alice = lan.peer(1, u"alice"_s, true);
    QTRY_COMPARE(lan.starts, 1); // alice's start request
    send(lan, "\377\x81");
    QTRY_COMPARE(alice.ep.droppedCount(), quint64(1));
    // Its own sweep, its request back and the bad one, a pair each.
    QCOMPARE(logLines(alice).size(), 6);
    // From outside the swept network: counted, not logged, not answered; let in when asked to.
    QUdpSocket outsider;
    QVERIFY(outsider.bind(QHostAddress(u"127.0.1.9"_s), 0));
    outsider.writeDatagram("\377eve\t1", QHostAddress(Lo(1)), lan.port);
    QTRY_COMPARE(alice.ep.filteredCount(), quint64(1));
    QCOMPARE(alice.ep.participants().last(), 0);
    QCOMPARE(logLines(alice).size(), 6);
    NetConfig c = loopbackConfig(lan.port, 1, u"alice"_s);
    c.acceptOutside = true;
    QVERIFY(alice.ep.StartNetwork(c));
    outsider.writeDatagram("\377eve\t1", QHostAddress(Lo(1)), lan.port);
    QTRY_COMPARE(alice.ep.participants().last(), 1);
}

void TestLanPeers::bindFailureAndBoundedQueue()
{
    LanLoopback lan(m_clock);
    lan.raw(4);
    LanPeer &x = lan.peer(4);
    QVERIFY(!x.ep.StartNetwork(loopbackConfig(lan.port, 4, u"x"_s))); // the bare socket has it
    QCOMPARE(x.prompt.shown,
             QStringList(
                 u"ネットワークのスタートに失敗しました。ネットワークの再設定を行って下さい。"_s));
    QVERIFY(!x.ep.isStarted());

    LanPeer &alice = lan.peer(1, u"alice"_s, true);
    // The start sweep is one job; fill the rest without letting the loop run.
    for (int i = 0; i < NetEndpoint::MaxQueued + 9; ++i)
        alice.ep.SendDatagram(Lo(4), Net::nameOnly(Net::PrivateChatOk, u"alice"_s),
                              Net::label(Net::PrivateChatOk));
    QCOMPARE(alice.ep.queuedDatagrams(), 254 + NetEndpoint::MaxQueued - 1);
    QCOMPARE(logLines(alice).filter(u" Send Status:-1"_s).size(), 10);
    QTRY_COMPARE(alice.ep.queuedDatagrams(), 0);
}

void TestLanPeers::privateTalkRefusalAndTimeout()
{
    LanLoopback lan(m_clock);
    LanPeer &a = lan.peer(1, u"山田"_s);
    LanPeer &b = lan.peer(2, u"佐藤"_s);
    LanPeer &c = lan.peer(3, u"鈴木"_s);
    QSignalSpy openedA(&a.chat, &ChatSession::privateOpened);
    QSignalSpy openedB(&b.chat, &ChatSession::privateOpened);
    QVERIFY(a.chat.requestPrivate(Lo(2), u"佐藤"_s));
    QTRY_COMPARE(openedA.size(), 1);
    QCOMPARE(openedA.first().first().toString(), u"Private NetWork Chat (From 佐藤)"_s);
    QCOMPARE(openedB.first().first().toString(), u"Private NetWork Chat (From 山田)"_s);
    QVERIFY(a.chat.sendPrivate(u"こんにちは\r\n"_s));
    // 山田 is 4 bytes: 9 blanks fill the 13-byte name column.
    const QString line = u"山田"_s + QString(9, u' ') + u"こんにちは"_s;
    QTRY_COMPARE(b.chat.privateHistory(), QStringList{line});

    // 佐藤 is busy: 鈴木 is refused at once, and the talk goes on.
    QSignalSpy failed(&c.chat, &ChatSession::requestFailed);
    c.chat.requestPrivate(Lo(2), u"佐藤"_s);
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(c.prompt.shown, QStringList{u"相手先は、既に他の人とプライベートチャットをしています。"
                                         u"しばらく待ってから再度試して下さい。"_s});
    QCOMPARE(c.chat.PrivateChatState(), Idle);
    QCOMPARE(b.chat.PrivateChatState(), Talking);
    QCOMPARE(b.chat.partnerAddress(), Lo(1));
    QVERIFY(a.prompt.shown.isEmpty() && b.prompt.shown.isEmpty());

    // Nobody on 127.0.0.5: the request times out.
    c.chat.setAnswerMs(150);
    c.chat.requestPrivate(Lo(5), u"誰か"_s);
    QTRY_COMPARE(failed.size(), 2);
    QCOMPARE(c.prompt.shown.last(),
             u"相手先から応答がありません。既に退出している可能性があります。"_s);
    QCOMPARE(c.chat.PrivateChatState(), Idle);
}

void TestLanPeers::globalChatAndInvitation()
{
    LanLoopback lan(m_clock);
    LanPeer &a = lan.peer(1, u"山田"_s);
    LanPeer &b = lan.peer(2, u"佐藤"_s);
    QSignalSpy heard(&b.chat, &ChatSession::globalLine);
    QSignalSpy invitedA(&a.chat, &ChatSession::invited);
    QSignalSpy invitedB(&b.chat, &ChatSession::invited);
    const QString text = QString(142, QChar(0x4ED8)); // 284 bytes
    QVERIFY(!a.chat.sendGlobal(text + u'x'));
    QCOMPARE(a.prompt.shown,
             QStringList{u"送信するメッセージが長すぎます。（漢字で140文字以内）"_s});
    QVERIFY(a.chat.sendGlobal(text + u"\r\n"_s));
    QTRY_COMPARE(heard.size(), 1);
    QCOMPARE(heard.first().first().toString(), u"山田"_s + QString(9, u' ') + text);
    // The broadcast comes back to its sender too, so both histories hold the line.
    QTRY_COMPARE(a.chat.globalHistory(), b.chat.globalHistory());

    a.prompt.shown.clear();
    a.prompt.answers = {false, true};
    a.chat.invite();
    a.chat.invite();
    QCOMPARE(a.prompt.shown,
             QStringList(2, u"ﾈｯﾄﾜｰｸ上の参加者全員に、ﾁｬｯﾄ開始案内を送信します。"_s));
    QTRY_COMPARE(invitedB.size(), 1);
    QCOMPARE(invitedB.first().first().toString(), u"山田"_s);
    QTest::qWait(200);
    QCOMPARE(heard.size(), 1);    // the refused line never went
    QCOMPARE(invitedA.size(), 0); // not to its sender
    QCOMPARE(invitedB.size(), 1);
}

void TestLanPeers::dummyDummyTagPerRecipient()
{
    LanLoopback lan(m_clock);
    for (int host : {2, 3, 4})
        lan.raw(host);
    LanPeer &a = lan.peer(1, u"山田"_s, true);
    const Net::TagDatagram w = wire(u"Lunch at 12"_s);
    TagSender sender(a.ep);
    QSignalSpy done(&sender, &TagSender::finished);
    QVERIFY(sender.start(w, {Lo(3), Lo(2), Lo(4)}));
    QVERIFY(!sender.start(w, {Lo(2)})); // one send at a time
    QTRY_COMPARE(done.size(), 1);
    QCOMPARE(done.first(), (QVariantList{3, false}));
    QTRY_COMPARE(lan.heard.size(), 9);
    // Each recipient hears dummy, dummy, tag; the next one's second dummy comes a
    // pause after the previous one's tag (its first may pass that tag on the way).
    QList<QByteArray> per[5];
    QList<int> secondDummy, tagAt;
    for (int i = 0; i < lan.heard.size(); ++i) {
        const auto &[host, bytes] = lan.heard[i];
        per[host] << bytes;
        if (per[host].size() > 1)
            (per[host].size() == 2 ? secondDummy : tagAt) << i;
    }
    for (int host : {2, 3, 4})
        QVERIFY(per[host] == (QList<QByteArray>{"\011Dummy Send", "\011Dummy Send", w.bytes()}));
    QCOMPARE((QList<int>{lan.heard[tagAt[0]].first, lan.heard[tagAt[1]].first,
                         lan.heard[tagAt[2]].first}),
             (QList<int>{3, 2, 4}));
    QVERIFY(tagAt[0] < secondDummy[1] && tagAt[1] < secondDummy[2]);
    QCOMPARE(w.bytes().mid(170, 24), QByteArray("0        127.0.0.1      "));
    // One log pair per tag, with the whole 1600-character message field; no dummies.
    QFile logFile(a.files.log);
    QVERIFY(logFile.open(QIODevice::ReadOnly));
    const QString log = QString::fromLatin1(logFile.readAll());
    for (int host : {3, 2, 4})
        QVERIFY(log.contains(u"2024/05/01 10:00:00 127.0.0.%1       Send-[Tag Data] "_s.arg(host) +
                             u"Lunch at 12"_s.leftJustified(1600, u' ') +
                             u"\r\n2024/05/01 10:00:00 Send Status:2000\r\n"_s));
    QVERIFY(!log.contains(u"Dummy"_s));
}

// cmd_Cancel lets the recipient being served have the whole sequence, no further one.
void TestLanPeers::cancelBetweenRecipients()
{
    LanLoopback lan(m_clock);
    LanPeer &a = lan.peer(1, u"山田"_s, true);
    for (int host : {2, 3})
        lan.raw(host).writeDatagram(Net::startAnswer(u"r%1"_s.arg(host), {}), QHostAddress(Lo(1)),
                                    lan.port);
    QTRY_COMPARE(a.ep.participants().last(), 2);
    UserSelect dialog(a.ep, a.prompt, wire(u"x"_s));
    QSignalSpy sent(&dialog, &UserSelect::sent);
    dialog.findChild<QListWidget *>(u"lst_User"_s)->selectAll();
    dialog.findChild<QPushButton *>(u"cmd_OK"_s)->click();
    QTRY_COMPARE(lan.heard.size(), 1); // the first dummy: the dialog is still open and answers
    dialog.findChild<QPushButton *>(u"cmd_Cancel"_s)->click();
    QTRY_COMPARE(sent.size(), 1);
    QCOMPARE(sent.first(), (QVariantList{1, true}));
    QTest::qWait(400);
    QCOMPARE(lan.heardBy(2).size(), 3);
    QCOMPARE(lan.heard.size(), 3);
    QVERIFY(a.prompt.shown.isEmpty());
}

// A stranger's tag is stored, answered and starts nothing but the beep; a flood is cut.
void TestLanPeers::receivedStartsNothingAndFloodsAreCut()
{
    LanLoopback lan(m_clock);
    LanPeer &b = lan.peer(2, u"佐藤"_s, true);
    TagRecord tag;
    for (int f : {Tag::OpenFileFlag, Tag::MailFlag, Tag::SoundFlag})
        tag.setByte(f, 1);
    tag.setText(Tag::FilePath, u"/usr/bin/xterm"_s);
    tag.setMessage(u"open me"_s);
    const QByteArray bytes = TagWireMap::toDatagram(tag).bytes();
    QSignalSpy arrived(&b.tags, &NetTags::tagArrived);
    lan.raw(4).writeDatagram(bytes, QHostAddress(Lo(2)), lan.port);
    QTRY_COMPARE(arrived.size(), 1);
    // Unknown to the table: the sender is named by its address, and answered there.
    const auto got = b.store.readTag(1);
    QCOMPARE(got->text(Tag::SenderName) + got->text(Tag::SenderAddress) + got->tagNumber(),
             u"127.0.0.4127.0.0.400001"_s);
    const QPair<int, QByteArray> receipt(4, "\002" + Cp932::encode(u"佐藤"));
    QTRY_VERIFY(lan.heard.contains(receipt));
    // The desktop shows it with the arrival beep; no file is opened, no mail sent.
    RecordingDisplay desk;
    SchedulerTimer timer;
    Scheduler scheduler(b.store, m_clock, b.prompt, desk, timer);
    scheduler.loadAll();
    QCOMPARE(desk.take(), QStringList{u"show 1"_s});
    scheduler.dropTag(1);
    scheduler.tagChanged(1);
    QCOMPARE(desk.take(), (QStringList{u"down 1"_s, u"show 1"_s, u"beep"_s, u"blink"_s}));

    for (int i = 0; i < 40; ++i) {
        lan.raw(4).writeDatagram(bytes, QHostAddress(Lo(2)), lan.port);
        QTest::qWait(2); // loopback drops what a full buffer cannot take
    }
    QTRY_COMPARE(b.store.tagCount(), FloodGate::TagsPerSource);
    QTRY_COMPARE(lan.heard.count(receipt), FloodGate::TagsPerSource);
    QTest::qWait(200);
    QCOMPARE(b.store.tagCount(), FloodGate::TagsPerSource);
    QCOMPARE(lan.heard.count(receipt), FloodGate::TagsPerSource);
    lan.raw(3).writeDatagram(bytes, QHostAddress(Lo(2)), lan.port); // another address is heard
    QTRY_COMPARE(b.store.tagCount(), FloodGate::TagsPerSource + 1);
}

void TestLanPeers::sealed_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("discard");
    QTest::addColumn<QVariant>("answer"); // the typed password (or null: cancel), or Yes/No
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<int>("confirmation");
    const QString ask = u"この付箋を開くにはパスワードが必要です。パスワードを入力して下さい。"_s;
    const QStringList wrong{ask, u"パスワードが正しくありません。"_s};
    const QStringList discard{u"山田から送られた付箋を開かずに廃棄します。よろしいですか？"_s};
    const QString pw = u"Ab 1"_s;
    QTest::newRow("no password opens at once")
        << QString() << false << QVariant() << QStringList() << 10;
    QTest::newRow("right password") << pw << false << QVariant(pw) << QStringList{ask} << 10;
    QTest::newRow("wrong case") << pw << false << QVariant(u"ab 1"_s) << wrong << 0;
    QTest::newRow("prompt cancelled") << pw << false << QVariant() << QStringList{ask} << 0;
    QTest::newRow("discard, Yes") << pw << true << QVariant(true) << discard << 11;
    QTest::newRow("discard, No") << QString() << true << QVariant(false) << discard << 0;
}

void TestLanPeers::sealed()
{
    LanLoopback lan(m_clock);
    QFETCH(QString, password);
    QFETCH(bool, discard);
    QFETCH(QVariant, answer);
    QFETCH(int, confirmation);
    LanPeer &a = lan.peer(1, u"山田"_s, true);
    LanPeer &b = lan.peer(2, u"佐藤"_s, true);
    QSignalSpy sealedSpy(&b.tags, &NetTags::sealedArrived);
    QSignalSpy results(&a.tags, &NetTags::confirmationArrived);
    TagSender sender(a.ep);
    sender.start(wire(u"昇給のお知らせ"_s, true, password), {Lo(2)});
    QTRY_COMPARE(sealedSpy.size(), 1);
    const int k = sealedSpy.first().first().toInt();
    QCOMPARE(b.store.readTag(k)->text(Tag::Password), password);
    QTRY_COMPARE(a.tags.receipts(), QStringList{u"佐藤 Received"_s});
    if (discard) {
        b.prompt.answers = {answer.toBool()};
        QCOMPARE(b.tags.discardSealed(k), confirmation != 0);
    } else {
        if (!password.isEmpty())
            b.prompt.textAnswers = {answer.isNull() ? std::nullopt
                                                    : std::optional<QString>(answer.toString())};
        QCOMPARE(b.tags.openSealed(k) == NetTags::Opened::Opened, confirmation != 0);
    }
    QTEST(b.prompt.shown, "shown");
    const auto after = b.store.readTag(k);
    QCOMPARE(after->stateMark(), confirmation == 11 ? u"D"_s : u"0"_s);
    QCOMPARE(after->byte(Tag::SealedFlag), confirmation != 0 ? 0 : 1);
    if (confirmation == 10)
        QCOMPARE(after->text(Tag::Password), QString());
    QCOMPARE(isHeldSealed(*after), confirmation == 0);
    if (confirmation != 0) {
        QTRY_COMPARE(results.size(), 1);
        const bool o = confirmation == 10;
        QCOMPARE(results.first().first().value<ResultLines>(),
                 (ResultLines{o ? u"以下に示す付箋が開封されました。"_s
                                : u"以下に示す付箋が開封せずに廃棄されました。"_s,
                              o ? u"佐藤から開封確認が届きました。"_s
                                : u"佐藤から廃棄確認が届きました。"_s,
                              u"昇給のお知らせ"_s}));
    }
    QTest::qWait(300);
    QCOMPARE(results.size(), confirmation != 0 ? 1 : 0);
}

QTEST_MAIN(TestLanPeers)
#include "tst_lanpeers.moc"
