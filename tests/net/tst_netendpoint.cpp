// Three endpoints on 127.0.0.1-3 that sweep 127.0.0.255, and a raw socket on
// 127.0.0.4 that plays a hostile peer. Nothing leaves loopback.
#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "datagram.h"
#include "loopback.h"
#include "manualclock.h"
#include "netendpoint.h"
#include "netlog.h"
#include "prompt.h"
#include "scriptedprompt.h"

#include <QDeadlineTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>
#include <memory>

namespace {
struct Peer
{
    Peer(const QString &logPath, const Clock &clock) : log(logPath, clock), ep(log, clock, prompt)
    {
    }
    CommLog log;
    ScriptedPrompt prompt;
    NetEndpoint ep;
};

class Recorder : public TagReceiver, public ChatReceiver, public ConfirmationReceiver
{
public:
    void receiveTag(const Net::TagDatagram &record, quint32 from) override
    {
        tags.append(record.bytes());
        froms.append(from);
    }
    void tagReceipt(const Net::Message &m, quint32) override { texts.append(m.text); }
    void chat(const Net::Message &m, quint32 from) override
    {
        codes.append(m.code);
        froms.append(from);
    }
    void confirmation(const Net::Message &m, quint32) override
    {
        texts.append(m.name + u'|' + m.text);
    }
    QList<QByteArray> tags;
    QList<int> codes;
    QList<quint32> froms;
    QStringList texts;
};
} // namespace

class TestNetEndpoint : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void discoveryAndAnswers();
    void logoutAndRelogin();
    void restartKeepsTableAndSendsNoLogout();
    void exactLogLines();
    void hostileDatagramsAreLoggedAndDropped();
    void outsideSourcesAreFiltered();
    void floodGrowsTableByOne();
    void handlersGetTheirDatagrams();
    void bindFailureIsReported();
    void sendQueueIsBounded();

private:
    NetConfig config(int host, const QString &name) const;
    void startAll();
    QList<QByteArray> rawReceive(int atLeast);
    void rawSend(const QByteArray &bytes, quint32 to = Lo(1));

    QTemporaryDir m_dir;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
    quint16 m_port = 0;
    std::unique_ptr<Peer> m_peers[3];
    std::unique_ptr<QUdpSocket> m_raw;
};

NetConfig TestNetEndpoint::config(int host, const QString &name) const
{
    return loopbackConfig(m_port, host, name);
}

void TestNetEndpoint::init()
{
    m_port = freeLoopbackPort();
    QVERIFY(m_port);
    for (int i = 0; i < 3; ++i)
        m_peers[i] =
            std::make_unique<Peer>(m_dir.filePath(QStringLiteral("p%1.log").arg(i + 1)), m_clock);
    m_raw = std::make_unique<QUdpSocket>();
    QVERIFY(m_raw->bind(QHostAddress(Lo(4)), m_port));
    m_raw->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 1 << 20);
}

void TestNetEndpoint::cleanup()
{
    for (auto &p : m_peers)
        p.reset();
    m_raw.reset();
    for (const QString &f : QDir(m_dir.path()).entryList(QDir::Files))
        QFile::remove(m_dir.filePath(f));
}

void TestNetEndpoint::startAll()
{
    const QString names[] = {QStringLiteral("alice"), QStringLiteral("bob"),
                             QStringLiteral("山田")};
    for (int i = 0; i < 3; ++i)
        QVERIFY(m_peers[i]->ep.StartNetwork(config(i + 1, names[i])));
    for (auto &p : m_peers)
        QTRY_COMPARE(p->ep.participants().listed().size(), 2);
}

QList<QByteArray> TestNetEndpoint::rawReceive(int atLeast)
{
    QList<QByteArray> got;
    QDeadlineTimer deadline(5000);
    do {
        while (m_raw->hasPendingDatagrams()) {
            QByteArray b(int(m_raw->pendingDatagramSize()), Qt::Uninitialized);
            m_raw->readDatagram(b.data(), b.size());
            got.append(b);
        }
        if (got.size() >= atLeast)
            break;
        QTest::qWait(10);
    } while (!deadline.hasExpired());
    return got;
}

void TestNetEndpoint::rawSend(const QByteArray &bytes, quint32 to)
{
    QCOMPARE(m_raw->writeDatagram(bytes, QHostAddress(to), m_port), qint64(bytes.size()));
}

