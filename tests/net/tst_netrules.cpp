// The LAN's rules without sockets: codec, tag map, log lines, tables, gates, settings.
#include "chatsession.h"
#include "cp932.h"
#include "datagram.h"
#include "envrecord.h"
#include "floodgate.h"
#include "netlog.h"
#include "netsetupinput.h"
#include "participants.h"
#include "tagsender.h"
#include "tagwire.h"

#include <QTest>

using namespace Net;
using namespace Qt::StringLiterals;

Q_DECLARE_METATYPE(Net::Fault)
Q_DECLARE_METATYPE(Net::Code)

namespace {
const auto sjis = [](const QString &text) { return Cp932::encode(text); };
const QString Kanji16 = u"付箋付箋付箋付箋付箋付箋付箋付箋"_s;

// A tag with every field the datagram carries set to something not default.
TagRecord full()
{
    TagRecord t;
    for (int f : {Tag::FontBold, Tag::FontStrikeout, Tag::Look3D, Tag::FrameM, Tag::TopMost,
                  Tag::Blink, Tag::SoundFlag, Tag::OpenFileFlag, Tag::MailFlag})
        t.setByte(f, 1);
    t.setByte(Tag::FontSize, 14);
    t.setByte(Tag::ScheduleKind, 3);
    t.setByte(Tag::MonthlyDay, 32);
    for (auto [f, v] : {std::pair{Tag::ForeColor, 0x00FF8000},
                        {Tag::BackColor, 0x0080FFFF},
                        {Tag::Width, 321},
                        {Tag::Height, 123},
                        {Tag::PosX, -40},
                        {Tag::PosY, 1070}})
        t.setLong(f, v);
    for (int i : {0, 6})
        t.setByte(Tag::WeekdayFlags, 1, i);
    for (int i : {2, 5})
        t.setByte(Tag::WeekOfMonthFlags, 1, i);
    t.setText(Tag::FontName, u"ＭＳ ゴシック"_s);
    t.setText(Tag::EraseTime, u"17:45"_s);
    t.setText(Tag::SenderName, u"山田太郎"_s);
    t.setText(Tag::FilePath, u"/home/共有/お知らせ.wav"_s);
    t.setDate(Tag::DisplayDateTime, QDateTime(QDate(2024, 5, 1), QTime(9, 30)));
    t.setDate(Tag::EraseDateTime, QDateTime(QDate(2024, 12, 31), QTime(23, 59)));
    t.setMessage(u"会議は\r\n３時から"_s);
    return t;
}
// The valid settings with edits, ";"-separated: port=P, name=N, rowR=a.b.c.d, seqR.
NetSetupInput input(const QString &edits)
{
    NetSetupInput in;
    in.port = u"12222"_s;
    in.userName = u"alice"_s;
    for (const QString &e : (u"row0=127.0.0.255;"_s + edits).split(u';', Qt::SkipEmptyParts)) {
        const QString key = e.section(u'=', 0, 0), value = e.section(u'=', 1);
        const auto row = std::size_t(key.mid(3).toInt());
        if (key == u"port")
            in.port = value;
        else if (key == u"name")
            in.userName = value;
        else if (key.startsWith(u"row"))
            for (int i = 0; i < 4; ++i)
                in.octets[row][std::size_t(i)] = value.section(u'.', i, i);
        else
            in.sequential[row] = true;
    }
    return in;
}
const LocalIdentity Here{u"desk1"_s, 0x7F000001};
} // namespace

class TestNetRules : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decodeRules_data();
    void decodeRules();
    void labelsAndEncoders();
    void addressesAndLogLines();
    void participantRules();
    void targetNetworks();
    void tagMapRoundTrip();
    void tagMapWireBytes();
    void receivedTagStartsNothing();
    void floodGate();
    void settingsChecks_data();
    void settingsChecks();
    void settingsDefaultsStoringAndIdentity();
    void recipientChecks();
    void privateChatStates();
};

