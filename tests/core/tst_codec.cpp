#include "cp932.h"
#include "fixedrecord.h"
#include "oledate.h"
#include "tablecheck.h"

#include <QTest>
#include <QTimeZone>
#include <array>

using namespace Qt::StringLiterals;

namespace {
using T = FieldType;
constexpr std::array<FieldDef, 8> Sample{{
    {"Name", 0, T::Text, 3},
    {"Flag", 3, T::Byte},
    {"Small", 4, T::Integer},
    {"", 6, T::Pad, 2},
    {"Big", 8, T::Long},
    {"When", 12, T::Date},
    {"Days", 20, T::Byte, 0, 3},
    {"Tags", 23, T::Text, 2, 2},
}};

QDateTime wall(int y, int m, int d, int h = 0, int n = 0, int s = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, n, s), QTimeZone::utc());
}
} // namespace

// CP932 text and the fixed-layout records built on it: the bytes on disk.
class TestCodec : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void mapping_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QByteArray>("bytes");
        // Where CP932 parts from plain Shift-JIS, and the half-width kana the texts use.
        // clang-format off
        QTest::newRow("wave dash U+FF5E")   << u"～"_s << QByteArray("\x81\x60");
        QTest::newRow("circled 1")          << u"①"_s << QByteArray("\x87\x40");
        QTest::newRow("small roman 1")      << u"ⅰ"_s << QByteArray("\xFA\x40");
        QTest::newRow("half-width kana")    << u"ﾀﾞﾌﾞﾙ"_s << QByteArray("\xC0\xDE\xCC\xDE\xD9");
        QTest::newRow("font name")          << u"ＭＳ Ｐゴシック"_s << QByteArray("\x82\x6C\x82\x72\x20\x82\x6F\x83\x53\x83\x56\x83\x62\x83\x4E");
        QTest::newRow("IBM row, lead 0xFB") << u"髙"_s << QByteArray("\xFB\xFC");
        // clang-format on
    }

    void mapping()
    {
        QFETCH(QString, text);
        QFETCH(QByteArray, bytes);
        QCOMPARE(Cp932::encode(text), bytes);
        QCOMPARE(Cp932::decode(bytes), text);
        QCOMPARE(Cp932::byteLength(text), bytes.size());
        QVERIFY(Cp932::canEncode(text));
    }

    void cut_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("n");
        QTest::addColumn<QString>("expected");
        // clang-format off
        QTest::newRow("fits")                   << u"あい"_s   << 4 << u"あい"_s;
        QTest::newRow("mid character")          << u"あい"_s   << 3 << u"あ"_s;
        QTest::newRow("mixed widths")           << u"aあｱい"_s << 4 << u"aあｱ"_s;
        QTest::newRow("mixed, cut before lead") << u"aあｱい"_s << 5 << u"aあｱ"_s;
        QTest::newRow("zero")                   << u"あ"_s     << 0 << QString();
        QTest::newRow("one before double")      << u"あ"_s     << 1 << QString();
        // Lead bytes 0xF0-0xFC start pairs too (髙 is 0xFB 0xFC, ⅰ 0xFA 0x40).
        QTest::newRow("lead 0xFB")              << u"a髙b"_s   << 2 << u"a"_s;
        QTest::newRow("lead 0xFA")              << u"ⅰⅰ"_s     << 3 << u"ⅰ"_s;
        // clang-format on
    }

    void cut()
    {
        QFETCH(QString, text);
        QFETCH(int, n);
        QFETCH(QString, expected);
        // Whole characters only: a lead byte left at the end would decode to nothing.
        const QByteArray cut = Cp932::cut(Cp932::encode(text), n);
        QCOMPARE(cut, Cp932::encode(expected));
        const QByteArray field = Cp932::toField(text, n);
        QCOMPARE(field.size(), n);
        QCOMPARE(Cp932::fromField(field), expected);
    }

    void fields_data()
    {
        gotWantColumns<QString>();
        const auto row = [](const char *name, const QByteArray &field, const QString &text) {
            QTest::newRow(name) << Cp932::fromField(field) << text;
        };
        row("padded", "abc   ", u"abc"_s);
        row("cut at NUL", QByteArray("ab\0cd ", 6), u"ab"_s);
        row("spaces before NUL trimmed", QByteArray("ab \0xx", 6), u"ab"_s);
        row("leading spaces kept", "  a  ", u"  a"_s);
        row("double-byte then spaces", "\x82\xa0  ", u"あ"_s);
        // A lone lead byte at the end must not vanish (a dump would then lose it).
        row("lone lead byte at the end", "  a\x82  ", u"  a\uFFFD"_s);
    }

    void fields() { compareGotWant<QString>(); }
    void unmappable()
    {
        // U+301C WAVE DASH has no CP932 form (its look-alike U+FF5E has).
        const QString text = u"a\u301Cb😀c"_s;
        QVERIFY(!Cp932::canEncode(text));
        QCOMPARE(Cp932::encode(text), QByteArray("a?b?c"));
        QCOMPARE(Cp932::byteLength(text), 5);
    }

    void singleBytesAreThemselves()
    {
        // Every code 0x00-0x7F is its own byte both ways, control codes included.
        for (int c = 0; c < 0x80; ++c) {
            const QString text = u"あ"_s + QChar(c) + u"い"_s;
            const QByteArray bytes = QByteArray("\x82\xA0") + char(c) + QByteArray("\x82\xA2");
            QCOMPARE(Cp932::encode(text), bytes);
            QCOMPARE(Cp932::decode(bytes), text);
        }
        // A trail byte in the ASCII range stays part of its character.
        QCOMPARE(Cp932::decode(QByteArray("\x83\x5C\x5C")), u"ソ\\"_s);
    }

    void layoutChecks()
    {
        QCOMPARE(checkLayout(Sample, 27), QString());
        QVERIFY(checkLayout(Sample, 28).contains(u"ends at 27"_s));
        const auto moved = [](int field, int offset) {
            std::array<FieldDef, 8> layout = Sample;
            layout[field].offset = offset;
            return checkLayout(layout, 27);
        };
        QVERIFY(moved(1, 4).contains(u"Flag starts at 4"_s)); // a gap
        QVERIFY(moved(2, 5).contains(u"Small starts at 5"_s));
    }

    void littleEndianAndPadding()
    {
        FixedRecord r(Sample, 27);
        QCOMPARE(r.date(5), OleDate::noDate()); // a fresh date field holds "no date"
        r.setText(0, QStringLiteral("あい"));   // "い" would be split: left out
        r.setInteger(2, -2);
        r.setLong(4, 0x01020304);
        r.setByte(6, 7, 2);
        r.setText(7, QStringLiteral("z"), 1);
        QCOMPARE(r.bytes().first(12), QByteArray("\x82\xa0 \0\xFE\xFF\0\0\x04\x03\x02\x01", 12));
        QCOMPARE(r.bytes().mid(20), QByteArray("\0\0\x07  z ", 7));
        FixedRecord back(Sample, 27);
        QVERIFY(back.setBytes(r.bytes() + "extra"));
        QVERIFY(back == r);
        QCOMPARE(back.integer(2), -2);
        QCOMPARE(back.text(0), QStringLiteral("あ"));
        QVERIFY(!back.setBytes(r.bytes().first(26)));
        // Each number sits on a multiple of its size.
        constexpr std::array<FieldDef, 2> odd{{{"A", 0, T::Byte}, {"B", 1, T::Integer}}};
        QCOMPARE(checkLayout(odd, 3), QStringLiteral("B at 1 is not aligned to 2"));
    }

    void oleDate()
    {
        const QList<std::pair<QDateTime, double>> pairs{
            {wall(1899, 12, 30), 0.0},       // the epoch
            {wall(1900, 1, 1), 2.0},         // "no date"
            {wall(2024, 5, 1, 12), 45413.5}, // noon
            {wall(1899, 12, 29, 6), -1.25},  // the time counts up from the day before
            {wall(1899, 12, 29), -1.0},      // midnight before the epoch
            {wall(1, 1, 1), -693593.0},      // cleared
            {wall(2024, 2, 29, 23, 59, 59), 45351.0 + 86399.0 / 86400.0}};
        for (const auto &[wallClock, ole] : pairs) {
            QCOMPARE(OleDate::fromDateTime(wallClock), ole);
            QCOMPARE(OleDate::toDateTime(ole), wallClock);
        }
    }

    void dateTextForm()
    {
        // A stored value a hair below a whole second still reads as that second.
        QCOMPARE(OleDate::toDateTime(45413.5 - 1e-9), wall(2024, 5, 1, 12));
        QCOMPARE(OleDate::toDateTime(45413.0 - 1e-9), wall(2024, 5, 1));
        QCOMPARE(OleDate::format(wall(2024, 5, 1, 9, 5, 7)), QStringLiteral("2024/05/01 09:05:07"));
        QCOMPARE(OleDate::parse(QStringLiteral("0001/01/01 00:00:00")), wall(1, 1, 1));
        for (const char *bad : {"2024/02/30 00:00:00", "2024/5/1 00:00:00", "2024/05/01T00:00:00"})
            QVERIFY(!OleDate::parse(QString::fromLatin1(bad)).isValid());
        // Run in Europe/Berlin, where 02:30 on that day is in the spring gap.
        QCOMPARE(OleDate::parse(QStringLiteral("2024/03/31 02:30:00")), wall(2024, 3, 31, 2, 30));
        QVERIFY(!OleDate::toDateTime(std::numeric_limits<double>::quiet_NaN()).isValid());
    }
};

QTEST_APPLESS_MAIN(TestCodec)
#include "tst_codec.moc"
