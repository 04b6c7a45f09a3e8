#include "cp932.h"
#include "envrecord.h"
#include "oledate.h"
#include "tagrecord.h"

#include <QSet>
#include <QTest>
#include <QTimeZone>

namespace {
// Independent of the layout tables: where the texts lie, from the documented layouts.
const QList<QPair<int, int>> EnvTexts = {
    {0, 5},     {8, 32},    {40, 32},  {72, 15},   {87, 32},  {177, 255},  {432, 255}, {730, 7},
    {737, 255}, {994, 1},   {995, 1},  {996, 255}, {1264, 6}, {1273, 298}, {1616, 1},  {1617, 8},
    {1626, 64}, {1700, 64}, {1784, 1}, {1785, 1},  {1796, 1}, {1797, 260}};
const QList<QPair<int, int>> TagTexts = {{0, 5},   {5, 1},   {6, 32},   {84, 5},   {92, 32},
                                         {149, 1}, {150, 8}, {158, 15}, {175, 278}};

QByteArray blank(int size, const QList<QPair<int, int>> &texts)
{
    QByteArray b(size, '\0');
    for (const auto &[offset, length] : texts)
        b.replace(offset, length, QByteArray(length, ' '));
    return b;
}

void put(QByteArray &b, int offset, const QByteArray &bytes)
{
    b.replace(offset, bytes.size(), bytes);
}

const QByteArray NoDate("\0\0\0\0\0\0\0\x40", 8); // 2.0: 1900/01/01
} // namespace

class TestRecords : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void layoutsCoverEveryByte();
    void defaultEnvGolden();
    void envAccessors();
    void sampleTagGolden();
    void emptyAndLongMessages();
};

void TestRecords::layoutsCoverEveryByte()
{
    QCOMPARE(checkLayout(EnvRecord::fields(), EnvRecord::Size), QString());
    QCOMPARE(checkLayout(TagRecord::fields(), TagRecord::FixedSize), QString());
    for (Layout layout : {EnvRecord::fields(), TagRecord::fields()}) {
        QSet<QString> names;
        for (const FieldDef &f : layout) {
            if (f.type == FieldType::Pad)
                continue;
            const QString name = QString::fromLatin1(f.name);
            QVERIFY2(!names.contains(name), qPrintable(name));
            names.insert(name);
        }
    }
}

void TestRecords::defaultEnvGolden()
{
    QByteArray expected = blank(EnvRecord::Size, EnvTexts);
    put(expected, 0, "00001");
    put(expected, 87,
        "\x82\x6C\x82\x72\x20\x82\x6F\x83\x53\x83\x56\x83\x62\x83\x4E"); // ＭＳ Ｐゴシック
    put(expected, 123, "\x0A");
    put(expected, 128, QByteArray("\xFF\xFF\x80\x00", 4));
    put(expected, 133, "\x01");
    put(expected, 702, QByteArray("\xC8\x00\x78\x00", 4));
    put(expected, 708, QByteArray("\x50\x00\x08\x00", 4));
    put(expected, 724, "\x01\x01");
    put(expected, 992,
        "\x0F\x01"
        "00");
    put(expected, 1260, QByteArray("\x64\x00\x64\x00", 4));
    put(expected, 1264, "010000");
    put(expected, 1270, "\x01");
    put(expected, 1272, "\x01");
    put(expected, 1592, QByteArray("\x64\x00\x00\x00", 4));
    put(expected, 1616, "0");
    put(expected, 1692, QByteArray("\x19\x00\x00\x00\x01\x00\x00\x00", 8));
    put(expected, 1780, "\xBE\x2F");
    put(expected, 1784, "00");

    const EnvRecord env;
    QCOMPARE(env.bytes().size(), 2057);
    for (int i = 0; i < EnvRecord::Size; ++i)
        if (env.bytes()[i] != expected[i])
            QFAIL(qPrintable(QStringLiteral("byte %1: 0x%2, expected 0x%3")
                                 .arg(i)
                                 .arg(quint8(env.bytes()[i]), 2, 16, QLatin1Char('0'))
                                 .arg(quint8(expected[i]), 2, 16, QLatin1Char('0'))));

    EnvRecord back;
    back.clear();
    QVERIFY(back.setBytes(expected));
    QVERIFY(back == env);
    QCOMPARE(back.text(Env::DefaultFontName), QStringLiteral("ＭＳ Ｐゴシック"));
    QCOMPARE(back.nextTagNumber(), QStringLiteral("00001"));
    QCOMPARE(back.portNo(), quint16(12222));
    QCOMPARE(back.problem(), QString());
}

void TestRecords::envAccessors()
{
    EnvRecord env;
    env.setBroadcastAddress(0, 0xC0A801FF);
    env.setSequential(0, true);
    env.setBroadcastAddress(15, 0x0A000001);
    env.setPortNo(65000);
    QCOMPARE(env.bytes().mid(177, 15), QByteArray("192.168.1.255  "));
    QCOMPARE(env.bytes().mid(177 + 15 * 15, 15), QByteArray("10.0.0.1       "));
    QCOMPARE(env.bytes()[432], '1');
    QCOMPARE(env.broadcastAddress(0), 0xC0A801FFu);
    QCOMPARE(env.broadcastAddress(1), 0u);
    QVERIFY(env.sequential(0) && !env.sequential(15));
    QCOMPARE(env.portNo(), quint16(65000)); // above 32767 in a signed 2-byte field
    env.setTagCount(-3);
    QVERIFY(env.problem().contains(QStringLiteral("TagCount")));
}