void TestNetEndpoint::discoveryAndAnswers()
{
    QSignalSpy seen(&m_peers[0]->ep, &NetEndpoint::datagramReceived);
    startAll();
    const ParticipantTable &t = m_peers[2]->ep.participants();
    QStringList names;
    for (int i : t.listed())
        names << t.at(i).name + u'@' + NetLog::AddrToText(t.at(i).address).trimmed() + u' ' +
                     t.at(i).version;
    names.sort();
    QCOMPARE(names, QStringList({QStringLiteral("alice@127.0.0.1 ") + Net::programVersion(),
                                 QStringLiteral("bob@127.0.0.2 ") + Net::programVersion()}));
    // The raw peer saw three start requests and no answer: it asked nothing.
    const QList<QByteArray> raw = rawReceive(3);
    QCOMPARE(raw.size(), 3);
    for (const QByteArray &b : raw)
        QCOMPARE(uchar(b.at(0)), uchar(0xFF));
    // Alice gets each request of the others once and each answer once: her own
    // request is not answered by herself.
    QTRY_VERIFY(m_peers[0]->ep.queuedDatagrams() == 0);
    QTest::qWait(100);
    int requests = 0, answers = 0, own = 0;
    for (const auto &args : seen) {
        const QByteArray b = args.at(1).toByteArray();
        own += args.at(0).toUInt() == Lo(1);
        requests += uchar(b.at(0)) == 0xFF;
        answers += uchar(b.at(0)) == 0xFE;
    }
    QCOMPARE(own, 1);      // her own request, back from the sweep
    QCOMPARE(requests, 3); // hers and the two others'
    QCOMPARE(answers, 2);
    QCOMPARE(m_peers[0]->ep.participants().last(), 2);
}

void TestNetEndpoint::logoutAndRelogin()
{
    startAll();
    m_peers[1]->ep.logoutAndStop();
    QVERIFY(!m_peers[1]->ep.isStarted());
    QTRY_COMPARE(m_peers[0]->ep.participants().listed().size(), 1);
    QTRY_COMPARE(m_peers[2]->ep.participants().listed().size(), 1);
    QCOMPARE(m_peers[0]->ep.participants().find(Lo(2)), 0);
    QVERIFY(m_peers[1]->ep.StartNetwork(config(2, QStringLiteral("bob2"))));
    QTRY_COMPARE(m_peers[0]->ep.participants().listed().size(), 2);
    const ParticipantTable &t = m_peers[0]->ep.participants();
    QCOMPARE(t.last(), 3);
    QCOMPARE(t.at(t.find(Lo(2))).name, QStringLiteral("bob2"));
    // The one that came back knows the others again.
    QTRY_COMPARE(m_peers[1]->ep.participants().listed().size(), 2);
    // With the log off, no log file is made.
    QVERIFY(QDir(m_dir.path()).entryList(QDir::Files).isEmpty());
}

void TestNetEndpoint::restartKeepsTableAndSendsNoLogout()
{
    startAll();
    QSignalSpy bobSees(&m_peers[1]->ep, &NetEndpoint::datagramReceived);
    m_peers[0]->ep.setSettingsSaved();
    m_peers[0]->ep.RestartNetwork(config(1, QStringLiteral("alice")));
    QVERIFY(!m_peers[0]->ep.isStarted());
    QTRY_VERIFY(m_peers[0]->ep.isStarted());
    QVERIFY(!m_peers[0]->ep.settingsSaved());
    // Bob answers the new request; nobody saw a logout, so nobody was blanked.
    QTRY_VERIFY(bobSees.size() >= 1);
    QTest::qWait(100);
    for (const auto &args : bobSees)
        QVERIFY(args.at(1).toByteArray() != Net::logout());
    QCOMPARE(m_peers[0]->ep.participants().last(), 2);
    QCOMPARE(m_peers[1]->ep.participants().listed().size(), 2);
    // While the settings are just saved, exit sends no logout.
    m_peers[2]->ep.setSettingsSaved();
    m_peers[2]->ep.logoutAndStop();
    QTest::qWait(100);
    QCOMPARE(m_peers[0]->ep.participants().listed().size(), 2);
}

