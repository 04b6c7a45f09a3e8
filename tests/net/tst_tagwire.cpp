// A tag record and its datagram, both ways, and what a received one keeps.
#include "cp932.h"
#include "datagram.h"
#include "tagwire.h"

#include <QTest>

using namespace Net::TagWire;

Q_DECLARE_METATYPE(TagRecord)

namespace {
QDateTime at(int y, int mo, int d, int h = 0, int mi = 0)
{
    return QDateTime(QDate(y, mo, d), QTime(h, mi));
}

// A tag with every field the datagram carries set to something not default.
TagRecord full()
{
    TagRecord t;
    t.setText(Tag::FontName, QStringLiteral("ＭＳ ゴシック"));
    t.setByte(Tag::FontSize, 14);
    t.setByte(Tag::FontBold, 1);
    t.setByte(Tag::FontStrikeout, 1);
    t.setLong(Tag::ForeColor, qint32(0x00FF8000));
    t.setLong(Tag::BackColor, qint32(0x0080FFFF));
    t.setByte(Tag::Look3D, 1);
    t.setByte(Tag::FrameM, 1);
    t.setLong(Tag::Width, 321);
    t.setLong(Tag::Height, 123);
    t.setByte(Tag::ScheduleKind, 3);
    t.setDate(Tag::DisplayDateTime, at(2024, 5, 1, 9, 30));
    t.setByte(Tag::MonthlyDay, 32);
    t.setByte(Tag::WeekdayFlags, 1, 0);
    t.setByte(Tag::WeekdayFlags, 1, 6);
    t.setText(Tag::EraseTime, QStringLiteral("17:45"));
    t.setByte(Tag::TopMost, 1);
    t.setByte(Tag::Blink, 1);
    t.setText(Tag::SenderName, QStringLiteral("山田太郎"));
    t.setDate(Tag::EraseDateTime, at(2024, 12, 31, 23, 59));
    t.setByte(Tag::WeekOfMonthFlags, 1, 2);
    t.setByte(Tag::WeekOfMonthFlags, 1, 5);
    t.setByte(Tag::SoundFlag, 1);
    t.setByte(Tag::OpenFileFlag, 1);
    t.setLong(Tag::PosX, -40);
    t.setLong(Tag::PosY, 1070);
    t.setByte(Tag::MailFlag, 1);
    t.setText(Tag::FilePath, QStringLiteral("/home/共有/お知らせ.wav"));
    t.setMessage(QStringLiteral("会議は\r\n３時から"));
    return t;
}
} // namespace

class TestTagWire : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void roundTrip_data();
    void roundTrip();
    void wireFields();
    void messageCutWhole();
    void received_data();
    void received();
};

void TestTagWire::roundTrip_data()
{
    QTest::addColumn<TagRecord>("tag");
    QTest::newRow("defaults") << TagRecord();
    QTest::newRow("every carried field") << full();
    TagRecord monthly;
    monthly.setByte(Tag::ScheduleKind, 4);
    monthly.setByte(Tag::MonthlyDay, 7);
    monthly.setDate(Tag::DisplayDateTime, at(1900, 1, 1, 8, 5));
    monthly.setLong(Tag::BackColor, qint32(0xFFFFFFFF));
    monthly.setMessage(QStringLiteral("月次報告"));
    QTest::newRow("monthly, all colour bits") << monthly;
    TagRecord longPath = full();
    longPath.setText(Tag::FilePath, QStringLiteral("/x/") + QString(180, u'p'));
    QTest::newRow("path at its 189 bytes") << longPath;
}

// Everything the datagram carries comes back as it was; the rest stays default.
void TestTagWire::roundTrip()
{
    QFETCH(TagRecord, tag);
    const Net::TagDatagram wire = TagWireMap::toDatagram(tag);
    QCOMPARE(wire.bytes().size(), Net::TagRecordSize);
    const TagRecord back = TagWireMap::fromDatagram(wire);
    for (int f = 0; f < Tag::FieldCount; ++f)
        QVERIFY2(back.raw(f) == tag.raw(f), tag.layout()[f].name);
    QCOMPARE(back.messageBytes(), tag.messageBytes());
    // And the other way: a datagram read and written again is the same bytes.
    QCOMPARE(TagWireMap::toDatagram(back).bytes(), wire.bytes());
}