void TestRecords::sampleTagGolden()
{
    TagRecord tag;
    tag.setText(Tag::TagNumber, QStringLiteral("00012"));
    tag.setText(Tag::FontName, QStringLiteral("ＭＳ ゴシック"));
    tag.setByte(Tag::FontBold, 1);
    tag.setByte(Tag::FontSize, 12);
    tag.setLong(Tag::ForeColor, 0x0000FF);
    tag.setLong(Tag::BackColor, 0x80FFFF);
    tag.setByte(Tag::Frame, 1);
    tag.setLong(Tag::Width, 240);
    tag.setLong(Tag::Height, 160);
    tag.setByte(Tag::ScheduleKind, 3);
    tag.setDate(Tag::DisplayDateTime, QDateTime(QDate(2024, 5, 1), QTime(12, 0), QTimeZone::utc()));
    tag.setByte(Tag::MonthlyDay, 32);
    tag.setByte(Tag::WeekdayFlags, 1, 1);
    tag.setText(Tag::EraseTime, QStringLiteral("18:30"));
    tag.setByte(Tag::TopMost, 1);
    tag.setText(Tag::SenderName, QStringLiteral("山田"));
    tag.setByte(Tag::WeekOfMonthFlags, 1, 1);
    tag.setByte(Tag::WeekOfMonthFlags, 1, 3);
    tag.setByte(Tag::SoundFlag, 1);
    tag.setLong(Tag::PosX, -20);
    tag.setLong(Tag::PosY, 300);
    tag.setText(Tag::ReceivedMark, QStringLiteral("1"));
    tag.setText(Tag::Password, QStringLiteral("abc"));
    tag.setText(Tag::SenderAddress, QStringLiteral("192.168.1.7"));
    tag.setByte(Tag::SealedFlag, 1);
    tag.setText(Tag::FilePath, QStringLiteral("/usr/share/sounds/alarm.wav"));
    tag.setMessage(QStringLiteral("会議は10時～"));

    QByteArray expected = blank(TagRecord::FixedSize, TagTexts);
    put(expected, 0, "000120");
    put(expected, 6, "\x82\x6C\x82\x72\x20\x83\x53\x83\x56\x83\x62\x83\x4E");
    put(expected, 38, "\x01");
    put(expected, 42, "\x0C");
    put(expected, 44, QByteArray("\xFF\x00\x00\x00\xFF\xFF\x80\x00", 8));
    put(expected, 53, "\x01");
    put(expected, 56, QByteArray("\xF0\x00\x00\x00\xA0\x00\x00\x00", 8));
    put(expected, 64, "\x03");
    put(expected, 68, QByteArray("\x00\x00\x00\x00\xB0\x2C\xE6\x40", 8));
    put(expected, 76, QByteArray("\x20\x00\x01\x00\x00\x00\x00\x00", 8));
    put(expected, 84, "18:30");
    put(expected, 90, "\x01");
    put(expected, 92, "\x8E\x52\x93\x63");
    put(expected, 124, NoDate);
    put(expected, 132, QByteArray("\x00\x01\x00\x01\x00\x00\x01\x00", 8));
    put(expected, 140, QByteArray("\xEC\xFF\xFF\xFF\x2C\x01\x00\x00", 8));
    put(expected, 149, "1abc");
    put(expected, 158, "192.168.1.7");
    put(expected, 173, "\x01");
    put(expected, 175, "/usr/share/sounds/alarm.wav");
    const QByteArray message = "\x89\xEF\x8B\x63\x82\xCD"
                               "10"
                               "\x8E\x9E\x81\x60";
    expected += QByteArray("\x0C\x00", 2) + message;

    const QByteArray actual = tag.serialize();
    QCOMPARE(actual.size(), 458 + 12);
    QCOMPARE(actual.toHex(' '), expected.toHex(' '));

    const auto back = TagRecord::parse(actual + QByteArray(100, 'x'));
    QVERIFY(back.has_value());
    QVERIFY(*back == tag);
    QCOMPARE(back->message(), QStringLiteral("会議は10時～"));
    QCOMPARE(back->date(Tag::DisplayDateTime).toString(QStringLiteral("yyyy/MM/dd hh:mm:ss")),
             QStringLiteral("2024/05/01 12:00:00"));
    QCOMPARE(back->longValue(Tag::PosX), -20);
}

void TestRecords::emptyAndLongMessages()
{
    TagRecord tag;
    tag.setMessage(QString());
    QCOMPARE(tag.serialize().size(), 458);
    QCOMPARE(tag.serialize().mid(456), QByteArray("\0\0", 2));

    // The longest message still fits the slot; one more byte is cut, never split.
    tag.setMessage(QString(TagRecord::MaxMessageBytes / 2 + 5, QChar(u'あ')));
    QCOMPARE(tag.messageBytes().size(), TagRecord::MaxMessageBytes - 1); // 32309 is odd
    QVERIFY(tag.serialize().size() <= TagRecord::SlotSize);
    const auto back = TagRecord::parse(tag.serialize());
    QVERIFY(back && *back == tag);
}

QTEST_APPLESS_MAIN(TestRecords)
#include "tst_records.moc"
