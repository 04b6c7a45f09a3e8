// The wire format, the participant rules and the log lines, without sockets.
#include "cp932.h"
#include "datagram.h"
#include "netconfig.h"
#include "netlog.h"
#include "participants.h"

#include <QTest>

using namespace Net;

Q_DECLARE_METATYPE(Net::Fault)
Q_DECLARE_METATYPE(Net::Code)

namespace {
QByteArray sjis(const QString &text)
{
    return Cp932::encode(text);
}
const QString Kanji16 = QStringLiteral("付箋付箋付箋付箋付箋付箋付箋付箋");
} // namespace

class TestDatagram : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodeRules_data();
    void decodeRules();
    void labelsAreAlignedAndDistinct();
    void chatPadding_data();
    void chatPadding();
    void chatLimit();
    void encodersAreByteExact();
    void tagRecordLayout();
    void addrToText_data();
    void addrToText();
    void textToAddr_data();
    void textToAddr();
    void logLines();
    void participantRules();
    void participantCap();
    void targetNetworks_data();
    void targetNetworks();
};

void TestDatagram::decodeRules_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<Code>("code");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("version");

    auto row = [](const char *tag, const QByteArray &b, Fault f, Code c = TagData,
                  QAnyStringView name = {}, QAnyStringView version = {}) {
        QTest::newRow(tag) << b << f << c << name.toString() << version.toString();
    };
    row("start",
        "\xFF"
        "alice\t1.0.0",
        Fault::None, StartRequest, "alice", "1.0.0");
    row("answer",
        "\xFE"
        "bob\t2.3.4",
        Fault::None, StartAnswer, "bob", "2.3.4");
    row("start without tab",
        "\xFF"
        "carol",
        Fault::None, StartRequest, "carol", "");
    row("start, version after second tab kept",
        "\xFF"
        "d\t1\t2",
        Fault::None, StartRequest, "d", "1\t2");
    row("start, empty name", "\xFF\t1.0.0", Fault::NoName);
    row("start, 16 kanji", "\xFF" + sjis(Kanji16) + "\t1.0.0", Fault::None, StartRequest, Kanji16,
        "1.0.0");
    row("start, 33-byte name", "\xFF" + QByteArray(33, 'n') + "\t1", Fault::TooLong);
    row("start, 17-byte version",
        "\xFF"
        "n\t" +
            QByteArray(17, '1'),
        Fault::TooLong);
    row("logout", "\x01", Fault::None, Logout);
    row("logout with a tail", "\x01x", Fault::TooLong);
    row("empty", "", Fault::Empty);
    row("private request",
        "\x03"
        "eve",
        Fault::None, PrivateChatRequest, "eve");
    row("private request, no name", "\x03", Fault::NoName);
    row("global invitation, long name", "\x08" + QByteArray(33, 'x'), Fault::TooLong);
    row("dummy",
        "\x09"
        "Dummy Send",
        Fault::None, Dummy);
    row("chat, 12 bytes", "\xFD" + QByteArray(12, 'a'), Fault::TooShort);
    row("chat, 13 bytes",
        "\xFD"
        "a" +
            QByteArray(12, ' '),
        Fault::None, GlobalChat);
    row("chat, 317 bytes", "\x06" + QByteArray(317, 'a'), Fault::None, PrivateChatData);
    row("chat, 318 bytes", "\x06" + QByteArray(318, 'a'), Fault::TooLong);
    row("confirmation", "\x0A" + sjis(QStringLiteral("山田")).leftJustified(32, ' ') + "メモ",
        Fault::None, OpeningConfirmation, QStringLiteral("山田"));
    row("confirmation, 31 bytes", "\x0B" + QByteArray(31, 'a'), Fault::TooShort);
    row("confirmation, blank name", "\x0B" + QByteArray(32, ' ') + "x", Fault::NoName);
    row("receipt",
        "\x02"
        "frank 00001",
        Fault::None, TagReceived);
    row("receipt, nothing", "\x02", Fault::NoName);
    row("lead byte at the end",
        "\xFF"
        "ab\x81",
        Fault::BadText);
    row("lead byte, bad trail",
        "\x03"
        "\x81\x0A",
        Fault::BadText);
    row("0xFD inside a text",
        "\x03"
        "a\xFD",
        Fault::BadText);
    row("tag record", "0" + QByteArray(1999, ' '), Fault::None, TagData);
    row("tag record, 1999", "0" + QByteArray(1998, ' '), Fault::TooShort);
    row("tag record, 2001", "0" + QByteArray(2000, ' '), Fault::TooLong);
    row("tag record, bad text", "0" + QByteArray(1998, ' ') + "\x82", Fault::BadText);
    row("unknown code 12 is a tag record", "\x0C" + QByteArray(10, ' '), Fault::TooShort);
    row("over 3000", QByteArray(3001, '0'), Fault::TooLong);
}