void TestNetRules::decodeRules_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<Fault>("fault");
    QTest::addColumn<Code>("code");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("version");
    auto row = [](const char *tag, const QByteArray &b, Fault f, Code c = TagData,
                  const QString &name = {}, const QString &version = {}) {
        QTest::newRow(tag) << b << f << c << name << version;
    };
    // Octal escapes: "\377" is the code byte 0xFF and ends there.
    row("start", "\377alice\t1.0.0", Fault::None, StartRequest, u"alice"_s, u"1.0.0"_s);
    row("start without tab", "\377carol", Fault::None, StartRequest, u"carol"_s);
    row("start, second tab kept", "\377d\t1\t2", Fault::None, StartRequest, u"d"_s, u"1\t2"_s);
    row("start, empty name", "\377\t1.0.0", Fault::NoName);
    row("start, 16 kanji", "\377" + sjis(Kanji16) + "\t1", Fault::None, StartRequest, Kanji16,
        u"1"_s);
    row("start, 33-byte name", "\377" + QByteArray(33, 'n') + "\t1", Fault::TooLong);
    row("start, 17-byte version", "\377n\t" + QByteArray(17, '1'), Fault::TooLong);
    row("logout", "\001", Fault::None, Logout);
    row("logout with a tail", "\001x", Fault::TooLong);
    row("empty", "", Fault::Empty);
    row("private request", "\003eve", Fault::None, PrivateChatRequest, u"eve"_s);
    row("private request, no name", "\003", Fault::NoName);
    row("private request, 33 bytes", "\003" + QByteArray(33, 'x'), Fault::TooLong);
    row("dummy, 17 bytes", "\011" + QByteArray(17, 'd'), Fault::TooLong);
    row("chat, 12 bytes", "\375" + QByteArray(12, 'a'), Fault::TooShort);
    row("chat, 13 bytes", "\375a" + QByteArray(12, ' '), Fault::None, GlobalChat);
    row("chat, 317 bytes", "\006" + QByteArray(317, 'a'), Fault::None, PrivateChatData);
    row("chat, 318 bytes", "\006" + QByteArray(318, 'a'), Fault::TooLong);
    row("confirmation", "\012" + sjis(u"山田"_s).leftJustified(32, ' ') + "メモ", Fault::None,
        OpeningConfirmation, u"山田"_s);
    row("confirmation, 31 bytes", "\013" + QByteArray(31, 'a'), Fault::TooShort);
    row("confirmation, blank name", "\013" + QByteArray(32, ' ') + "x", Fault::NoName);
    row("receipt", "\002frank 00001", Fault::None, TagReceived);
    row("lead byte at the end", "\377ab\x81", Fault::BadText);
    row("0xFD inside a text", "\003a\xFD", Fault::BadText);
    row("tag record", "0" + QByteArray(1999, ' '), Fault::None, TagData);
    row("tag record, 1999", "0" + QByteArray(1998, ' '), Fault::TooShort);
    row("tag record, 2001", "0" + QByteArray(2000, ' '), Fault::TooLong);
    row("unknown code 12 is a tag record", "\014" + QByteArray(10, ' '), Fault::TooShort);
    row("over 3000", QByteArray(3001, '0'), Fault::TooLong);
}

void TestNetRules::decodeRules()
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
    QTEST(d.message->version, "version");
    QCOMPARE(d.message->record, d.message->code == TagData ? bytes : QByteArray());
}

void TestNetRules::labelsAndEncoders()
{
    QCOMPARE(startRequest(u"山田"_s, u"1.0.0"_s), "\377\x8E\x52\x93\x63\t1.0.0");
    QCOMPARE(startAnswer(u"a"_s, u"1.2.3"_s), "\376a\t1.2.3");
    QCOMPARE(logout() + dummy() + nameOnly(PrivateChatNg, u"bob"_s), "\001\011Dummy Send\005bob");
    const QByteArray c = confirmation(AbandonmentConfirmation, u"bob"_s, u"memo"_s);
    QCOMPARE(c, "\013bob" + QByteArray(29, ' ') + "memo");
    QCOMPARE(decode(c).message->text, u"memo"_s);
    // A 33-byte name is cut to 32 and never splits a kanji.
    QCOMPARE(confirmation(OpeningConfirmation, u'a' + Kanji16, {}),
             "\012a" + sjis(Kanji16).left(30) + ' ');
    // Chat lines: the name, then blanks to the 13-byte column, at least one.
    for (auto [name, spaces] :
         {std::pair{u"a"_s, 12}, {u"abcdefghijkl"_s, 1}, {u"山田太郎abc"_s, 2}})
        QCOMPARE(chatLine(GlobalChat, name, u"hi\r\n"_s),
                 "\375" + sjis(name) + QByteArray(spaces, ' ') + "hi");
    const QString exact = QString(142, QChar(0x3042)); // 284 bytes
    QCOMPARE(chatLine(PrivateChatData, u"a"_s, exact).size(), 1 + 13 + 284);
    QVERIFY(chatLine(PrivateChatData, u"a"_s, exact + u'x').isEmpty());
    QVERIFY(!chatLine(PrivateChatData, u"a"_s, exact + u"\r\n"_s).isEmpty());
    // The longest line a sender can make is still one a receiver takes.
    QVERIFY(decode(chatLine(GlobalChat, Kanji16, exact)).message);
}