void TestNetEndpoint::exactLogLines()
{
    m_peers[2]->log.setEnabled(true);
    startAll();
    QTRY_COMPARE(m_peers[2]->ep.queuedDatagrams(), 0);
    rawSend(QByteArray(3500, '0'), Lo(3));
    rawSend(QByteArray(), Lo(3));
    QTRY_COMPARE(m_peers[2]->ep.droppedCount(), quint64(2));
    m_peers[2]->ep.logoutAndStop();

    QFile f(m_peers[2]->log.path());
    QVERIFY(f.open(QIODevice::ReadOnly));
    const QByteArray bytes = f.readAll();
    QVERIFY(bytes.endsWith("\r\n"));
    QCOMPARE(bytes.count("\r\n"), bytes.count('\n'));
    QStringList lines = Cp932::decode(bytes).split(QStringLiteral("\r\n"), Qt::SkipEmptyParts);
    const QString v = Net::programVersion();
    const QString at = QStringLiteral("2024/05/01 10:00:00 ");
    const int requestSize = 1 + 4 + 1 + int(v.size());
    // Its own sweep: one pair for 254 sends.
    const qsizetype sweep = lines.indexOf(
        at + QStringLiteral("127.0.0.1      ～127.0.0.254     Send-[Pinboard Start Req  ] 山田\t") +
        v);
    QVERIFY(sweep >= 0);
    QCOMPARE(lines.at(sweep + 1), at + QStringLiteral("Send Status:%1").arg(requestSize));
    const auto has = [&](const QString &line) { return lines.contains(at + line); };
    QVERIFY(has(QStringLiteral("127.0.0.3       Recv-[Pinboard Start Req  ] :山田\t") + v));
    QVERIFY(has(QStringLiteral("127.0.0.2       Send-[Start Request Answer] :山田\t") + v));
    QVERIFY(has(QStringLiteral("127.0.0.1       Recv-[Start Request Answer] :alice\t") + v));
    QVERIFY(has(QStringLiteral("Receive Status:3000")));
    QVERIFY(
        has(QStringLiteral("127.0.0.4       Recv-[Tag Data Receive    ] :") + QString(2999, u'0')));
    QVERIFY(has(QStringLiteral("127.0.0.4       Recv-[Tag Data Receive    ] :")));
    QVERIFY(has(QStringLiteral("Receive Status:0")));
    QCOMPARE(lines.at(lines.size() - 2),
             at + QStringLiteral("127.0.0.1      ～127.0.0.254     Send-[User Logout(End Prg)] "));
    QCOMPARE(lines.last(), at + QStringLiteral("Send Status:1"));
    QCOMPARE(lines.size() % 2, 0);
}

void TestNetEndpoint::hostileDatagramsAreLoggedAndDropped()
{
    m_peers[0]->log.setEnabled(true);
    QVERIFY(m_peers[0]->ep.StartNetwork(config(1, QStringLiteral("alice"))));
    rawReceive(1); // alice's start request
    const QByteArray bad[] = {"\xFF"
                              "\x81",
                              "\x01"
                              "tail",
                              "0" + QByteArray(1500, ' '),
                              "\xFF\t1",
                              "\x0A"
                              "short",
                              "\xFD"
                              "x",
                              "\x03" + QByteArray(40, 'n'),
                              QByteArray(1, '\x82')};
    for (const QByteArray &b : bad)
        rawSend(b);
    QTRY_COMPARE(m_peers[0]->ep.droppedCount(), quint64(std::size(bad)));
    QCOMPARE(m_peers[0]->ep.participants().last(), 0);
    // Still listening and answering.
    rawSend("\xFF"
            "mallory\t1.0.0");
    const QList<QByteArray> answer = rawReceive(1);
    QCOMPARE(answer.size(), 1);
    QCOMPARE(answer.first(), Net::startAnswer(QStringLiteral("alice"), Net::programVersion()));
    QCOMPARE(m_peers[0]->ep.participants().listed().size(), 1);
    QFile f(m_peers[0]->log.path());
    QVERIFY(f.open(QIODevice::ReadOnly));
    // A pair for each bad one, its own sweep,
    // its own request back from the sweep, the good request and its answer.
    QCOMPARE(f.readAll().count("\r\n"), 2 * (int(std::size(bad)) + 4));
}

void TestNetEndpoint::outsideSourcesAreFiltered()
{
    QUdpSocket outsider;
    QVERIFY(outsider.bind(QHostAddress(QStringLiteral("127.0.1.9")), 0));
    m_peers[0]->log.setEnabled(true);
    NetConfig c = config(1, QStringLiteral("alice"));
    QVERIFY(m_peers[0]->ep.StartNetwork(c));
    QTRY_COMPARE(m_peers[0]->ep.queuedDatagrams(), 0);
    outsider.writeDatagram("\xFF"
                           "eve\t1",
                           QHostAddress(Lo(1)), m_port);
    QTRY_COMPARE(m_peers[0]->ep.filteredCount(), quint64(1));
    QCOMPARE(m_peers[0]->ep.participants().last(), 0);
    QFile f(m_peers[0]->log.path());
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll().count("\r\n"), 4); // alice's own sweep, sent and back
    f.close();
    c.acceptOutside = true;
    QVERIFY(m_peers[0]->ep.StartNetwork(c));
    outsider.writeDatagram("\xFF"
                           "eve\t1",
                           QHostAddress(Lo(1)), m_port);
    QTRY_COMPARE(m_peers[0]->ep.participants().last(), 1);
}

