#include "monthlayout.h"

#include <QDate>

MonthLayout layoutMonth(int year, int month)
{
    const QDate first(year, month, 1);
    if (!first.isValid())
        return {0, 0};
    // QDate counts Monday = 1 .. Sunday = 7; the grid starts on Sunday.
    return {first.dayOfWeek() % 7 + 1, first.daysInMonth()};
}