void TestNetRules::addressesAndLogLines()
{
    for (auto [a, text] :
         {std::pair{0x0A000001u, "10.0.0.1       "}, {0xC0A8FFFEu, "192.168.255.254"}}) {
        QCOMPARE(NetLog::AddrToText(a), QLatin1String(text));
        QCOMPARE(NetLog::TextToAddr(QLatin1String(text)), a);
    }
    for (auto [text, a] :
         {std::pair{"010.001.000.009", 0x0A010009u}, {"10.0.1", 0u}, {"10.0.0.256", 0u}})
        QCOMPARE(NetLog::TextToAddr(QLatin1String(text)), a);

    const QDateTime t(QDate(2024, 5, 1), QTime(9, 59, 59));
    const QString at = u"2024/05/01 09:59:59 "_s;
    QCOMPARE(NetLog::recvError(t, 0x0A4D0003), at + u"10.77.0.3       Recv-[Receive Error]"_s);
    // A payload cannot add lines of its own to the log.
    QCOMPARE(NetLog::recvPair(t, 1, label(GlobalChat), u"a\r\nb\0c"_s, 7).first(),
             at + u"0.0.0.1         Recv-[Global Chat Data    ] :a  b c"_s);
}

void TestNetRules::participantRules()
{
    using O = ParticipantTable::Outcome;
    ParticipantTable t;
    QCOMPARE(t.addOrKeep(u"a"_s, u"1.0.0"_s, 0x7F000002), O::Added);
    QCOMPARE(t.addOrKeep(u"b"_s, u"1.0.0"_s, 0x7F000003), O::Added);
    // First entry wins: a renamed user keeps the old name.
    QCOMPARE(t.addOrKeep(u"a2"_s, u"9.9.9"_s, 0x7F000002), O::Known);
    QCOMPARE(t.at(1).name + t.at(1).version, u"a1.0.0"_s);
    QVERIFY(!t.logout(0x7F000009));
    QVERIFY(t.logout(0x7F000002));
    QCOMPARE(t.find(0x7F000002), 0);
    QVERIFY(!t.logout(0x7F000002));
    QCOMPARE(t.addOrKeep(u"a"_s, u"1.0.1"_s, 0x7F000002), O::Added);
    QCOMPARE(t.find(0x7F000002), 3);
    QCOMPARE(t.listed(), QList<int>({2, 3}));
    for (quint32 a = 4; a <= quint32(ParticipantTable::Cap); ++a)
        QCOMPARE(t.addOrKeep(u"p"_s, {}, 0x0A000000 + a), O::Added);
    QCOMPARE(t.addOrKeep(u"late"_s, {}, 0x0B000001), O::Full);
    QCOMPARE(t.last(), ParticipantTable::Cap);
    // A known address still counts as known when the table is full.
    QCOMPARE(t.addOrKeep(u"p"_s, {}, 0x0A000004), O::Known);
}

void TestNetRules::targetNetworks()
{
    // from, target, inside its network
    const std::tuple<quint32, quint32, bool> rows[] = {{0x0A4D0002, 0x0A4D00FF, true},
                                                       {0x0A4D0102, 0x0A4D00FF, false},
                                                       {0x0A4D0102, 0x0A4DFFFF, true},
                                                       {0x01020304, 0xFFFFFFFF, true}};
    for (const auto &[from, target, inside] : rows) {
        QCOMPARE(isInTargetNetwork(from, target), inside);
        NetConfig c;
        c.targets[7] = {target, false};
        QCOMPARE(acceptsSource(c, from), inside);
        c.acceptOutside = true;
        QVERIFY(acceptsSource(c, from));
    }
}

