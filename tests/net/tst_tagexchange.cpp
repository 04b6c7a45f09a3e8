// Tags across the LAN with real datagrams on loopback: peers on 127.0.0.1-3 with
// their own stores, raw sockets on 127.0.0.2-4 that only listen or play a peer.
#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "datagram.h"
#include "fileset.h"
#include "loopback.h"
#include "manualclock.h"
#include "netendpoint.h"
#include "nettags.h"
#include "prompt.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "tagsender.h"
#include "tagstore.h"
#include "tagwire.h"
#include "userselect.h"

#include <QApplication>
#include <QFile>
#include <QListWidget>
#include <QNetworkDatagram>
#include <QPushButton>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>
#include <QUdpSocket>
#include <memory>

Q_DECLARE_METATYPE(ResultLines)

namespace {
struct Peer
{
    Peer(const QString &dir, const Clock &clock)
        : files(FileSet::forDirectory(dir)), store(files.dt1), settings(store),
          log(files.log, clock), ep(log, clock, prompt), tags(ep, store, settings, prompt)
    {
    }
    FileSet files;
    TagStore store;
    Settings settings;
    CommLog log;
    ScriptedPrompt prompt;
    NetEndpoint ep;
    NetTags tags;
};

// What the scheduler asks of a desktop, written down.
class Desk : public TagDisplay
{
public:
    void showTag(int k, const TagRecord &) override { calls << QStringLiteral("show %1").arg(k); }
    void takeDown(int) override {}
    bool isShown(int) const override { return false; }
    void openFile(int k, const QString &) override { calls << QStringLiteral("open %1").arg(k); }
    void playSound(const QString &path) override { calls << QStringLiteral("play ") + path; }
    void beep() override { calls << QStringLiteral("beep"); }
    void startBlink() override {}
    void sendMail(int k, const TagRecord &) override { calls << QStringLiteral("mail %1").arg(k); }
    QStringList calls;
};
} // namespace

class TestTagExchange : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void dummyDummyTagPerRecipient();
    void cancelBetweenRecipients();
    void storedShownAndAnswered_data();
    void storedShownAndAnswered();
    void openFileFlagOpensNothing();
    void sealed_data();
    void sealed();
    void recipientChecks_data();
    void recipientChecks();

private:
    std::unique_ptr<Peer> peer(int host, const QString &name);
    void listenRaw(int host);

    QTemporaryDir m_dir;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
    quint16 m_port = 0;
    std::vector<std::unique_ptr<Peer>> m_peers;
    std::vector<std::unique_ptr<QUdpSocket>> m_raw;
    QList<QPair<int, QByteArray>> m_heard; // raw host, datagram, in arrival order
};

void TestTagExchange::init()
{
    qRegisterMetaType<ResultLines>();
    m_port = freeLoopbackPort();
    QVERIFY(m_port);
    m_heard.clear();
}

void TestTagExchange::cleanup()
{
    m_peers.clear();
    m_raw.clear();
}

std::unique_ptr<Peer> TestTagExchange::peer(int host, const QString &name)
{
    const QString dir = m_dir.filePath(QStringLiteral("%1-%2-%3")
                                           .arg(QLatin1String(QTest::currentTestFunction()),
                                                QLatin1String(QTest::currentDataTag()))
                                           .arg(host));
    QDir().mkpath(dir);
    auto p = std::make_unique<Peer>(dir, m_clock);
    prepareFileSet(p->files);
    EnvRecord env;
    env.setByte(Env::LogEnabled, 1);
    if (!p->store.writeEnv(env))
        qFatal("cannot write the settings");
    p->settings.load();
    p->log.setEnabled(true);
    p->ep.StartNetwork(loopbackConfig(m_port, host, name));
    return p;
}

void TestTagExchange::listenRaw(int host)
{
    auto s = std::make_unique<QUdpSocket>();
    QVERIFY(s->bind(QHostAddress(Lo(host)), m_port));
    QUdpSocket *raw = s.get();
    connect(raw, &QUdpSocket::readyRead, this, [this, raw, host] {
        while (raw->hasPendingDatagrams()) {
            const QByteArray bytes = raw->receiveDatagram().data();
            // Start requests of the peers' sweeps are not what we listen for.
            if (!bytes.startsWith('\xFF'))
                m_heard.append({host, bytes});
        }
    });
    m_raw.push_back(std::move(s));
}