void TestDatagram::decodeRules()
{
    QFETCH(QByteArray, bytes);
    QFETCH(Fault, fault);
    const Decoded d = decode(bytes);
    QCOMPARE(d.fault, fault);
    QCOMPARE(d.message.has_value(), fault == Fault::None);
    if (!d.message)
        return;
    QTEST(d.message->code, "code");
    QTEST(d.message->name, "name");
    if (d.message->code == StartRequest || d.message->code == StartAnswer)
        QTEST(d.message->version, "version");
    if (d.message->code == TagData)
        QCOMPARE(d.message->record, bytes);
}

void TestDatagram::labelsAreAlignedAndDistinct()
{
    QSet<QString> seen;
    for (int b = 0; b < 256; ++b) {
        const QString l = label(codeOf(uchar(b)));
        QCOMPARE(l.size(), LabelLength);
        QVERIFY(l.startsWith(u'[') && l.endsWith(QLatin1String("] ")));
        seen.insert(l);
    }
    QCOMPARE(seen.size(), 15); // fourteen codes and the tag record
    QCOMPARE(codeOf('0'), TagData);
}

void TestDatagram::chatPadding_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<int>("spaces");
    QTest::newRow("1 byte") << QStringLiteral("a") << 12;
    QTest::newRow("11 bytes") << QStringLiteral("abcdefghijk") << 2;
    QTest::newRow("12 bytes") << QStringLiteral("abcdefghijkl") << 1;
    QTest::newRow("20 bytes, 10 kanji") << QStringLiteral("一二三四五六七八九十") << 1;
    QTest::newRow("11 bytes, kanji and ascii") << QStringLiteral("山田太郎abc") << 2;
}

void TestDatagram::chatPadding()
{
    QFETCH(QString, name);
    QFETCH(int, spaces);
    const QByteArray line = chatLine(GlobalChat, name, QStringLiteral("hi\r\n"));
    QCOMPARE(line, "\xFD" + sjis(name) + QByteArray(spaces, ' ') + "hi");
    QVERIFY(decode(line).message);
}

void TestDatagram::chatLimit()
{
    const QString exact = QString(142, QChar(0x3042)); // 284 bytes
    QCOMPARE(chatLine(PrivateChatData, QStringLiteral("a"), exact).size(), 1 + 13 + 284);
    QVERIFY(chatLine(PrivateChatData, QStringLiteral("a"), exact + u'x').isEmpty());
    // The limit is on the text after the trailing CR LF is gone.
    QVERIFY(
        !chatLine(PrivateChatData, QStringLiteral("a"), exact + QStringLiteral("\r\n")).isEmpty());
    // The longest line a sender can make is still one a receiver takes.
    QVERIFY(decode(chatLine(GlobalChat, Kanji16, exact)).message);
}

void TestDatagram::encodersAreByteExact()
{
    QCOMPARE(startRequest(QStringLiteral("山田"), QStringLiteral("1.0.0")), "\xFF"
                                                                            "\x8E\x52\x93\x63"
                                                                            "\t1.0.0");
    QCOMPARE(startAnswer(QStringLiteral("a"), QStringLiteral("1.2.3")), "\xFE"
                                                                        "a\t1.2.3");
    QCOMPARE(logout(), QByteArray(1, '\x01'));
    QCOMPARE(dummy(), "\x09"
                      "Dummy Send");
    QCOMPARE(nameOnly(PrivateChatNg, QStringLiteral("bob")), "\x05"
                                                             "bob");
    const QByteArray c =
        confirmation(AbandonmentConfirmation, QStringLiteral("bob"), QStringLiteral("memo"));
    QCOMPARE(c, "\x0B"
                "bob" +
                    QByteArray(29, ' ') + "memo");
    // A 33-byte name is cut to 32 and never splits a kanji.
    const QByteArray cut = confirmation(OpeningConfirmation, u'a' + Kanji16, {});
    QCOMPARE(cut, "\x0A"
                  "a" +
                      sjis(Kanji16).left(30) + ' ');
}