void TestNetEndpoint::floodGrowsTableByOne()
{
    QVERIFY(m_peers[0]->ep.StartNetwork(config(1, QStringLiteral("alice"))));
    rawReceive(1);
    constexpr int Flood = 200;
    for (int i = 0; i < Flood; ++i)
        rawSend("\xFF"
                "m" +
                QByteArray::number(i) + "\t1");
    QList<QByteArray> answers = rawReceive(Flood);
    QTest::qWait(200);
    answers += rawReceive(0);
    QCOMPARE(answers.size(), Flood);
    QCOMPARE(answers.count(Net::startAnswer(QStringLiteral("alice"), Net::programVersion())),
             Flood);
    QCOMPARE(m_peers[0]->ep.participants().last(), 1);
    QCOMPARE(m_peers[0]->ep.participants().at(1).name, QStringLiteral("m0"));
}

void TestNetEndpoint::handlersGetTheirDatagrams()
{
    Recorder r;
    m_peers[0]->ep.setTagReceiver(&r);
    m_peers[0]->ep.setChatReceiver(&r);
    m_peers[0]->ep.setConfirmationReceiver(&r);
    QVERIFY(m_peers[0]->ep.StartNetwork(config(1, QStringLiteral("alice"))));
    Net::TagDatagram tag;
    tag.setText(Net::TagWire::Message, QStringLiteral("こんにちは"));
    rawSend(tag.bytes());
    rawSend(Net::chatLine(Net::GlobalChat, QStringLiteral("m"), QStringLiteral("hi")));
    rawSend(Net::nameOnly(Net::PrivateChatRequest, QStringLiteral("m")));
    rawSend(
        Net::confirmation(Net::OpeningConfirmation, QStringLiteral("m"), QStringLiteral("memo")));
    rawSend("\x02"
            "m 00001");
    rawSend(Net::dummy());
    // Her own invitation coming back from the sweep is not shown to her.
    m_peers[0]->ep.BroadcastDatagram(Net::nameOnly(Net::GlobalChatRequest, QStringLiteral("alice")),
                                     Net::label(Net::GlobalChatRequest));
    rawSend(Net::nameOnly(Net::GlobalChatRequest, QStringLiteral("m")));
    QTRY_COMPARE(r.codes.size(), 3);
    QTest::qWait(100);
    QCOMPARE(r.codes,
             QList<int>({Net::GlobalChat, Net::PrivateChatRequest, Net::GlobalChatRequest}));
    QCOMPARE(r.tags, QList<QByteArray>({tag.bytes()}));
    QCOMPARE(r.texts, QStringList({QStringLiteral("m|memo"), QStringLiteral("m 00001")}));
    QVERIFY(!r.froms.contains(Lo(1)));
}

void TestNetEndpoint::bindFailureIsReported()
{
    // 127.0.0.4 holds the port already.
    QVERIFY(!m_peers[0]->ep.StartNetwork(config(4, QStringLiteral("x"))));
    QCOMPARE(m_peers[0]->prompt.shown,
             QStringList(QStringLiteral(
                 "ネットワークのスタートに失敗しました。ネットワークの再設定を行って下さい。")));
    QVERIFY(!m_peers[0]->ep.isStarted());
}

void TestNetEndpoint::sendQueueIsBounded()
{
    m_peers[0]->log.setEnabled(true);
    QVERIFY(m_peers[0]->ep.StartNetwork(config(1, QStringLiteral("alice"))));
    // The start sweep is one job; fill the rest without letting the loop run.
    for (int i = 0; i < NetEndpoint::MaxQueued + 9; ++i)
        m_peers[0]->ep.SendDatagram(Lo(4),
                                    Net::nameOnly(Net::PrivateChatOk, QStringLiteral("alice")),
                                    Net::label(Net::PrivateChatOk));
    QCOMPARE(m_peers[0]->ep.queuedDatagrams(), 254 + NetEndpoint::MaxQueued - 1);
    QFile f(m_peers[0]->log.path());
    QVERIFY(f.open(QIODevice::ReadOnly));
    QCOMPARE(f.readAll().count(" Send Status:-1\r\n"), 10);
    f.close();
    QTRY_COMPARE(m_peers[0]->ep.queuedDatagrams(), 0);
}

QTEST_GUILESS_MAIN(TestNetEndpoint)
#include "tst_netendpoint.moc"