// Everything the datagram carries comes back as it was; the rest stays default.
void TestNetRules::tagMapRoundTrip()
{
    TagRecord monthly; // all colour bits
    monthly.setByte(Tag::ScheduleKind, 4);
    monthly.setDate(Tag::DisplayDateTime, QDateTime(QDate(1900, 1, 1), QTime(8, 5)));
    monthly.setLong(Tag::BackColor, qint32(0xFFFFFFFF));
    TagRecord longPath = full(); // the path at its 189 bytes
    longPath.setText(Tag::FilePath, u"/x/"_s + QString(180, u'p'));
    for (const TagRecord &tag : {TagRecord(), full(), monthly, longPath}) {
        const TagDatagram wire = TagWireMap::toDatagram(tag);
        QCOMPARE(wire.bytes().size(), TagRecordSize);
        const TagRecord back = TagWireMap::fromDatagram(wire);
        for (int f = 0; f < Tag::FieldCount; ++f)
            QVERIFY2(back.raw(f) == tag.raw(f), tag.layout()[f].name);
        QCOMPARE(back.messageBytes(), tag.messageBytes());
        QCOMPARE(TagWireMap::toDatagram(back).bytes(), wire.bytes());
    }
}

void TestNetRules::tagMapWireBytes()
{
    TagRecord tag = full();
    tag.setText(Tag::TagNumber, u"00042"_s);
    tag.setStateMark(TagRecord::InTrash);
    tag.setByte(Tag::SealedFlag, 1);
    tag.setText(Tag::Password, u"secret"_s);
    const QByteArray w = TagWireMap::toDatagram(tag).bytes();
    // Our own number, state and seal never travel.
    QCOMPARE(w.mid(0, 6), "000000");
    QCOMPARE(w.mid(170, 24), "0" + QByteArray(23, ' '));
    QCOMPARE(w.mid(6, 32), Cp932::toField(u"ＭＳ ゴシック"_s, 32));
    QCOMPARE(w.mid(38, 76), "14 10012024/05/01 2024/12/31 10109:3023:593321     123     321000001"
                            "17:45011");
    QCOMPARE(w.mid(146, 24), "00FF80000080FFFF00100111");
    QCOMPARE(w.mid(194, 17), "-40     1070    1");
    QCOMPARE(w.mid(400), sjis(u"会議は\r\n３時から"_s) + QByteArray(1584, ' '));
    // 1600 bytes on the wire: a double-byte character that would straddle the end goes.
    tag.setMessage(u"a"_s + QString(800, QChar(0x4ED8)));
    const TagDatagram cut = TagWireMap::toDatagram(tag);
    QVERIFY(isWellFormedCp932(cut.bytes()));
    QCOMPARE(TagWireMap::fromDatagram(cut).message(), u"a"_s + QString(799, QChar(0x4ED8)));
}

// Whatever the sender set, a received tag opens, mails and plays nothing of its own;
// the password stays only while it is sealed.
void TestNetRules::receivedTagStartsNothing()
{
    for (auto [sealed, password, kept] : {std::tuple{false, u"pw"_s, QString()},
                                          {true, u"Pw 1"_s, u"Pw 1"_s},
                                          {true, QString(), QString()}}) {
        TagDatagram wire = TagWireMap::toDatagram(full());
        wire.setText(TagWire::Sealed, sealed ? u"1"_s : u"0"_s);
        wire.setText(TagWire::Password, password);
        wire.setText(TagWire::SenderIp, u"10.77.0.1"_s);
        const TagRecord tag = TagWireMap::receivedTag(wire, u"佐藤"_s, u"10.77.0.9"_s);
        QCOMPARE(tag.byte(Tag::OpenFileFlag) + tag.byte(Tag::MailFlag) + tag.byte(Tag::SoundFlag),
                 0);
        QCOMPARE(tag.text(Tag::FilePath) + tag.text(Tag::TagNumber), QString());
        QCOMPARE(tag.text(Tag::ReceivedMark) + tag.stateMark() + tag.text(Tag::SenderName) +
                     tag.text(Tag::SenderAddress),
                 u"10佐藤10.77.0.9"_s);
        QCOMPARE(tag.byte(Tag::SealedFlag), sealed ? 1 : 0);
        QCOMPARE(tag.text(Tag::Password), kept);
        QCOMPARE(tag.message(), full().message());
    }
}