void TestDatagram::tagRecordLayout()
{
    QCOMPARE(checkLayout(TagDatagram::fields(), TagDatagram::Size), QString());
    TagDatagram t;
    QCOMPARE(t.bytes().size(), 2000);
    QCOMPARE(t.bytes().left(6), "000000");
    QCOMPARE(t.bytes().mid(106, 5), "00:00");
    // Offsets and widths of the wire: a distinct mark in each field lands where it must.
    struct Pin
    {
        TagWire::Field f;
        int offset;
        int width;
    };
    const Pin pins[] = {
        {TagWire::Attr32, 6, 32},     {TagWire::Attr3, 38, 3},     {TagWire::Date9, 45, 11},
        {TagWire::Date10, 56, 11},    {TagWire::Time14, 70, 5},    {TagWire::Time15, 75, 5},
        {TagWire::Text17, 81, 16},    {TagWire::Text18, 97, 2},    {TagWire::Text24, 114, 32},
        {TagWire::Text25, 146, 16},   {TagWire::Sealed, 170, 1},   {TagWire::Password, 171, 8},
        {TagWire::SenderIp, 179, 15}, {TagWire::Text32, 194, 206}, {TagWire::Message, 400, 1600}};
    for (const Pin &p : pins) {
        t.setText(p.f, QString(p.width + 5, u'Z'));
        QCOMPARE(t.bytes().mid(p.offset, p.width), QByteArray(p.width, 'Z'));
        QCOMPARE(t.bytes().at(p.offset - 1), p.offset == 6 ? '0' : ' ');
        if (p.offset + p.width < 2000)
            QVERIFY(t.bytes().at(p.offset + p.width) != 'Z');
        t.setText(p.f, {});
    }
    t.setText(TagWire::Flags19, QStringLiteral("7"), 6);
    t.setText(TagWire::Flags26, QStringLiteral("6"), 5);
    QCOMPARE(t.bytes().at(105), '7');
    QCOMPARE(t.bytes().at(167), '6');
    QVERIFY(decode(t.bytes()).message);
}

void TestDatagram::addrToText_data()
{
    QTest::addColumn<quint32>("address");
    QTest::addColumn<QString>("text");
    QTest::newRow("short") << quint32(0x0A000001) << "10.0.0.1       ";
    QTest::newRow("longest") << quint32(0xC0A8FFFE) << "192.168.255.254";
    QTest::newRow("zero") << quint32(0) << "0.0.0.0        ";
    QTest::newRow("no leading zeros") << quint32(0x7F000105) << "127.0.1.5      ";
}

void TestDatagram::addrToText()
{
    QFETCH(quint32, address);
    QTEST(NetLog::AddrToText(address), "text");
}

void TestDatagram::textToAddr_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<quint32>("address");
    QTest::newRow("plain") << QStringLiteral("192.168.1.20") << quint32(0xC0A80114);
    QTest::newRow("padded") << QStringLiteral("10.0.0.1       ") << quint32(0x0A000001);
    QTest::newRow("leading zeros") << QStringLiteral("010.001.000.009") << quint32(0x0A010009);
    QTest::newRow("three parts") << QStringLiteral("10.0.1") << quint32(0);
    QTest::newRow("octet 256") << QStringLiteral("10.0.0.256") << quint32(0);
    QTest::newRow("letters") << QStringLiteral("a.b.c.d") << quint32(0);
    QTest::newRow("negative") << QStringLiteral("10.-1.0.1") << quint32(0);
}

void TestDatagram::textToAddr()
{
    QFETCH(QString, text);
    QTEST(NetLog::TextToAddr(text), "address");
}

void TestDatagram::logLines()
{
    const QDateTime t(QDate(2024, 5, 1), QTime(9, 59, 59));
    QCOMPARE(
        NetLog::sendPair(t, NetLog::AddrToText(0x7F0000FF), label(StartRequest), false,
                         QStringLiteral("alice\t1.0.0"), 13),
        QStringList(
            {QStringLiteral(
                 "2024/05/01 09:59:59 127.0.0.255     Send-[Pinboard Start Req  ] alice\t1.0.0"),
             QStringLiteral("2024/05/01 09:59:59 Send Status:13")}));
    QCOMPARE(NetLog::sendPair(t, NetLog::sweepColumn(0x0A4D0001, 0x0A4D00FE), label(StartAnswer),
                              true, QStringLiteral("b\t1"), -1),
             QStringList({QStringLiteral("2024/05/01 09:59:59 10.77.0.1      ～10.77.0.254     "
                                         "Send-[Start Request Answer] :b\t1"),
                          QStringLiteral("2024/05/01 09:59:59 Send Status:-1")}));
    QCOMPARE(NetLog::recvPair(t, 0x0A4D0002, label(Logout), {}, 1),
             QStringList({QStringLiteral(
                              "2024/05/01 09:59:59 10.77.0.2       Recv-[User Logout(End Prg)] :"),
                          QStringLiteral("2024/05/01 09:59:59 Receive Status:1")}));
    QCOMPARE(NetLog::recvError(t, 0x0A4D0003),
             QStringLiteral("2024/05/01 09:59:59 10.77.0.3       Recv-[Receive Error]"));
    // A payload cannot add lines of its own to the log.
    const QStringList forged =
        NetLog::recvPair(t, 1, label(GlobalChat), QStringLiteral("a\r\nb\0c"), 7);
    QCOMPARE(
        forged.first(),
        QStringLiteral("2024/05/01 09:59:59 0.0.0.1         Recv-[Global Chat Data    ] :a  b c"));
}

