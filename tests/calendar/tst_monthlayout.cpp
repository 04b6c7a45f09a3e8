#include "monthlayout.h"
#include "tablecheck.h"
#include "textcalendar.h"

#include <QTest>

using namespace Qt::StringLiterals;

class TestMonthLayout : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void layout_data()
    {
        gotWantColumns<QString>(); // "first-last" cells of the days
        const auto row = [](const char *name, int year, int month, const QString &cells) {
            const MonthLayout got = layoutMonth(year, month);
            QTest::newRow(name) << u"%1-%2"_s.arg(got.firstCell).arg(got.firstCell + got.days - 1)
                                << cells;
        };
        row("Sunday, common February", 2015, 2, u"1-28"_s);
        row("Monday, 31 days", 2024, 1, u"2-32"_s);
        row("Tuesday, 30 days", 2025, 4, u"3-32"_s);
        row("Tuesday, leap February of 2000", 2000, 2, u"3-31"_s);
        row("Wednesday, 31 days", 2024, 5, u"4-34"_s);
        row("Thursday, leap February", 2024, 2, u"5-33"_s);
        row("Thursday, February of 1900 is common", 1900, 2, u"5-32"_s);
        row("Friday, 31 days", 2024, 3, u"6-36"_s);
        row("Saturday, 30 days", 2024, 6, u"7-36"_s);
        row("Saturday, 31 days", 2023, 7, u"7-37"_s);
        row("no such month", 2024, 13, u"0--1"_s);
    }

    void layout() { compareGotWant<QString>(); }
    void text_data()
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

    void text()
    {
        QFETCH(int, year);
        QFETCH(int, month);
        QFETCH(QStringList, lines);
        QCOMPARE(textCalendar(year, month), lines.join(u'\n') + u'\n');
    }
};

QTEST_APPLESS_MAIN(TestMonthLayout)
#include "tst_monthlayout.moc"
