// Tags across the LAN with real datagrams on loopback: peers on 127.0.0.1-3 with
// their own stores, raw sockets on 127.0.0.2-4 that only listen or play a peer.
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

Q_DECLARE_METATYPE(ResultLines)

namespace {
Net::TagDatagram wire(const QString &message, bool sealed = false, const QString &pw = {})
{
    TagRecord tag;
    tag.setMessage(message);
    Net::TagDatagram w = TagWireMap::toDatagram(tag);
    sealForSending(w, sealed, pw, u"127.0.0.1      "_s, u"山田"_s);
    return w;
}
} // namespace

class TestTagExchange : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void initTestCase() { qRegisterMetaType<ResultLines>(); }
    void dummyDummyTagPerRecipient();
    void cancelBetweenRecipients();
    void storedShownAndAnswered_data();
    void storedShownAndAnswered();
    void receivedStartsNothingAndFloodsAreCut();
    void sealed_data();
    void sealed();
    void recipientChecks();

private:
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0, 0))};
};

void TestTagExchange::dummyDummyTagPerRecipient()
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

// The dialog answers while it sends; cmd_Cancel lets the recipient being served
// have the whole sequence and begins no further one.
void TestTagExchange::cancelBetweenRecipients()
{
    LanLoopback lan(m_clock);
    LanPeer &a = lan.peer(1, u"山田"_s, true);
    for (int host : {2, 3})
        lan.raw(host).writeDatagram(Net::startAnswer(u"r%1"_s.arg(host), {}), QHostAddress(Lo(1)),
                                    lan.port);
    QTRY_COMPARE(a.ep.participants().last(), 2);
    UserSelect dialog(a.ep, a.prompt, wire(u"x"_s));
    QSignalSpy sent(&dialog, &UserSelect::sent);
    auto *users = dialog.findChild<QListWidget *>(u"lst_User"_s);
    users->selectAll();
    dialog.findChild<QPushButton *>(u"cmd_OK"_s)->click();
    QTRY_COMPARE(lan.heard.size(), 1); // the first dummy: the dialog is still open and answers
    dialog.findChild<QPushButton *>(u"cmd_Cancel"_s)->click();
    QTRY_COMPARE(sent.size(), 1);
    QCOMPARE(sent.first(), (QVariantList{1, true}));
    QTest::qWait(400);
    QCOMPARE(lan.heard.size(), 3);
    for (const auto &[host, bytes] : lan.heard)
        QCOMPARE(host, 2);
    QVERIFY(a.prompt.shown.isEmpty());
}

void TestTagExchange::storedShownAndAnswered_data()
{
    QTest::addColumn<int>("showReceipts");
    QTest::addColumn<QStringList>("receipts");
    QTest::newRow("receipts on") << 1 << QStringList{u"佐藤 Received"_s, u"鈴木 Received"_s};
    QTest::newRow("receipts off") << 0 << QStringList();
}

void TestTagExchange::storedShownAndAnswered()
{
    LanLoopback lan(m_clock);
    QFETCH(int, showReceipts);
    LanPeer &a = lan.peer(1, u"山田"_s, true);
    LanPeer &b = lan.peer(2, u"佐藤"_s, true);
    LanPeer &c = lan.peer(3, u"鈴木"_s, true);
    QVERIFY(a.settings.change([&](EnvRecord &e) { e.setByte(Env::ShowReceipts, showReceipts); })
                .isEmpty());
    QTRY_COMPARE(a.ep.participants().last(), 2);
    QSignalSpy answers(&a.ep, &NetEndpoint::datagramReceived);
    QSignalSpy arrivedB(&b.tags, &NetTags::tagArrived);
    QSignalSpy arrivedC(&c.tags, &NetTags::tagArrived);
    TagRecord tag;
    tag.setByte(Tag::ScheduleKind, 2);
    tag.setDate(Tag::DisplayDateTime, QDateTime(QDate(1900, 1, 1), QTime(9, 0)));
    tag.setMessage(u"朝会\r\n９時"_s);
    UserSelect dialog(a.ep, a.prompt, TagWireMap::toDatagram(tag));
    dialog.findChild<QListWidget *>(u"lst_User"_s)->selectAll();
    dialog.findChild<QPushButton *>(u"cmd_OK"_s)->click();
    QTRY_COMPARE(arrivedB.size(), 1);
    QTRY_COMPARE(arrivedC.size(), 1);
    for (LanPeer *p : {&b, &c}) {
        const auto got = p->store.readTag(1);
        QVERIFY(got);
        QCOMPARE(got->message(), tag.message());
        QCOMPARE(got->kindNumber(), 2);
        QCOMPARE(got->date(Tag::DisplayDateTime).time(), QTime(9, 0));
        QCOMPARE(got->text(Tag::ReceivedMark), u"1"_s);
        QCOMPARE(got->text(Tag::SenderName), u"山田"_s);
        QCOMPARE(got->text(Tag::SenderAddress), u"127.0.0.1"_s);
        QCOMPARE(got->tagNumber(), u"00001"_s);
    }
    QTRY_COMPARE(std::count_if(answers.begin(), answers.end(),
                               [](const QList<QVariant> &a) {
                                   return a.at(1).toByteArray().startsWith('\x02');
                               }),
                 2);
    QTEST(a.tags.receipts(), "receipts");
}

