#include "textcalendar.h"

#include "monthlayout.h"

#include <QStringList>

using namespace Qt::StringLiterals;

namespace {
constexpr int ColumnWidth = 3;                 // "Sun", " 31"
constexpr int LineWidth = 7 * ColumnWidth + 6; // columns with one space between
const QString WeekdayRow = u"Sun Mon Tue Wed Thu Fri Sat"_s;

// Width in a Japanese fixed-pitch font: anything beyond Latin-1 takes two cells.
int displayWidth(const QString &text)
{
    int width = 0;
    for (QChar c : text)
        width += c.unicode() > 0xFF ? 2 : 1;
    return width;
}
} // namespace

QString textCalendar(int year, int month)
{
    const MonthLayout layout = layoutMonth(year, month);
    if (layout.days == 0)
        return {};

    const QString heading = u"%1年%2月"_s.arg(year).arg(month);
    QStringList lines;
    lines << QString((LineWidth - displayWidth(heading)) / 2, u' ') + heading << WeekdayRow;

    // Blank columns before day 1; trailing ones are left off so no line ends in spaces.
    QStringList week(layout.firstCell - 1, QString(ColumnWidth, u' '));
    for (int day = 1; day <= layout.days; ++day) {
        week << u"%1"_s.arg(day, ColumnWidth);
        if (week.size() == 7 || day == layout.days) {
            lines << week.join(u' ');
            week.clear();
        }
    }
    return lines.join(u'\n') + u'\n';
}
