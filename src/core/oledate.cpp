#include "oledate.h"

#include <cmath>

namespace OleDate {

namespace {
const QDate Epoch(1899, 12, 30);
constexpr qint64 SecondsPerDay = 86400;
} // namespace

double fromDateTime(const QDateTime &wallClock)
{
    const qint64 days = Epoch.daysTo(wallClock.date());
    const double fraction = wallClock.time().msecsSinceStartOfDay() / 1000 / double(SecondsPerDay);
    return days >= 0 ? double(days) + fraction : double(days) - fraction;
}

QDateTime toDateTime(double ole)
{
    if (!std::isfinite(ole) || std::fabs(ole) > 3.0e6)
        return {};
    double whole = std::trunc(ole);
    qint64 seconds = std::llround(std::fabs(ole - whole) * SecondsPerDay);
    if (seconds >= SecondsPerDay) { // rounding reached the next midnight
        seconds -= SecondsPerDay;
        whole += 1;
    }
    return QDateTime(Epoch.addDays(qint64(whole)), QTime(0, 0).addSecs(int(seconds)), Qt::UTC);
}

QString format(const QDateTime &wallClock)
{
    return wallClock.toString(QStringLiteral("yyyy/MM/dd hh:mm:ss"));
}

QDateTime parse(const QString &text)
{
    if (text.size() != 19 || text[10] != u' ')
        return {};
    // Date and time apart: a stored wall time inside this zone's spring gap is
    // still a wall time, though no local moment has it.
    const QDate date = QDate::fromString(text.left(10), QStringLiteral("yyyy/MM/dd"));
    const QTime time = QTime::fromString(text.mid(11), QStringLiteral("hh:mm:ss"));
    if (!date.isValid() || !time.isValid())
        return {};
    return QDateTime(date, time, Qt::UTC);
}

QDateTime noDate()
{
    return QDateTime(QDate(1900, 1, 1), QTime(0, 0), Qt::UTC);
}

QDateTime clearedDate()
{
    return QDateTime(QDate(1, 1, 1), QTime(0, 0), Qt::UTC);
}

} // namespace OleDate
