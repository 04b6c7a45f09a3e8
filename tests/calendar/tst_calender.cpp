#include "calender.h"
#include "clock.h"
#include "manualclock.h"

#include <QLabel>
#include <QPushButton>
#include <QTest>
#include <numeric>

using namespace Qt::StringLiterals;

namespace {
const ManualClock Today(QDateTime(QDate(2015, 2, 10), QTime(9, 30)));

QLabel *cell(const Calender &dialog, int index)
{
    return dialog.findChild<QLabel *>(u"D%1"_s.arg(index));
}

void press(Calender &dialog, const QString &button)
{
    dialog.findChild<QPushButton *>(button)->click();
}

// The month as shown: "first-last@highlighted" cells, every cell checked (days
// counting 1, 2, ... from first, blanks around them, one cyan cell or none).
QString shown(const Calender &dialog)
{
    const QColor face = dialog.palette().color(QPalette::Button);
    int first = 0, last = 0, lit = 0;
    for (int i = 1; i <= Calender::CellCount; ++i) {
        const QLabel *c = cell(dialog, i);
        const QColor back = c->palette().color(c->backgroundRole());
        if (!c->autoFillBackground() || (back != face && back != QColor(0, 255, 255)))
            return u"bad cell %1"_s.arg(i);
        lit = back != face ? (lit ? -1 : i) : lit;
        if (!c->text().isEmpty() && !first)
            first = i;
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
    void months_data()
    {
        QTest::addColumn<QString>("start");
        QTest::addColumn<QList<int>>("steps"); // months forward or back
        QTest::addColumn<QString>("setYmd");
        QTest::addColumn<QString>("month");
        // clang-format off
        QTest::newRow("padded")             << u"2024/05/15"_s << QList<int>{} << u"2024/05/15"_s << u"4-34@18"_s;
        QTest::newRow("unpadded")           << u"2024/5/3"_s   << QList<int>{} << u"2024/05/03"_s << u"4-34@6"_s;
        QTest::newRow("last day")           << u"2023/07/31"_s << QList<int>{} << u"2023/07/31"_s << u"7-37@37"_s;
        QTest::newRow("empty")              << QString()       << QList<int>{} << u"2015/02/10"_s << u"1-28@10"_s;
        QTest::newRow("no such day")        << u"2024/02/30"_s << QList<int>{} << u"2015/02/10"_s << u"1-28@10"_s;
        QTest::newRow("text")               << u"明日"_s       << QList<int>{} << u"2015/02/10"_s << u"1-28@10"_s;
        QTest::newRow("next into January")  << u"2023/12/20"_s << QList<int>{1} << u"2023/12/20"_s << u"2-32@0"_s;
        QTest::newRow("back into December") << u"2024/01/05"_s << QList<int>{-1} << u"2024/01/05"_s << u"6-36@0"_s;
        QTest::newRow("there and back")     << u"2023/12/20"_s << QList<int>{1, 1, -1, -1} << u"2023/12/20"_s << u"6-36@25"_s;
        QTest::newRow("a year back")        << u"2024/03/01"_s << QList<int>(12, -1) << u"2024/03/01"_s << u"4-34@0"_s;
        // clang-format on
    }

    void months()
    {
        QFETCH(QString, start);
        QFETCH(QList<int>, steps);
        QFETCH(QString, setYmd);
        QFETCH(QString, month);
        Calender dialog(start, Today);
        for (int step : steps)
            press(dialog, step > 0 ? u"M_NEXT"_s : u"M_BACK"_s);
        // Moving through months does not change the chosen day.
        QCOMPARE(dialog.setYmd(), setYmd);
        const QDate shownMonth = QDate::fromString(setYmd, u"yyyy/MM/dd"_s)
                                     .addMonths(std::accumulate(steps.begin(), steps.end(), 0));
        QCOMPARE(dialog.curYm(), shownMonth.toString(u"yyyy/MM"_s));
        QCOMPARE(shown(dialog), month);
        QVERIFY(dialog.chosenDate().isEmpty());
        // A blank cell cannot be chosen.
        for (int i : {1, 42})
            if (cell(dialog, i)->text().isEmpty())
                QTest::mouseDClick(cell(dialog, i), Qt::LeftButton);
        QCOMPARE(dialog.setYmd(), setYmd);
    }

    void pickAndClose_data()
    {
        QTest::addColumn<bool>("ok");
        QTest::newRow("OK") << true;
        QTest::newRow("cancel") << false;
    }

    void pickAndClose()
    {
        QFETCH(bool, ok);
        Calender dialog(u"2023/12/20"_s, Today);
        dialog.show();
        press(dialog, u"M_NEXT"_s);
        QTest::mouseClick(cell(dialog, 5), Qt::LeftButton);
        QCOMPARE(dialog.setYmd(), u"2024/01/04"_s);
        QCOMPARE(shown(dialog), u"2-32@5"_s);
        QTest::mouseClick(cell(dialog, 32), Qt::LeftButton);
        QCOMPARE(shown(dialog), u"2-32@32"_s);
        QVERIFY(dialog.chosenDate().isEmpty());
        press(dialog, ok ? u"cmd_OK"_s : u"cmd_Cencel"_s);
        QCOMPARE(dialog.result(), int(ok ? QDialog::Accepted : QDialog::Rejected));
        QCOMPARE(dialog.chosenDate(), ok ? u"2024/01/31"_s : QString());
    }

    void keysAndDoubleClick()
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
};

QTEST_MAIN(TestCalender)
#include "tst_calender.moc"