void TestTagExchange::dummyDummyTagPerRecipient()
{
    for (int host : {2, 3, 4})
        listenRaw(host);
    m_peers.push_back(peer(1, QStringLiteral("山田")));
    Peer &a = *m_peers.front();
    TagRecord tag;
    tag.setMessage(QStringLiteral("Lunch at 12"));
    Net::TagDatagram wire = TagWireMap::toDatagram(tag);
    sealForSending(wire, false, {}, QStringLiteral("127.0.0.1      "), QStringLiteral("山田"));
    TagSender sender(a.ep);
    QSignalSpy done(&sender, &TagSender::finished);
    QVERIFY(sender.start(wire, {Lo(3), Lo(2), Lo(4)}));
    QVERIFY(!sender.start(wire, {Lo(2)})); // one send at a time
    QTRY_COMPARE(done.size(), 1);
    QCOMPARE(done.first(), (QVariantList{3, false}));
    QTRY_COMPARE(m_heard.size(), 9);
    const QByteArray dummy("\x09"
                           "Dummy Send");
    // Each recipient hears dummy, dummy, tag; the next one's second dummy comes a
    // pause after the previous one's tag (its first may pass that tag on the way).
    QList<QByteArray> per[5];
    QList<int> secondDummy, tagAt;
    for (int i = 0; i < m_heard.size(); ++i) {
        const auto &[host, bytes] = m_heard[i];
        per[host] << bytes;
        if (per[host].size() == 2)
            secondDummy.append(i);
        if (per[host].size() == 3)
            tagAt.append(i);
    }
    for (int host : {2, 3, 4})
        QVERIFY(per[host] == (QList<QByteArray>{dummy, dummy, wire.bytes()}));
    QCOMPARE(m_heard.at(tagAt[0]).first, 3);
    QCOMPARE(m_heard.at(tagAt[1]).first, 2);
    QCOMPARE(m_heard.at(tagAt[2]).first, 4);
    QVERIFY(tagAt[0] < secondDummy[1] && tagAt[1] < secondDummy[2]);
    QCOMPARE(wire.bytes().mid(170, 24), QByteArray("0        127.0.0.1      "));
    // One log pair per tag, with the whole 1600-character message field; no dummies.
    QFile logFile(a.files.log);
    QVERIFY(logFile.open(QIODevice::ReadOnly));
    const QString log = QString::fromLatin1(logFile.readAll());
    const QString field = QStringLiteral("Lunch at 12").leftJustified(1600, u' ');
    for (int host : {3, 2, 4})
        QVERIFY(log.contains(
            QStringLiteral("2024/05/01 10:00:00 127.0.0.%1       Send-[Tag Data] ").arg(host) +
            field + QStringLiteral("\r\n2024/05/01 10:00:00 Send Status:2000\r\n")));
    QVERIFY(!log.contains(QStringLiteral("Dummy")));
}

// The dialog answers while it sends; cmd_Cancel lets the recipient being served
// have the whole sequence and begins no further one.
void TestTagExchange::cancelBetweenRecipients()
{
    for (int host : {2, 3})
        listenRaw(host);
    m_peers.push_back(peer(1, QStringLiteral("山田")));
    Peer &a = *m_peers.front();
    for (int host : {2, 3})
        m_raw[host - 2]->writeDatagram(Net::startAnswer(QStringLiteral("r%1").arg(host), {}),
                                       QHostAddress(Lo(1)), m_port);
    QTRY_COMPARE(a.ep.participants().last(), 2);
    TagRecord tag;
    tag.setMessage(QStringLiteral("x"));
    UserSelect dialog(a.ep, a.prompt, TagWireMap::toDatagram(tag));
    QSignalSpy sent(&dialog, &UserSelect::sent);
    auto *users = dialog.findChild<QListWidget *>(QStringLiteral("lst_User"));
    users->item(0)->setSelected(true);
    users->item(1)->setSelected(true);
    dialog.findChild<QPushButton *>(QStringLiteral("cmd_OK"))->click();
    QTRY_COMPARE(m_heard.size(), 1); // the first dummy: the dialog is still open and answers
    dialog.findChild<QPushButton *>(QStringLiteral("cmd_Cancel"))->click();
    QTRY_COMPARE(sent.size(), 1);
    QCOMPARE(sent.first(), (QVariantList{1, true}));
    QTest::qWait(400);
    QCOMPARE(m_heard.size(), 3);
    for (const auto &[host, bytes] : m_heard)
        QCOMPARE(host, 2);
    QVERIFY(a.prompt.shown.isEmpty());
}