void TestDatagram::participantRules()
{
    ParticipantTable t;
    QCOMPARE(t.addOrKeep(QStringLiteral("a"), QStringLiteral("1.0.0"), 0x7F000002),
             ParticipantTable::Outcome::Added);
    QCOMPARE(t.addOrKeep(QStringLiteral("b"), QStringLiteral("1.0.0"), 0x7F000003),
             ParticipantTable::Outcome::Added);
    // First entry wins: a renamed user keeps the old name.
    QCOMPARE(t.addOrKeep(QStringLiteral("a2"), QStringLiteral("9.9.9"), 0x7F000002),
             ParticipantTable::Outcome::Known);
    QCOMPARE(t.at(1).name, QStringLiteral("a"));
    QCOMPARE(t.at(1).version, QStringLiteral("1.0.0"));
    QVERIFY(!t.logout(0x7F000009));
    QVERIFY(t.logout(0x7F000002));
    QCOMPARE(t.at(1).address, 0u);
    QCOMPARE(t.at(1).name, QString());
    QCOMPARE(t.find(0x7F000002), 0);
    QVERIFY(!t.logout(0x7F000002));
    // Back again: a new entry after the blanked one.
    QCOMPARE(t.addOrKeep(QStringLiteral("a"), QStringLiteral("1.0.1"), 0x7F000002),
             ParticipantTable::Outcome::Added);
    QCOMPARE(t.last(), 3);
    QCOMPARE(t.find(0x7F000002), 3);
    QCOMPARE(t.listed(), QList<int>({2, 3}));
    QCOMPARE(t.find(0), 0);
    QCOMPARE(t.addOrKeep(QStringLiteral("z"), {}, 0), ParticipantTable::Outcome::Known);
}

void TestDatagram::participantCap()
{
    ParticipantTable t;
    for (quint32 a = 1; a <= quint32(ParticipantTable::Cap); ++a)
        QCOMPARE(t.addOrKeep(QStringLiteral("p"), {}, 0x0A000000 + a),
                 ParticipantTable::Outcome::Added);
    QCOMPARE(t.addOrKeep(QStringLiteral("late"), {}, 0x0B000001), ParticipantTable::Outcome::Full);
    QCOMPARE(t.last(), ParticipantTable::Cap);
    // A known address still counts as known when the table is full.
    QCOMPARE(t.addOrKeep(QStringLiteral("p"), {}, 0x0A000001), ParticipantTable::Outcome::Known);
}

void TestDatagram::targetNetworks_data()
{
    QTest::addColumn<quint32>("from");
    QTest::addColumn<quint32>("target");
    QTest::addColumn<bool>("inside");
    QTest::newRow("same /24") << quint32(0x0A4D0002) << quint32(0x0A4D00FF) << true;
    QTest::newRow("other /24") << quint32(0x0A4D0102) << quint32(0x0A4D00FF) << false;
    QTest::newRow("/16 target") << quint32(0x0A4D0102) << quint32(0x0A4DFFFF) << true;
    QTest::newRow("/16 target, other /16") << quint32(0x0A4E0102) << quint32(0x0A4DFFFF) << false;
    QTest::newRow("host target, that host") << quint32(0xC0A80105) << quint32(0xC0A80105) << true;
    QTest::newRow("host target, neighbour") << quint32(0xC0A80106) << quint32(0xC0A80105) << false;
    QTest::newRow("all ones") << quint32(0x01020304) << quint32(0xFFFFFFFF) << true;
}

void TestDatagram::targetNetworks()
{
    QFETCH(quint32, from);
    QFETCH(quint32, target);
    QFETCH(bool, inside);
    QCOMPARE(isInTargetNetwork(from, target), inside);
    NetConfig c;
    c.targets[7] = {target, false};
    QCOMPARE(acceptsSource(c, from), inside);
    c.acceptOutside = true;
    QVERIFY(acceptsSource(c, from));
}

QTEST_GUILESS_MAIN(TestDatagram)
#include "tst_datagram.moc"