void TestTagWire::wireFields()
{
    TagRecord tag = full();
    tag.setText(Tag::TagNumber, QStringLiteral("00042"));
    tag.setStateMark(TagRecord::InTrash);
    tag.setByte(Tag::SealedFlag, 1);
    tag.setText(Tag::Password, QStringLiteral("secret"));
    const QByteArray w = TagWireMap::toDatagram(tag).bytes();
    // Our own number, state and seal never travel.
    QCOMPARE(w.mid(0, 6), QByteArray("000000"));
    QCOMPARE(w.mid(170, 24), QByteArray("0") + QByteArray(23, ' '));
    QCOMPARE(w.mid(6, 32), Cp932::toField(QStringLiteral("ＭＳ ゴシック"), 32));
    QCOMPARE(w.mid(38, 7), QByteArray("14 1001"));
    QCOMPARE(w.mid(45, 22), QByteArray("2024/05/01 2024/12/31 "));
    QCOMPARE(w.mid(67, 14), QByteArray("10109:3023:593"));
    QCOMPARE(w.mid(81, 25), QByteArray("321     123     321000001"));
    QCOMPARE(w.mid(106, 8), QByteArray("17:45011"));
    QCOMPARE(w.mid(146, 24), QByteArray("00FF80000080FFFF00100111"));
    QCOMPARE(w.mid(194, 17), QByteArray("-40     1070    1"));
    QCOMPARE(w.mid(400, 16), Cp932::encode(QStringLiteral("会議は\r\n３時から")));
    QCOMPARE(w.mid(416), QByteArray(1584, ' '));
}

// 1600 bytes on the wire: a double-byte character that would straddle the end goes.
void TestTagWire::messageCutWhole()
{
    TagRecord tag;
    tag.setMessage(QStringLiteral("a") + QString(800, QChar(0x4ED8)));
    const Net::TagDatagram wire = TagWireMap::toDatagram(tag);
    QVERIFY(Net::isWellFormedCp932(wire.bytes()));
    const TagRecord back = TagWireMap::fromDatagram(wire);
    QCOMPARE(back.messageBytes().size(), 1599);
    QCOMPARE(back.message(), QStringLiteral("a") + QString(799, QChar(0x4ED8)));
}

void TestTagWire::received_data()
{
    QTest::addColumn<bool>("sealed");
    QTest::addColumn<QString>("password");
    QTest::addColumn<QString>("kept");
    QTest::newRow("plain, stray password") << false << QStringLiteral("pw") << QString();
    QTest::newRow("sealed with password")
        << true << QStringLiteral("Pw 1") << QStringLiteral("Pw 1");
    QTest::newRow("sealed without") << true << QString() << QString();
}

// Whatever the sender set, a received tag opens, mails and plays nothing of its own.
void TestTagWire::received()
{
    QFETCH(bool, sealed);
    QFETCH(QString, password);
    QFETCH(QString, kept);
    Net::TagDatagram wire = TagWireMap::toDatagram(full());
    wire.setText(Sealed, sealed ? QStringLiteral("1") : QStringLiteral("0"));
    wire.setText(Password, password);
    wire.setText(SenderIp, QStringLiteral("10.77.0.1"));
    const TagRecord tag =
        TagWireMap::receivedTag(wire, QStringLiteral("佐藤"), QStringLiteral("10.77.0.9"));
    QCOMPARE(tag.byte(Tag::OpenFileFlag), 0);
    QCOMPARE(tag.byte(Tag::MailFlag), 0);
    QCOMPARE(tag.byte(Tag::SoundFlag), 0);
    QCOMPARE(tag.text(Tag::FilePath), QString());
    QCOMPARE(tag.text(Tag::ReceivedMark), QStringLiteral("1"));
    QCOMPARE(tag.text(Tag::SenderName), QStringLiteral("佐藤"));
    QCOMPARE(tag.text(Tag::SenderAddress), QStringLiteral("10.77.0.9"));
    QCOMPARE(tag.text(Tag::TagNumber), QString());
    QCOMPARE(tag.stateMark(), QStringLiteral("0"));
    QCOMPARE(tag.byte(Tag::SealedFlag), sealed ? 1 : 0);
    QCOMPARE(tag.text(Tag::Password), kept);
    // The look and the schedule are the sender's.
    QCOMPARE(tag.kindNumber(), 3);
    QCOMPARE(tag.longValue(Tag::ForeColor), qint32(0x00FF8000));
    QCOMPARE(tag.message(), full().message());
}

QTEST_GUILESS_MAIN(TestTagWire)
#include "tst_tagwire.moc"