// A tag from a stranger is stored and answered, starts nothing but the arrival
// beep; 40 more from the same address are cut off after FloodGate::TagsPerSource.
void TestTagExchange::receivedStartsNothingAndFloodsAreCut()
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
    const auto stored = b.store.readTag(1);
    QCOMPARE(stored->byte(Tag::OpenFileFlag) + stored->byte(Tag::MailFlag), 0);
    QCOMPARE(stored->text(Tag::FilePath), QString());
    // Unknown to the table: the sender is named by its address, and answered there.
    QCOMPARE(stored->text(Tag::SenderName), u"127.0.0.4"_s);
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

void TestTagExchange::sealed_data()
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
    QTest::newRow("trailing blank") << u"Ab"_s << false << QVariant(u"Ab "_s) << wrong << 0;
    QTest::newRow("prompt cancelled") << pw << false << QVariant() << QStringList{ask} << 0;
    QTest::newRow("discard, Yes") << pw << true << QVariant(true) << discard << 11;
    QTest::newRow("discard, No") << QString() << true << QVariant(false) << discard << 0;
}

void TestTagExchange::sealed()
{
    LanLoopback lan(m_clock);
    QFETCH(QString, password);
    QFETCH(bool, discard);
    QFETCH(QVariant, answer);
    QFETCH(int, confirmation);
    LanPeer &a = lan.peer(1, u"山田"_s, true);
    LanPeer &b = lan.peer(2, u"佐藤"_s, true);
    QSignalSpy sealedSpy(&b.tags, &NetTags::sealedArrived);
    QSignalSpy plain(&b.tags, &NetTags::tagArrived);
    QSignalSpy results(&a.tags, &NetTags::confirmationArrived);
    QSignalSpy opened(&b.tags, &NetTags::sealedOpened);
    TagSender sender(a.ep);
    sender.start(wire(u"昇給のお知らせ"_s, true, password), {Lo(2)});
    QTRY_COMPARE(sealedSpy.size(), 1);
    QCOMPARE(plain.size(), 0);
    const int k = sealedSpy.first().first().toInt();
    QCOMPARE(b.store.readTag(k)->text(Tag::Password), password);
    // Held back: the scheduler does not put it up and names it as held (the start-up
    // raises its window from that).
    RecordingDisplay desk;
    SchedulerTimer timer;
    Scheduler restarted(b.store, m_clock, b.prompt, desk, timer);
    restarted.loadAll();
    QVERIFY(desk.log.isEmpty());
    QCOMPARE(restarted.heldSealed(), QList<int>{k});
    if (discard) {
        b.prompt.answers = {answer.toBool()};
        QCOMPARE(b.tags.discardSealed(k), confirmation != 0);
    } else {
        if (!password.isEmpty())
            b.prompt.textAnswers = {answer.isNull() ? std::nullopt
                                                    : std::optional<QString>(answer.toString())};
        QCOMPARE(b.tags.openSealed(k) == NetTags::Opened::Opened, confirmation != 0);
        QCOMPARE(opened.size(), confirmation != 0 ? 1 : 0);
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

void TestTagExchange::recipientChecks()
{
    ParticipantTable none, two;
    two.addOrKeep(u"佐藤"_s, {}, Lo(2));
    two.addOrKeep(u"鈴木"_s, {}, Lo(3));
    two.logout(Lo(3)); // 鈴木 has quit
    auto tag = [](const ParticipantTable &t, const QList<int> &rows, bool sealed = false,
                  const QString &password = {}) {
        return checkTagRecipients(t, rows, sealed, password).value_or(QString());
    };
    auto chat = [](const ParticipantTable &t, const QList<int> &rows) {
        return checkChatPartner(t, rows).value_or(QString());
    };
    const QString quit = u"このユーザーは、プログラムを終了しました。"_s;
    QCOMPARE(tag(none, {}), u"タグを送るユーザーがいません。"_s);
    QCOMPARE(chat(none, {}), u"チャットを行うユーザーがいません。"_s);
    QCOMPARE(tag(two, {}), u"タグを送るユーザーを選択して下さい。"_s);
    QCOMPARE(chat(two, {}), u"チャットを行うユーザーを選択して下さい。"_s);
    QCOMPARE(tag(two, {1, 2}) + chat(two, {1, 2}), quit + quit);
    QCOMPARE(
        tag(two, {1}, false, u"pw"_s),
        u"開封時のパスワードを指定した場合は、他のｺﾝﾋﾟｭｰﾀに封書で送るをチェックして下さい。"_s);
    QCOMPARE(tag(two, {1}, false, u"  "_s) + tag(two, {1}, true, u"pw"_s) + chat(two, {1}),
             QString());
}

QTEST_MAIN(TestTagExchange)
#include "tst_tagexchange.moc"