void TestTagExchange::storedShownAndAnswered_data()
{
    QTest::addColumn<int>("showReceipts");
    QTest::addColumn<QStringList>("receipts");
    QTest::newRow("receipts on") << 1
                                 << QStringList{QStringLiteral("佐藤 Received"),
                                                QStringLiteral("鈴木 Received")};
    QTest::newRow("receipts off") << 0 << QStringList();
}

void TestTagExchange::storedShownAndAnswered()
{
    QFETCH(int, showReceipts);
    QFETCH(QStringList, receipts);
    m_peers.push_back(peer(1, QStringLiteral("山田")));
    m_peers.push_back(peer(2, QStringLiteral("佐藤")));
    m_peers.push_back(peer(3, QStringLiteral("鈴木")));
    Peer &a = *m_peers[0];
    QVERIFY(a.settings.change([&](EnvRecord &e) { e.setByte(Env::ShowReceipts, showReceipts); })
                .isEmpty());
    QTRY_COMPARE(a.ep.participants().last(), 2);
    QSignalSpy answers(&a.ep, &NetEndpoint::datagramReceived);
    QSignalSpy arrivedB(&m_peers[1]->tags, &NetTags::tagArrived);
    QSignalSpy arrivedC(&m_peers[2]->tags, &NetTags::tagArrived);

    TagRecord tag;
    tag.setByte(Tag::ScheduleKind, 2);
    tag.setDate(Tag::DisplayDateTime, QDateTime(QDate(1900, 1, 1), QTime(9, 0)));
    tag.setMessage(QStringLiteral("朝会\r\n９時"));
    UserSelect dialog(a.ep, a.prompt, TagWireMap::toDatagram(tag));
    auto *users = dialog.findChild<QListWidget *>(QStringLiteral("lst_User"));
    for (int i = 0; i < users->count(); ++i)
        users->item(i)->setSelected(true);
    dialog.findChild<QPushButton *>(QStringLiteral("cmd_OK"))->click();
    QTRY_COMPARE(arrivedB.size(), 1);
    QTRY_COMPARE(arrivedC.size(), 1);
    for (Peer *p : {m_peers[1].get(), m_peers[2].get()}) {
        const auto got = p->store.readTag(1);
        QVERIFY(got);
        QCOMPARE(got->message(), tag.message());
        QCOMPARE(got->kindNumber(), 2);
        QCOMPARE(got->date(Tag::DisplayDateTime).time(), QTime(9, 0));
        QCOMPARE(got->text(Tag::ReceivedMark), QStringLiteral("1"));
        QCOMPARE(got->text(Tag::SenderName), QStringLiteral("山田"));
        QCOMPARE(got->text(Tag::SenderAddress), QStringLiteral("127.0.0.1"));
        QCOMPARE(got->tagNumber(), QStringLiteral("00001"));
    }
    auto typeTwo = [&] {
        int n = 0;
        for (const QList<QVariant> &a : answers)
            n += a.at(1).toByteArray().startsWith('\x02');
        return n;
    };
    QTRY_COMPARE(typeTwo(), 2);
    QCOMPARE(a.tags.receipts(), receipts);
}

void TestTagExchange::openFileFlagOpensNothing()
{
    m_peers.push_back(peer(2, QStringLiteral("佐藤")));
    Peer &b = *m_peers[0];
    listenRaw(4);
    TagRecord tag;
    tag.setByte(Tag::OpenFileFlag, 1);
    tag.setByte(Tag::MailFlag, 1);
    tag.setByte(Tag::SoundFlag, 1);
    tag.setText(Tag::FilePath, QStringLiteral("/usr/bin/xterm"));
    tag.setMessage(QStringLiteral("open me"));
    QSignalSpy arrived(&b.tags, &NetTags::tagArrived);
    m_raw[0]->writeDatagram(TagWireMap::toDatagram(tag).bytes(), QHostAddress(Lo(2)), m_port);
    QTRY_COMPARE(arrived.size(), 1);
    const int k = arrived.first().first().toInt();
    const auto stored = b.store.readTag(k);
    QCOMPARE(stored->byte(Tag::OpenFileFlag), 0);
    QCOMPARE(stored->byte(Tag::MailFlag), 0);
    QCOMPARE(stored->text(Tag::FilePath), QString());
    // Unknown to the table: the sender is named by its address, and answered there.
    QCOMPARE(stored->text(Tag::SenderName), QStringLiteral("127.0.0.4"));
    QTRY_VERIFY(m_heard.contains(QPair<int, QByteArray>(4, "\x02" + Cp932::encode(u"佐藤"))));
    // The desktop shows it with the arrival beep; no file is opened, no mail sent.
    Desk desk;
    SchedulerTimer timer;
    Scheduler scheduler(b.store, m_clock, b.prompt, desk, timer);
    scheduler.loadAll();
    QCOMPARE(desk.calls, (QStringList{QStringLiteral("show %1").arg(k)}));
    desk.calls.clear();
    scheduler.dropTag(k);
    scheduler.tagChanged(k);
    QCOMPARE(desk.calls, (QStringList{QStringLiteral("show %1").arg(k), QStringLiteral("beep")}));
}