void TestNetRules::floodGate()
{
    // Arrivals as source@ms, and the answers with 3 per source, 5 in all, a 1 s window.
    for (auto [arrivals, admitted] : {std::pair{"1@0 1@10 1@20 1@1000 1@1010"_L1, "YYYYY"_L1},
                                      {"1@0 1@1 1@2 1@999"_L1, "YYYN"_L1},
                                      {"1@0 1@1 1@2 1@3 2@4"_L1, "YYYNY"_L1},
                                      {"1@0 1@1 2@2 2@3 3@4 4@5 3@1004 4@1005"_L1, "YYYYYNYY"_L1},
                                      {"1@0 1@1 1@2 1@3 1@4 1@1001"_L1, "YYYNNY"_L1}}) {
        FloodGate gate(3, 5, 1000);
        QString got;
        for (const QString &a : QString(arrivals).split(u' '))
            got += QLatin1Char(
                "NY"[gate.admit(a.section(u'@', 0, 0).toUInt(), a.section(u'@', 1).toLongLong())]);
        QCOMPARE(got, QString(admitted));
    }
    // Sources beyond MaxSources are refused until the old ones' minute is over.
    FloodGate many(1, 1'000'000, 1000);
    for (quint32 s = 0; s < FloodGate::MaxSources; ++s)
        QVERIFY(many.admit(s, 0));
    QVERIFY(!many.admit(FloodGate::MaxSources, 10));
    QVERIFY(many.admit(FloodGate::MaxSources, 1001));
    QVERIFY(!many.admit(FloodGate::MaxSources, 1002));
}

void TestNetRules::settingsChecks_data()
{
    QTest::addColumn<QString>("edits");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("control");
    auto row = [](const char *tag, const QString &edits, const char16_t *message = u"",
                  const char *control = "") {
        QTest::newRow(tag) << edits << QString::fromUtf16(message) << QString::fromLatin1(control);
    };
    const char16_t *portDigits = u"ポート番号は、数値を指定して下さい。";
    const char16_t *port4 = u"ポート番号は、４桁以上で指定して下さい。";
    const char16_t *portMax = u"ポート番号は、６５５３５以内で指定して下さい。";
    const char16_t *nameLong = u"ユーザー名が長すぎます。漢字１６文字以内で入力して下さい。";
    const char16_t *over254 = u"アドレスに２５４以上の値は指定できません。";
    const char16_t *over255 = u"アドレスに２５５以上の値は指定できません。";
    const char16_t *partial = u"アドレスは、全て入力して下さい。";
    const char16_t *zero = u"アドレスに０は指定できません。";
    row("valid", {});
    row("port empty", u"port=  "_s, u"ポート番号を指定して下さい。", "txt_PortNo");
    row("port with a letter", u"port=12a22"_s, portDigits, "txt_PortNo");
    row("port 0999", u"port=0999"_s, port4, "txt_PortNo");
    row("port 1024", u"port=1024"_s);
    row("port 65536", u"port=65536"_s, portMax, "txt_PortNo");
    row("port checked before name", u"port=;name="_s, u"ポート番号を指定して下さい。",
        "txt_PortNo");
    row("name empty", u"name= "_s, u"ユーザー名を指定して下さい。", "txt_UserName");
    row("name 16 kanji", u"name="_s + QString(16, QChar(0x5C71)));
    row("name 17 kanji", u"name="_s + QString(17, QChar(0x5C71)), nameLong, "txt_UserName");
    row("name 33 ascii", u"name="_s + QString(33, u'a'), nameLong, "txt_UserName");
    row("first octet 253", u"row0=253.1.1.255"_s);
    row("first octet 254", u"row0=254.1.1.255"_s, over254, "txt_IP1_0");
    row("second octet 254, row 3", u"row3=10.254.1.255"_s, over254, "txt_IP2_3");
    row("third octet 256", u"row0=10.1.256.255"_s, over255, "txt_IP3_0");
    row("range before partial", u"row0=300..."_s, over254, "txt_IP1_0");
    row("partial row", u"row2=10.1..255"_s, partial, "txt_IP3_2");
    row("192.168.1.0", u"row0=192.168.1.0"_s, zero, "txt_IP4_0");
    row("earlier row first", u"row1=10.1..;row2=999.1.1.1"_s, partial, "txt_IP3_1");
    row("no row", u"row0=..."_s, u"ブロードキャストアドレスを、少なくとも１個所は指定して下さい。",
        "txt_IP1_0");
    row("only row 15", u"row0=...;row15=10.1.2.3"_s);
    row("sequential on .1", u"row4=10.1.2.1;seq4"_s,
        u"シーケンシャル送信を行う場合は、２５５を指定して下さい。", "txt_IP4_4");
    row("sequential checked after all rows", u"row1=10.1.2.1;seq1;row2=10.1.2."_s, partial,
        "txt_IP4_2");
}

