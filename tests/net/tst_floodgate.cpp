// A peer that floods: what it may make this computer store, answer or show.
#include "commlog.h"
#include "datagram.h"
#include "fileset.h"
#include "floodgate.h"
#include "loopback.h"
#include "manualclock.h"
#include "netendpoint.h"
#include "nettags.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "tagstore.h"
#include "tagwire.h"

#include <QNetworkDatagram>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>

using namespace Qt::StringLiterals;

class TestFloodGate : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void gate_data();
    void gate();
    void forgetsOldSources();
    void floodOfTagsIsCutOff();
};

void TestFloodGate::gate_data()
{
    // Arrivals as "source@ms"; the answers expected with 3 per source, 5 in all, 1 s window.
    QTest::addColumn<QStringList>("arrivals");
    QTest::addColumn<QString>("admitted");
    QTest::newRow("one source, fourth refused")
        << QStringList{u"1@0"_s, u"1@10"_s, u"1@20"_s, u"1@30"_s} << QStringLiteral("YYYN");
    QTest::newRow("its minute over, let in again")
        << QStringList{u"1@0"_s, u"1@10"_s, u"1@20"_s, u"1@1000"_s, u"1@1010"_s}
        << QStringLiteral("YYYYY");
    QTest::newRow("at the window's edge still counted")
        << QStringList{u"1@0"_s, u"1@1"_s, u"1@2"_s, u"1@999"_s} << QStringLiteral("YYYN");
    QTest::newRow("others still heard")
        << QStringList{u"1@0"_s, u"1@1"_s, u"1@2"_s, u"1@3"_s, u"2@4"_s} << QStringLiteral("YYYNY");
    QTest::newRow("all together capped")
        << QStringList{u"1@0"_s, u"1@1"_s, u"2@2"_s,    u"2@3"_s,
                       u"3@4"_s, u"4@5"_s, u"3@1004"_s, u"4@1005"_s}
        << QStringLiteral("YYYYYNYY");
    QTest::newRow("refused arrivals do not count")
        << QStringList{u"1@0"_s, u"1@1"_s, u"1@2"_s, u"1@3"_s, u"1@4"_s, u"1@1001"_s}
        << QStringLiteral("YYYNNY");
}

void TestFloodGate::gate()
{
    QFETCH(QStringList, arrivals);
    QFETCH(QString, admitted);
    FloodGate gate(3, 5, 1000);
    QString got;
    for (const QString &a : arrivals) {
        const QStringList parts = a.split(u'@');
        got += gate.admit(parts[0].toUInt(), parts[1].toLongLong()) ? u'Y' : u'N';
    }
    QCOMPARE(got, admitted);
}

void TestFloodGate::forgetsOldSources()
{
    FloodGate gate(1, 1'000'000, 1000);
    for (quint32 s = 0; s < FloodGate::MaxSources; ++s)
        QVERIFY(gate.admit(s, 0));
    QVERIFY(!gate.admit(FloodGate::MaxSources, 10));  // table full, all still in their minute
    QVERIFY(gate.admit(FloodGate::MaxSources, 1001)); // the old ones are forgotten
    QVERIFY(!gate.admit(FloodGate::MaxSources, 1002));
}

// 40 tags from one address: the first FloodGate::TagsPerSource are stored and
// answered, the rest dropped unanswered; another address is still heard.
void TestFloodGate::floodOfTagsIsCutOff()
{
    QTemporaryDir dir;
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0)));
    const FileSet files = FileSet::forDirectory(dir.path());
    QVERIFY(prepareFileSet(files).ok);
    TagStore store(files.dt1);
    QVERIFY(store.writeEnv(EnvRecord()));
    Settings settings(store);
    QVERIFY(settings.load());
    CommLog log(files.log, clock);
    ScriptedPrompt prompt;
    NetEndpoint ep(log, clock, prompt);
    NetTags tags(ep, store, settings, prompt);

    const quint16 port = freeLoopbackPort();
    QVERIFY(port != 0);
    NetConfig c;
    c.port = port;
    c.userName = QStringLiteral("me");
    c.localIp = Lo(1);
    c.targets[0] = {Lo(1), false};
    c.acceptOutside = true;
    c.bindAddress = QHostAddress(Lo(1));
    ep.StartNetwork(c);

    QUdpSocket flood, other;
    QVERIFY(flood.bind(QHostAddress(Lo(2)), port));
    QVERIFY(other.bind(QHostAddress(Lo(3)), port));
    int answers = 0;
    connect(&flood, &QUdpSocket::readyRead, this, [&] {
        while (flood.hasPendingDatagrams())
            answers += flood.receiveDatagram().data().startsWith('\x02');
    });
    TagRecord tag;
    tag.setMessage(QStringLiteral("spam"));
    const QByteArray bytes = TagWireMap::toDatagram(tag).bytes();
    for (int i = 0; i < 40; ++i) {
        flood.writeDatagram(bytes, QHostAddress(Lo(1)), port);
        QTest::qWait(2); // loopback drops what a full buffer cannot take
    }
    QTRY_COMPARE(store.tagCount(), FloodGate::TagsPerSource);
    QTRY_COMPARE(answers, FloodGate::TagsPerSource);
    QTest::qWait(200);
    QCOMPARE(store.tagCount(), FloodGate::TagsPerSource);
    QCOMPARE(answers, FloodGate::TagsPerSource);
    other.writeDatagram(bytes, QHostAddress(Lo(1)), port);
    QTRY_COMPARE(store.tagCount(), FloodGate::TagsPerSource + 1);
}

QTEST_MAIN(TestFloodGate)
#include "tst_floodgate.moc"
