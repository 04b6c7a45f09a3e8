#include "fixedrecord.h"
#include "oledate.h"

#include <QTest>
#include <QTimeZone>
#include <array>

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

class TestFixedRecord : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void layoutChecks_data()
    {
        QTest::addColumn<int>("broken"); // index of the field to move, -1 none
        QTest::addColumn<int>("newOffset");
        QTest::addColumn<int>("size");
        QTest::addColumn<QString>("complaint");
        QTest::newRow("sound") << -1 << 0 << 27 << QString();
        QTest::newRow("record longer") << -1 << 0 << 28 << QStringLiteral("ends at 27");
        QTest::newRow("gap") << 1 << 4 << 27 << QStringLiteral("Flag starts at 4");
        QTest::newRow("integer misaligned") << 2 << 5 << 27 << QStringLiteral("Small starts at 5");
    }

    void layoutChecks()
    {
        QFETCH(int, broken);
        QFETCH(int, newOffset);
        QFETCH(int, size);
        QFETCH(QString, complaint);
        std::array<FieldDef, 8> layout = Sample;
        if (broken >= 0)
            layout[broken].offset = newOffset;
        const QString problem = checkLayout(layout, size);
        if (complaint.isEmpty())
            QVERIFY2(problem.isEmpty(), qPrintable(problem));
        else
            QVERIFY2(problem.contains(complaint), qPrintable(problem));
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

    void oleDate_data()
    {
        QTest::addColumn<QDateTime>("wallClock");
        QTest::addColumn<double>("ole");
        // clang-format off
        QTest::newRow("epoch")                 << wall(1899, 12, 30)             << 0.0;
        QTest::newRow("no date")               << wall(1900, 1, 1)               << 2.0;
        QTest::newRow("noon")                  << wall(2024, 5, 1, 12)           << 45413.5;
        QTest::newRow("06:00 before epoch")    << wall(1899, 12, 29, 6)          << -1.25;
        QTest::newRow("midnight before epoch") << wall(1899, 12, 29)             << -1.0;
        QTest::newRow("cleared")               << wall(1, 1, 1)                  << -693593.0;
        QTest::newRow("last second")           << wall(2024, 2, 29, 23, 59, 59) << 45351.0 + 86399.0 / 86400.0;
        // clang-format on
    }

    void oleDate()
    {
        QFETCH(QDateTime, wallClock);
        QFETCH(double, ole);
        QCOMPARE(OleDate::fromDateTime(wallClock), ole);
        QCOMPARE(OleDate::toDateTime(ole), wallClock);
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

QTEST_APPLESS_MAIN(TestFixedRecord)
#include "tst_fixedrecord.moc"
