// Three endpoints on 127.0.0.1-3 that sweep 127.0.0.255, and a bare socket on
// 127.0.0.4 that plays a hostile peer. Nothing leaves loopback.
#include "cp932.h"
#include "lanpeer.h"
#include "manualclock.h"
#include "netlog.h"

#include <QFile>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
// Each handler call as "what@host".
struct Recorder : TagReceiver, ChatReceiver, ConfirmationReceiver
{
    void receiveTag(const Net::TagDatagram &r, quint32 from) override
    {
        add(r.text(Net::TagWire::Message), from);
    }
    void tagReceipt(const Net::Message &m, quint32 from) override { add(m.text, from); }
    void chat(const Net::Message &m, quint32 from) override { add(QString::number(m.code), from); }
    void confirmation(const Net::Message &m, quint32 from) override
    {
        add(m.name + u'|' + m.text, from);
    }
    void add(const QString &what, quint32 from)
    {
        got << what + u'@' + QString::number(from & 0xFF);
    }
    QStringList got;
};

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
} // namespace

class TestNetEndpoint : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void discoveryRestartAndLogout();
    void exactLogLines();
    void hostileAndOutsideDatagramsAreDropped();
    void floodGrowsTableByOne();
    void handlersGetTheirDatagrams();
    void bindFailureAndBoundedQueue();

private:
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
};

void TestNetEndpoint::discoveryRestartAndLogout()
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
    const ParticipantTable &t = yamada.ep.participants();
    QStringList names;
    for (int i : t.listed())
        names << t.at(i).name + u'@' + NetLog::AddrToText(t.at(i).address).trimmed() + u' ' +
                     t.at(i).version;
    names.sort();
    const QString v = Net::programVersion();
    QCOMPARE(names, QStringList({u"alice@127.0.0.1 "_s + v, u"bob@127.0.0.2 "_s + v}));
    // The bare socket saw three start requests and no answer: it asked nothing.
    QTRY_COMPARE(lan.starts, 3);
    // Alice hears each request once (her own back from the sweep too) and each answer once.
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
    QCOMPARE(alice.ep.participants().last(), 2);

    // A restart after saving the settings sends no logout; the tables keep one entry each.
    QSignalSpy bobSees(&bob.ep, &NetEndpoint::datagramReceived);
    alice.ep.setSettingsSaved();
    alice.ep.RestartNetwork(loopbackConfig(lan.port, 1, u"alice"_s));
    QVERIFY(!alice.ep.isStarted());
    QTRY_VERIFY(alice.ep.isStarted());
    QVERIFY(!alice.ep.settingsSaved());
    QTRY_VERIFY(bobSees.size() >= 1);
    // While the settings are just saved, exit sends no logout either.
    yamada.ep.setSettingsSaved();
    yamada.ep.logoutAndStop();
    QTest::qWait(100);
    for (const auto &args : bobSees)
        QVERIFY(args.at(1).toByteArray() != Net::logout());
    QCOMPARE(alice.ep.participants().last(), 2);
    QCOMPARE(bob.ep.participants().last(), 2);
    QCOMPARE(alice.ep.participants().listed().size(), 2);

    // bob leaves and comes back under a new name: a new entry after his blanked one.
    bob.ep.logoutAndStop();
    QVERIFY(!bob.ep.isStarted());
    QTRY_COMPARE(alice.ep.participants().listed().size(), 1);
    QCOMPARE(alice.ep.participants().find(Lo(2)), 0);
    QVERIFY(bob.ep.StartNetwork(loopbackConfig(lan.port, 2, u"bob2"_s)));
    QTRY_COMPARE(alice.ep.participants().listed().size(), 2);
    QCOMPARE(alice.ep.participants().at(3).name, u"bob2"_s);
    // With the log off, no log file is made.
    QVERIFY(!QFile::exists(alice.log.path()));
}

void TestNetEndpoint::exactLogLines()
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

