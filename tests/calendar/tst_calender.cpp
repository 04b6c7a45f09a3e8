#include "calender.h"
#include "manualclock.h"
#include "monthlayout.h"
#include "tablecheck.h"
#include "textcalendar.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const ManualClock Today(QDateTime(QDate(2015, 2, 10), QTime(9, 30)));

QLabel *cell(const Calender &dialog, int index)
{
    return dialog.findChild<QLabel *>(u"D%1"_s.arg(index));
}

// The month as shown, "first-last@highlighted": days counting 1, 2, ... from the first
// cell, blanks around them, the cyan cell (0: none).
QString shown(const Calender &dialog)
{
    int first = 0, last = 0, lit = 0;
    for (int i = 1; i <= Calender::CellCount; ++i) {
        const QLabel *c = cell(dialog, i);
        if (c->autoFillBackground() && c->palette().color(c->backgroundRole()) == Qt::cyan)
            lit = lit ? -1 : i;
        first = first || c->text().isEmpty() ? first : i;
        last = c->text().isEmpty() ? last : i;
        if (!c->text().isEmpty() && c->text() != QString::number(i - first + 1))
            return u"cell %1 says %2"_s.arg(i).arg(c->text());
    }
    return lit == dialog.curIdx() ? u"%1-%2@%3"_s.arg(first).arg(last).arg(lit) : u"index"_s;
}
} // namespace

class TestCalender : public QObject
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
        row("Tuesday, leap February of 2000", 2000, 2, u"3-31"_s);
        row("Thursday, February of 1900 is common", 1900, 2, u"5-32"_s);
        row("Saturday, 31 days", 2023, 7, u"7-37"_s);
        row("no such month", 2024, 13, u"0--1"_s);
    }

    void layout() { compareGotWant<QString>(); }
    // Six weeks; a two-digit month moves the centred title a column left.
    void text()
    {
        const QStringList lines{u"         2023年7月"_s,          u"Sun Mon Tue Wed Thu Fri Sat"_s,
                                u"                          1"_s, u"  2   3   4   5   6   7   8"_s,
                                u"  9  10  11  12  13  14  15"_s, u" 16  17  18  19  20  21  22"_s,
                                u" 23  24  25  26  27  28  29"_s, u" 30  31"_s};
        QCOMPARE(textCalendar(2023, 7), lines.join(u'\n') + u'\n');
        QCOMPARE(textCalendar(2024, 12).section(u'\n', 0, 0), u"        2024年12月"_s);
    }

    void parseDate_data()
    {
        gotWantColumns<QDate>();
        QTest::newRow("unpadded") << Calender::parseDate(u"2024/5/3"_s) << QDate(2024, 5, 3);
        QTest::newRow("no such day") << Calender::parseDate(u"2024/02/30"_s) << QDate();
    }

    void parseDate() { compareGotWant<QDate>(); }
    // The month of the date given (today's when it is none), moved through by buttons and
    // keys; a blank cell cannot be chosen, a day can.
    void pickByMouseAndKeys()
    {
        QCOMPARE(Calender(u"2024/02/30"_s, Today).setYmd(), u"2015/02/10"_s);
        Calender december(u"2023/12/31"_s, Today);
        QCOMPARE(shown(december), u"6-36@36"_s);
        december.findChild<QPushButton *>(u"M_NEXT"_s)->click();
        QCOMPARE(december.curYm(), u"2024/01"_s);
        QCOMPARE(shown(december), u"2-32@0"_s);
        QTest::mouseDClick(cell(december, 42), Qt::LeftButton);
        QCOMPARE(december.setYmd(), u"2023/12/31"_s);
        QVERIFY(december.chosenDate().isEmpty());
        Calender dialog(u"2015/01/30"_s, Today);
        dialog.show();
        QTest::keyClick(&dialog, Qt::Key_Right);
        QTest::keyClick(&dialog, Qt::Key_Down); // into February, today's month
        QCOMPARE(dialog.setYmd(), u"2015/02/07"_s);
        QCOMPARE(shown(dialog), u"1-28@7"_s);
        QTest::keyClick(&dialog, Qt::Key_Up);
        QTest::keyClick(&dialog, Qt::Key_Left);
        QCOMPARE(dialog.setYmd(), u"2015/01/30"_s);
        QTest::mouseClick(cell(dialog, 12), Qt::LeftButton);
        QCOMPARE(shown(dialog), u"5-35@12"_s);
        QVERIFY(dialog.chosenDate().isEmpty());
        dialog.findChild<QPushButton *>(u"cmd_OK"_s)->click();
        QCOMPARE(dialog.result(), int(QDialog::Accepted));
        QCOMPARE(dialog.chosenDate(), u"2015/01/08"_s);
    }
};

QTEST_MAIN(TestCalender)
#include "tst_calender.moc"