void TestTagExchange::sealed_data()
{
    QTest::addColumn<QString>("password");
    QTest::addColumn<bool>("discard");
    QTest::addColumn<QVariant>("answer"); // the typed password (or null: cancel), or Yes/No
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<int>("confirmation");
    QTest::addColumn<QString>("mark");

    const QString ask =
        QStringLiteral("この付箋を開くにはパスワードが必要です。パスワードを入力して下さい。");
    QTest::newRow("no password opens at once")
        << QString() << false << QVariant() << QStringList() << 10 << QStringLiteral("0");
    QTest::newRow("right password")
        << QStringLiteral("Ab 1") << false << QVariant(QStringLiteral("Ab 1")) << QStringList{ask}
        << 10 << QStringLiteral("0");
    QTest::newRow("wrong case") << QStringLiteral("Ab 1") << false
                                << QVariant(QStringLiteral("ab 1"))
                                << QStringList{ask,
                                               QStringLiteral("パスワードが正しくありません。")}
                                << 0 << QStringLiteral("0");
    QTest::newRow("trailing blank")
        << QStringLiteral("Ab") << false << QVariant(QStringLiteral("Ab "))
        << QStringList{ask, QStringLiteral("パスワードが正しくありません。")} << 0
        << QStringLiteral("0");
    QTest::newRow("prompt cancelled") << QStringLiteral("Ab 1") << false << QVariant()
                                      << QStringList{ask} << 0 << QStringLiteral("0");
    const QString discard =
        QStringLiteral("山田から送られた付箋を開かずに廃棄します。よろしいですか？");
    QTest::newRow("discard, Yes") << QStringLiteral("Ab 1") << true << QVariant(true)
                                  << QStringList{discard} << 11 << QStringLiteral("D");
    QTest::newRow("discard, No") << QString() << true << QVariant(false) << QStringList{discard}
                                 << 0 << QStringLiteral("0");
}

