#include "monthlayout.h"
#include "textcalendar.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestMonthLayout : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void layout_data();
    void layout();
    void text_data();
    void text();
};

void TestMonthLayout::layout_data()
{
    QTest::addColumn<int>("year");
    QTest::addColumn<int>("month");
    QTest::addColumn<int>("firstCell");
    QTest::addColumn<int>("lastCell");

    QTest::newRow("Sunday, common February") << 2015 << 2 << 1 << 28;
    QTest::newRow("Monday, 31 days") << 2024 << 1 << 2 << 32;
    QTest::newRow("Tuesday, 30 days") << 2025 << 4 << 3 << 32;
    QTest::newRow("Tuesday, leap February of 2000") << 2000 << 2 << 3 << 31;
    QTest::newRow("Wednesday, 31 days") << 2024 << 5 << 4 << 34;
    QTest::newRow("Thursday, leap February") << 2024 << 2 << 5 << 33;
    QTest::newRow("Thursday, February of 1900 is common") << 1900 << 2 << 5 << 32;
    QTest::newRow("Friday, 31 days") << 2024 << 3 << 6 << 36;
    QTest::newRow("Saturday, 30 days") << 2024 << 6 << 7 << 36;
    QTest::newRow("Saturday, 31 days") << 2023 << 7 << 7 << 37;
    QTest::newRow("no such month") << 2024 << 13 << 0 << -1;
}

void TestMonthLayout::layout()
{
    QFETCH(int, year);
    QFETCH(int, month);
    QFETCH(int, firstCell);
    QFETCH(int, lastCell);
    const MonthLayout got = layoutMonth(year, month);
    QCOMPARE(got.firstCell, firstCell);
    QCOMPARE(got.firstCell + got.days - 1, lastCell);
}

void TestMonthLayout::text_data()
{
    QTest::addColumn<int>("year");
    QTest::addColumn<int>("month");
    QTest::addColumn<QStringList>("lines");

    // clang-format off
    QTest::newRow("six weeks") << 2023 << 7 << QStringList{
        u"         2023年7月"_s,
        u"Sun Mon Tue Wed Thu Fri Sat"_s,
        u"                          1"_s,
        u"  2   3   4   5   6   7   8"_s,
        u"  9  10  11  12  13  14  15"_s,
        u" 16  17  18  19  20  21  22"_s,
        u" 23  24  25  26  27  28  29"_s,
        u" 30  31"_s};
    QTest::newRow("two-digit month") << 2024 << 12 << QStringList{
        u"        2024年12月"_s,
        u"Sun Mon Tue Wed Thu Fri Sat"_s,
        u"  1   2   3   4   5   6   7"_s,
        u"  8   9  10  11  12  13  14"_s,
        u" 15  16  17  18  19  20  21"_s,
        u" 22  23  24  25  26  27  28"_s,
        u" 29  30  31"_s};
    // clang-format on
}

void TestMonthLayout::text()
{
    QFETCH(int, year);
    QFETCH(int, month);
    QFETCH(QStringList, lines);
    const QString got = textCalendar(year, month);
    QVERIFY(got.endsWith(u'\n'));
    const QStringList gotLines = got.chopped(1).split(u'\n');
    for (int i = 0; i < qMin(lines.size(), gotLines.size()); ++i)
        QCOMPARE(gotLines.at(i), lines.at(i));
    QCOMPARE(gotLines.size(), lines.size());
}

QTEST_APPLESS_MAIN(TestMonthLayout)
#include "tst_monthlayout.moc"