void TestNetEndpoint::hostileAndOutsideDatagramsAreDropped()
{
    LanLoopback lan(m_clock);
    lan.raw(4);
    LanPeer &alice = lan.peer(1, u"alice"_s, true);
    QTRY_COMPARE(lan.starts, 1); // alice's start request
    const QByteArray bad[] = {
        "\377\x81",  "\001tail", "0" + QByteArray(1500, ' '),  "\377\t1",
        "\012short", "\375x",    "\003" + QByteArray(40, 'n'), QByteArray(1, '\x82')};
    for (const QByteArray &b : bad)
        send(lan, b);
    QTRY_COMPARE(alice.ep.droppedCount(), quint64(std::size(bad)));
    QCOMPARE(alice.ep.participants().last(), 0);
    // Still listening and answering.
    send(lan, "\377mallory\t1.0.0");
    QTRY_COMPARE(lan.heardBy(4),
                 QList<QByteArray>{Net::startAnswer(u"alice"_s, Net::programVersion())});
    QCOMPARE(alice.ep.participants().listed().size(), 1);
    // A pair for each bad one, its own sweep, its request back, the good one and the answer.
    const int logged = 2 * (int(std::size(bad)) + 4);
    QCOMPARE(logLines(alice).size(), logged);

    // From outside the swept network: counted, not logged, not answered; let in when asked to.
    QUdpSocket outsider;
    QVERIFY(outsider.bind(QHostAddress(u"127.0.1.9"_s), 0));
    outsider.writeDatagram("\377eve\t1", QHostAddress(Lo(1)), lan.port);
    QTRY_COMPARE(alice.ep.filteredCount(), quint64(1));
    QCOMPARE(alice.ep.participants().last(), 1);
    QCOMPARE(logLines(alice).size(), logged);
    NetConfig c = loopbackConfig(lan.port, 1, u"alice"_s);
    c.acceptOutside = true;
    QVERIFY(alice.ep.StartNetwork(c));
    outsider.writeDatagram("\377eve\t1", QHostAddress(Lo(1)), lan.port);
    QTRY_COMPARE(alice.ep.participants().last(), 2);
}

void TestNetEndpoint::floodGrowsTableByOne()
{
    LanLoopback lan(m_clock);
    lan.raw(4);
    LanPeer &alice = lan.peer(1, u"alice"_s);
    QTRY_COMPARE(lan.starts, 1);
    constexpr int Flood = 200;
    for (int i = 0; i < Flood; ++i)
        send(lan, "\377m" + QByteArray::number(i) + "\t1");
    QTRY_COMPARE(lan.heardBy(4).size(), Flood);
    QTest::qWait(200);
    QCOMPARE(lan.heardBy(4),
             QList<QByteArray>(Flood, Net::startAnswer(u"alice"_s, Net::programVersion())));
    QCOMPARE(alice.ep.participants().last(), 1);
    QCOMPARE(alice.ep.participants().at(1).name, u"m0"_s);
}

void TestNetEndpoint::handlersGetTheirDatagrams()
{
    LanLoopback lan(m_clock);
    lan.raw(4);
    LanPeer &alice = lan.peer(1);
    Recorder r;
    alice.ep.setTagReceiver(&r);
    alice.ep.setChatReceiver(&r);
    alice.ep.setConfirmationReceiver(&r);
    QVERIFY(alice.ep.StartNetwork(loopbackConfig(lan.port, 1, u"alice"_s)));
    Net::TagDatagram tag;
    tag.setText(Net::TagWire::Message, u"こんにちは"_s);
    send(lan, tag.bytes());
    send(lan, Net::chatLine(Net::GlobalChat, u"m"_s, u"hi"_s));
    send(lan, Net::nameOnly(Net::PrivateChatRequest, u"m"_s));
    send(lan, Net::confirmation(Net::OpeningConfirmation, u"m"_s, u"memo"_s));
    send(lan, "\002m 00001");
    send(lan, Net::dummy());
    // Her own invitation coming back from the sweep is not shown to her.
    alice.ep.BroadcastDatagram(Net::nameOnly(Net::GlobalChatRequest, u"alice"_s),
                               Net::label(Net::GlobalChatRequest));
    send(lan, Net::nameOnly(Net::GlobalChatRequest, u"m"_s));
    QTRY_COMPARE(r.got.size(), 6);
    QTest::qWait(100);
    QCOMPARE(r.got, QStringList({u"こんにちは@4"_s, u"253@4"_s, u"3@4"_s, u"m|memo@4"_s,
                                 u"m 00001@4"_s, u"8@4"_s}));
}

void TestNetEndpoint::bindFailureAndBoundedQueue()
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

QTEST_GUILESS_MAIN(TestNetEndpoint)
#include "tst_netendpoint.moc"