void TestTagExchange::sealed()
{
    QFETCH(QString, password);
    QFETCH(bool, discard);
    QFETCH(QVariant, answer);
    QFETCH(QStringList, shown);
    QFETCH(int, confirmation);
    QFETCH(QString, mark);
    m_peers.push_back(peer(1, QStringLiteral("山田")));
    m_peers.push_back(peer(2, QStringLiteral("佐藤")));
    Peer &a = *m_peers[0];
    Peer &b = *m_peers[1];
    QSignalSpy sealedSpy(&b.tags, &NetTags::sealedArrived);
    QSignalSpy plain(&b.tags, &NetTags::tagArrived);
    QSignalSpy results(&a.tags, &NetTags::confirmationArrived);
    QSignalSpy opened(&b.tags, &NetTags::sealedOpened);

    TagRecord tag;
    tag.setMessage(QStringLiteral("昇給のお知らせ"));
    Net::TagDatagram wire = TagWireMap::toDatagram(tag);
    sealForSending(wire, true, password, QStringLiteral("127.0.0.1"), QStringLiteral("山田"));
    TagSender sender(a.ep);
    sender.start(wire, {Lo(2)});
    QTRY_COMPARE(sealedSpy.size(), 1);
    QCOMPARE(plain.size(), 0);
    const int k = sealedSpy.first().first().toInt();
    QCOMPARE(b.store.readTag(k)->text(Tag::Password), password);
    // Held back: survives a restart, and the scheduler does not put it up.
    Desk desk;
    SchedulerTimer timer;
    Scheduler restarted(b.store, m_clock, b.prompt, desk, timer);
    restarted.loadAll();
    QCOMPARE(restarted.heldSealed(), QList<int>{k});
    QVERIFY(desk.calls.isEmpty());

    if (discard) {
        b.prompt.answers = {answer.toBool()};
        QCOMPARE(b.tags.discardSealed(k), confirmation != 0);
    } else {
        if (!password.isEmpty())
            b.prompt.textAnswers = {answer.isNull() ? std::nullopt
                                                    : std::optional<QString>(answer.toString())};
        const auto result = b.tags.openSealed(k);
        QCOMPARE(result == NetTags::Opened::Opened, confirmation != 0);
        QCOMPARE(opened.size(), confirmation != 0 ? 1 : 0);
    }
    QCOMPARE(b.prompt.shown, shown);
    const auto after = b.store.readTag(k);
    QCOMPARE(after->stateMark(), mark);
    QCOMPARE(after->byte(Tag::SealedFlag), confirmation != 0 ? 0 : 1);
    if (confirmation == 10)
        QCOMPARE(after->text(Tag::Password), QString());
    QCOMPARE(isHeldSealed(*after), confirmation == 0);

    if (confirmation == 0) {
        QTest::qWait(300);
        QCOMPARE(results.size(), 0);
        return;
    }
    QTRY_COMPARE(results.size(), 1);
    const auto lines = results.first().first().value<ResultLines>();
    const ResultLines expected =
        confirmation == 10
            ? ResultLines{QStringLiteral("以下に示す付箋が開封されました。"),
                          QStringLiteral("佐藤から開封確認が届きました。"),
                          QStringLiteral("昇給のお知らせ")}
            : ResultLines{QStringLiteral("以下に示す付箋が開封せずに廃棄されました。"),
                          QStringLiteral("佐藤から廃棄確認が届きました。"),
                          QStringLiteral("昇給のお知らせ")};
    QCOMPARE(lines, expected);
    QTest::qWait(300);
    QCOMPARE(results.size(), 1);
}

void TestTagExchange::recipientChecks_data()
{
    QTest::addColumn<int>("entries"); // 0 none; 2: 佐藤, then 鈴木 who has quit
    QTest::addColumn<QList<int>>("rows");
    QTest::addColumn<bool>("sealed");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("tagFault");
    QTest::addColumn<QString>("chatFault");
    const QString quit = QStringLiteral("このユーザーは、プログラムを終了しました。");
    QTest::newRow("nobody") << 0 << QList<int>{} << false << QString()
                            << QStringLiteral("タグを送るユーザーがいません。")
                            << QStringLiteral("チャットを行うユーザーがいません。");
    QTest::newRow("none chosen") << 2 << QList<int>{} << false << QString()
                                 << QStringLiteral("タグを送るユーザーを選択して下さい。")
                                 << QStringLiteral("チャットを行うユーザーを選択して下さい。");
    QTest::newRow("chose one who quit")
        << 2 << QList<int>{1, 2} << false << QString() << quit << quit;
    QTest::newRow("password, no seal")
        << 2 << QList<int>{1} << false << QStringLiteral("pw")
        << QStringLiteral(
               "開封時のパスワードを指定した場合は、他のｺﾝﾋﾟｭｰﾀに封書で送るをチェックして下さい。")
        << QString();
    QTest::newRow("blank password, no seal")
        << 2 << QList<int>{1} << false << QStringLiteral("  ") << QString() << QString();
    QTest::newRow("sealed with password")
        << 2 << QList<int>{1} << true << QStringLiteral("pw") << QString() << QString();
}

void TestTagExchange::recipientChecks()
{
    QFETCH(int, entries);
    QFETCH(QList<int>, rows);
    QFETCH(bool, sealed);
    QFETCH(QString, password);
    QFETCH(QString, tagFault);
    QFETCH(QString, chatFault);
    ParticipantTable table;
    if (entries) {
        table.addOrKeep(QStringLiteral("佐藤"), {}, Lo(2));
        table.addOrKeep(QStringLiteral("鈴木"), {}, Lo(3));
        table.logout(Lo(3));
    }
    QCOMPARE(checkTagRecipients(table, rows, sealed, password).value_or(QString()), tagFault);
    QCOMPARE(checkChatPartner(table, rows).value_or(QString()), chatFault);
}

QTEST_MAIN(TestTagExchange)
#include "tst_tagexchange.moc"
