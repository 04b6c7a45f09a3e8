#include "calender.h"
#include "clock.h"
#include "manualclock.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const QColor Cyan(0, 255, 255);
const ManualClock Today(QDateTime(QDate(2015, 2, 10), QTime(9, 30)));

QLabel *cell(const Calender &dialog, int index)
{
    return dialog.findChild<QLabel *>(u"D%1"_s.arg(index));
}

void press(Calender &dialog, const QString &button)
{
    dialog.findChild<QPushButton *>(button)->click();
}

// Exactly one cell (or none when index is 0) shows the highlight; the rest show button face.
void checkHighlight(const Calender &dialog, int index)
{
    const QColor face = dialog.palette().color(QPalette::Button);
    for (int i = 1; i <= Calender::CellCount; ++i) {
        QLabel *c = cell(dialog, i);
        QVERIFY(c->autoFillBackground());
        QCOMPARE(c->palette().color(c->backgroundRole()), i == index ? Cyan : face);
    }
    QCOMPARE(dialog.curIdx(), index);
}

// Cells before first and after last are blank; the others count 1, 2, ...
void checkDays(const Calender &dialog, int first, int last)
{
    for (int i = 1; i <= Calender::CellCount; ++i)
        QCOMPARE(cell(dialog, i)->text(),
                 i < first || i > last ? QString() : QString::number(i - first + 1));
}
} // namespace

class TestCalender : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void opening_data();
    void opening();
    void months_data();
    void months();
    void blankCellIgnored();
    void pickThenOk();
    void cancel();
    void keysAndDoubleClick();
};

void TestCalender::opening_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QString>("setYmd");
    QTest::addColumn<int>("index");
    QTest::addColumn<int>("firstCell");
    QTest::addColumn<int>("lastCell");

    // clang-format off
    QTest::newRow("padded")      << u"2024/05/15"_s << u"2024/05/15"_s << 18 << 4 << 34;
    QTest::newRow("unpadded")    << u"2024/5/3"_s   << u"2024/05/03"_s <<  6 << 4 << 34;
    QTest::newRow("last day")    << u"2023/07/31"_s << u"2023/07/31"_s << 37 << 7 << 37;
    QTest::newRow("empty")       << QString()       << u"2015/02/10"_s << 10 << 1 << 28;
    QTest::newRow("no such day") << u"2024/02/30"_s << u"2015/02/10"_s << 10 << 1 << 28;
    QTest::newRow("text")        << u"明日"_s       << u"2015/02/10"_s << 10 << 1 << 28;
    // clang-format on
}

void TestCalender::opening()
{
    QFETCH(QString, start);
    QFETCH(QString, setYmd);
    QFETCH(int, index);
    QFETCH(int, firstCell);
    QFETCH(int, lastCell);
    Calender dialog(start, Today);
    QCOMPARE(dialog.setYmd(), setYmd);
    QCOMPARE(dialog.curYm(), setYmd.left(7));
    checkHighlight(dialog, index);
    checkDays(dialog, firstCell, lastCell);
    QVERIFY(dialog.chosenDate().isEmpty());
}

void TestCalender::months_data()
{
    QTest::addColumn<QString>("start");
    QTest::addColumn<QList<int>>("steps");
    QTest::addColumn<QString>("curYm");
    QTest::addColumn<int>("firstCell");
    QTest::addColumn<int>("lastCell");
    QTest::addColumn<int>("index");

    // clang-format off
    QTest::newRow("next into January")  << u"2023/12/20"_s << QList<int>{1}  << u"2024/01"_s << 2 << 32 << 0;
    QTest::newRow("back into December") << u"2024/01/05"_s << QList<int>{-1} << u"2023/12"_s << 6 << 36 << 0;
    QTest::newRow("there and back")     << u"2023/12/20"_s << QList<int>{1, 1, -1, -1} << u"2023/12"_s << 6 << 36 << 25;
    QTest::newRow("a year back")        << u"2024/03/01"_s << QList<int>(12, -1) << u"2023/03"_s << 4 << 34 << 0;
    // clang-format on
}

void TestCalender::months()
{
    QFETCH(QString, start);
    QFETCH(QList<int>, steps);
    QFETCH(QString, curYm);
    QFETCH(int, firstCell);
    QFETCH(int, lastCell);
    QFETCH(int, index);
    Calender dialog(start, Today);
    for (int step : steps)
        press(dialog, step > 0 ? u"M_NEXT"_s : u"M_BACK"_s);
    QCOMPARE(dialog.curYm(), curYm);
    checkDays(dialog, firstCell, lastCell);
    checkHighlight(dialog, index);
    // Moving through months does not change the chosen day.
    QCOMPARE(dialog.setYmd(), start);
}

void TestCalender::blankCellIgnored()
{
    Calender dialog(u"2024/05/15"_s, Today);
    QTest::mouseDClick(cell(dialog, 1), Qt::LeftButton);
    QTest::mouseDClick(cell(dialog, 35), Qt::LeftButton);
    QCOMPARE(dialog.setYmd(), u"2024/05/15"_s);
    checkHighlight(dialog, 18);
}

void TestCalender::pickThenOk()
{
    Calender dialog(u"2023/12/20"_s, Today);
    dialog.show();
    press(dialog, u"M_NEXT"_s);
    QTest::mouseClick(cell(dialog, 5), Qt::LeftButton);
    QCOMPARE(dialog.setYmd(), u"2024/01/04"_s);
    checkHighlight(dialog, 5);
    QTest::mouseClick(cell(dialog, 32), Qt::LeftButton);
    checkHighlight(dialog, 32);
    QVERIFY(dialog.chosenDate().isEmpty());
    press(dialog, u"cmd_OK"_s);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.chosenDate(), u"2024/01/31"_s);
}

void TestCalender::cancel()
{
    Calender dialog(u"2024/05/15"_s, Today);
    dialog.show();
    QTest::mouseClick(cell(dialog, 5), Qt::LeftButton);
    QCOMPARE(dialog.setYmd(), u"2024/05/02"_s);
    press(dialog, u"cmd_Cencel"_s);
    QCOMPARE(dialog.result(), int(QDialog::Rejected));
    QVERIFY(dialog.chosenDate().isEmpty());
}

void TestCalender::keysAndDoubleClick()
{
    Calender dialog(u"2015/01/30"_s, Today);
    dialog.show();
    QTest::keyClick(&dialog, Qt::Key_Right);
    QCOMPARE(dialog.setYmd(), u"2015/01/31"_s);
    QTest::keyClick(&dialog, Qt::Key_Down); // into February, today's month
    QCOMPARE(dialog.setYmd(), u"2015/02/07"_s);
    QCOMPARE(dialog.curYm(), u"2015/02"_s);
    QVERIFY(cell(dialog, 10)->font().bold()); // the 10th: today
    QVERIFY(!cell(dialog, 7)->font().bold());
    QTest::keyClick(&dialog, Qt::Key_Up);
    QTest::keyClick(&dialog, Qt::Key_Left);
    QCOMPARE(dialog.setYmd(), u"2015/01/30"_s);
    QTest::mouseDClick(cell(dialog, 12), Qt::LeftButton);
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.chosenDate(), u"2015/01/08"_s);
}

QTEST_MAIN(TestCalender)
#include "tst_calender.moc"