void TestNetRules::settingsChecks()
{
    QFETCH(QString, edits);
    QFETCH(QString, message);
    QFETCH(QString, control);
    const auto fault = validateNetSetup(input(edits));
    QCOMPARE(fault ? fault->message : QString(), message);
    QCOMPARE(fault ? fault->control : QString(), control);
}

void TestNetRules::settingsDefaultsStoringAndIdentity()
{
    // Without stored settings: port 12222 and this host's network in the first row.
    EnvRecord env;
    NetSetupInput in = netSetupFromEnv(env, {u"h"_s, 0xC0A80507});
    QCOMPARE(in.port, u"12222"_s);
    QCOMPARE(in.octets[0], (std::array{u"192"_s, u"168"_s, u"5"_s, u"255"_s}));
    QVERIFY(netSetupFromEnv(env, {u"h"_s, 0}).octets[0][0].isEmpty());

    in = input(u"port=54321;row5=10.77.0.255;seq0;seq7"_s); // an empty row keeps no flag
    in.userName = u" 山田\t太郎 "_s;
    storeNetSetup(in, Here, env);
    QCOMPARE(env.portNo(), quint16(54321));
    QCOMPARE(env.userName(), u"山田 太郎"_s);
    QCOMPARE(env.broadcastAddress(0), 0x7F0000FFu);
    QCOMPARE(env.broadcastAddress(5), 0x0A4D00FFu);
    QCOMPARE(QList<bool>({env.sequential(0), env.sequential(5), env.sequential(7)}),
             QList<bool>({true, false, false}));
    QCOMPARE(env.byte(Env::NetConfigured), 1);
    // What was stored comes back into the dialog unchanged, whatever this host's address.
    const NetSetupInput back = netSetupFromEnv(env, {u"h"_s, 0xC0A80507});
    QCOMPARE(back.octets, in.octets);
    QVERIFY(back.sequential[0]);

    QVERIFY(!identityChanged(env, Here));
    QVERIFY(identityChanged(env, {u"desk2"_s, 0x7F000001}));
    QVERIFY(identityChanged(env, {u"desk1"_s, 0x7F000002}));
    // A host name longer than the field matches its stored cut.
    const QString longName = QString(40, u'h');
    env.setText(Env::NetHostName, longName);
    QVERIFY(!identityChanged(env, {longName, 0x7F000001}));
}

void TestNetRules::recipientChecks()
{
    ParticipantTable none, two;
    two.addOrKeep(u"佐藤"_s, {}, 0x7F000002);
    two.addOrKeep(u"鈴木"_s, {}, 0x7F000003);
    two.logout(0x7F000003); // 鈴木 has quit
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

void TestNetRules::privateChatStates()
{
    using namespace PrivateChat;
    using E = Event;
    using A = Action;
    const std::tuple<State, Event, State, Action> rows[] = {
        {Idle, E::Request, Requesting, A::SendRequest},
        {Requesting, E::Request, Requesting, A::None},
        {Requesting, E::AnswerOk, Talking, A::OpenChat},
        {Idle, E::AnswerOk, Idle, A::None},
        {Requesting, E::AnswerNg, Idle, A::TellBusy},
        {Talking, E::AnswerNg, Talking, A::None},
        {Requesting, E::Deadline, Idle, A::TellNoAnswer},
        {Talking, E::Deadline, Talking, A::None},
        {Idle, E::IncomingRequest, Talking, A::Accept},
        {Requesting, E::IncomingRequest, Requesting, A::Refuse},
        {Talking, E::IncomingRequest, Talking, A::Refuse},
        {Talking, E::PartnerLeft, Idle, A::CloseChat},
        {Idle, E::PartnerLeft, Idle, A::None},
        {Talking, E::Leave, Idle, A::SendLogout},
        {Idle, E::Leave, Idle, A::None}};
    for (const auto &[state, event, then, action] : rows)
        QCOMPARE(next(state, event), (Step{then, action}));
}

QTEST_GUILESS_MAIN(TestNetRules)
#include "tst_netrules.moc"
