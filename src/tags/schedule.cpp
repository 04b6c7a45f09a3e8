#include "schedule.h"

#include "tagrecord.h"

#include <QStringList>
#include <limits>

namespace {

constexpr qint32 Nothing = -1;
constexpr qint64 DueThreshold = 2; // closer than this counts as reached
constexpr qint64 LateLimit = -59;  // a file or mail action later than this is skipped
constexpr qint64 SecondsPerDay = 86400;
constexpr qint64 EpochJulianDay = 2440588; // 1970/01/01

qint32 clamp(qint64 seconds)
{
    return qint32(qBound(qint64(std::numeric_limits<qint32>::min()), seconds,
                         qint64(std::numeric_limits<qint32>::max())));
}

qint64 floorDiv(qint64 a, qint64 b)
{
    return a / b - (a % b != 0 && (a < 0) != (b < 0));
}

int digit(QChar c)
{
    return c >= u'0' && c <= u'9' ? c.unicode() - u'0' : -1;
}

// "hh:nn", "h:nn" or "hh:nn:ss" as seconds of the day; read by hand, since every
// pass reads the erase time of every recurring tag.
std::optional<int> parseEraseTime(const QString &text)
{
    const qsizetype n = text.size();
    const qsizetype colon = text.indexOf(u':');
    if (colon < 1 || colon > 2 || (n != colon + 3 && !(colon == 2 && n == 8 && text[5] == u':')))
        return std::nullopt;
    auto two = [&](qsizetype at) {
        const int a = digit(text[at]), b = digit(text[at + 1]);
        return a < 0 || b < 0 ? -1 : a * 10 + b;
    };
    const int h = colon == 1 ? digit(text[0]) : two(0);
    const int m = two(colon + 1);
    const int s = n == 8 ? two(6) : 0;
    if (h < 0 || h > 23 || m < 0 || m > 59 || s < 0 || s > 59)
        return std::nullopt;
    return h * 3600 + m * 60 + s;
}

int secondOfDay(const QTime &t)
{
    return t.msecsSinceStartOfDay() / 1000;
}

qint32 untilNextMidnight(const LocalCalendar &now)
{
    return clamp(now.secondsUntil(now.today().addDays(1), 0));
}

// Once the display moment of a recurring tag has come (seconds < 2).
ScheduleAnswer dueTail(const TagSchedule &tag, const LocalCalendar &now, qint64 seconds)
{
    const auto erase = parseEraseTime(tag.eraseTime);
    if (!erase) {
        if ((tag.openFile || tag.mail) && seconds < LateLimit)
            return {ScheduleResult::NotNow, Nothing};
        return {ScheduleResult::Due, untilNextMidnight(now)};
    }
    const qint64 toErase = now.secondsUntil(now.today(), *erase);
    return {toErase >= DueThreshold ? ScheduleResult::Due : ScheduleResult::Expired,
            clamp(toErase)};
}

ScheduleAnswer onDate(const TagSchedule &tag, const LocalCalendar &now)
{
    const QDate date = tag.display.date();
    if (now.today().daysTo(date) > 365)
        return {ScheduleResult::NotNow, Nothing};
    const qint64 seconds = now.secondsUntil(date, secondOfDay(tag.display.time()));
    if (seconds >= DueThreshold)
        return {ScheduleResult::NotNow, clamp(seconds)};
    const QDate eraseDate = tag.erase.date();
    if (eraseDate <= QDate(1900, 1, 1)) {
        // Only a file to open is skipped for lateness here; a mail still goes out.
        if (tag.openFile && seconds < LateLimit)
            return {ScheduleResult::NotNow, Nothing};
        return {ScheduleResult::Due, untilNextMidnight(now)};
    }
    const qint64 toErase = now.secondsUntil(eraseDate, secondOfDay(tag.erase.time()));
    return {toErase >= DueThreshold ? ScheduleResult::Due : ScheduleResult::Expired,
            clamp(toErase)};
}

ScheduleAnswer daily(const TagSchedule &tag, const LocalCalendar &now)
{
    const qint64 seconds = now.secondsUntil(now.today(), secondOfDay(tag.display.time()));
    if (seconds >= DueThreshold)
        return {ScheduleResult::NotNow, clamp(seconds)};
    return dueTail(tag, now, seconds);
}

int weekOfMonth(int day)
{
    return (day - 1) / 7 + 1;
}

ScheduleAnswer weekly(const TagSchedule &tag, const LocalCalendar &now)
{
    const QDate today = now.today();
    int w = today.dayOfWeek() % 7; // 0 Sunday
    const int dayOfMonth = today.day();
    int k = 0;
    int firstMatchWeek = 0;
    for (; k < 7; ++k, w = (w + 1) % 7) {
        if (!tag.weekdays[w])
            continue;
        // Not wrapped at the month's end: days in the next month give week 5 or 6,
        // and week 6, past the flags, counts as a match.
        const int week = weekOfMonth(dayOfMonth + k);
        if (week >= int(tag.weeks.size()) || tag.weeks[week])
            break;
        if (firstMatchWeek == 0)
            firstMatchWeek = week;
    }
    if (k == 7) {
        if (firstMatchWeek == 0)
            return {ScheduleResult::NotNow, Nothing};
        // The next week that is on after the first weekday match, cyclically; the
        // weeks are added to k (7), not to the offset of that match.
        int step = 1;
        for (; step <= 4; ++step) {
            const int week = (firstMatchWeek - 1 + step) % 5 + 1;
            if (tag.weeks[week])
                break;
        }
        if (step > 4)
            return {ScheduleResult::NotNow, Nothing};
        k += 7 * step;
    }
    const qint64 seconds = now.secondsUntil(today.addDays(k), secondOfDay(tag.display.time()));
    if (seconds >= DueThreshold)
        return {ScheduleResult::NotNow, clamp(seconds)};
    return dueTail(tag, now, seconds);
}

ScheduleAnswer monthly(const TagSchedule &tag, const LocalCalendar &now)
{
    const QDate today = now.today();
    int y = today.year(), m = today.month();
    QDate due;
    if (tag.monthlyDay == TagSchedule::MonthEnd) {
        due = QDate(y, m, today.daysInMonth());
    } else {
        if (today.day() > tag.monthlyDay && ++m > 12)
            m = 1, ++y;
        due = QDate(y, m, tag.monthlyDay);
        if (!due.isValid()) // the 31st in a 30-day month and the like: not this time
            return {ScheduleResult::NotNow, Nothing};
    }
    const qint64 seconds = now.secondsUntil(due, secondOfDay(tag.display.time()));
    if (seconds > 1)
        return {ScheduleResult::NotNow, clamp(seconds)};
    return dueTail(tag, now, seconds);
}

QString hhnn(const QTime &t)
{
    return t.toString(QStringLiteral("hh:mm"));
}

// "<start> ～ <end> の間" or "<start> から".
QString range(const QString &start, const QString &end)
{
    return end.isEmpty() ? start + QStringLiteral(" から")
                         : start + QStringLiteral(" ～ ") + end + QStringLiteral(" の間");
}

} // namespace

TagSchedule TagSchedule::fromRecord(const TagRecord &r)
{
    TagSchedule s;
    s.kind = r.byte(Tag::ScheduleKind);
    s.display = r.date(Tag::DisplayDateTime);
    s.erase = r.date(Tag::EraseDateTime);
    s.eraseTime = r.text(Tag::EraseTime);
    s.monthlyDay = r.byte(Tag::MonthlyDay);
    for (int i = 0; i < 7; ++i)
        s.weekdays[i] = r.byte(Tag::WeekdayFlags, i) != 0;
    for (int i = 0; i < 6; ++i)
        s.weeks[i] = r.byte(Tag::WeekOfMonthFlags, i) != 0;
    s.openFile = r.byte(Tag::OpenFileFlag) == 1;
    s.mail = r.byte(Tag::MailFlag) == 1;
    return s;
}

int ZoneDays::offsetAt(qint64 utcSeconds)
{
    return QDateTime::fromSecsSinceEpoch(utcSeconds, Qt::LocalTime).offsetFromUtc();
}

const ZoneDays::Day &ZoneDays::day(qint64 julianDay)
{
    if (julianDay == m_lastJd)
        return m_last;
    auto it = m_days.constFind(julianDay);
    if (it == m_days.cend()) {
        // Every moment whose wall date is this day lies in [lo, hi]: zones are
        // within 15 hours of UTC. Zones change their offset at most once in that span.
        const qint64 start = (julianDay - EpochJulianDay) * SecondsPerDay;
        qint64 lo = start - 15 * 3600;
        qint64 hi = start + SecondsPerDay + 15 * 3600;
        Day d;
        d.before = offsetAt(lo);
        d.after = offsetAt(hi);
        d.change = std::numeric_limits<qint64>::max();
        if (d.before != d.after) {
            while (hi - lo > 1) { // the first moment with the new offset
                const qint64 mid = lo + (hi - lo) / 2;
                (offsetAt(mid) == d.before ? lo : hi) = mid;
            }
            d.change = hi;
        }
        it = m_days.insert(julianDay, d);
    }
    m_lastJd = julianDay;
    m_last = *it;
    return m_last;
}

qint64 ZoneDays::moment(const QDate &date, int secondOfDay)
{
    const qint64 jd = date.toJulianDay();
    const Day &d = day(jd);
    const qint64 wall = (jd - EpochJulianDay) * SecondsPerDay + secondOfDay;
    if (d.before == d.after)
        return wall - d.before;
    const qint64 first = wall - d.before; // read with the offset before the change
    const qint64 second = wall - d.after; // read with the offset after it
    const bool firstExists = first < d.change;
    const bool secondExists = second >= d.change;
    if (firstExists && secondExists)
        return qMax(first, second); // happens twice: the second occurrence
    if (firstExists)
        return first;
    if (secondExists)
        return second;
    return d.change; // in the gap: when the clocks jumped past it
}

LocalCalendar::LocalCalendar(const QDateTime &now, ZoneDays &zone)
    : m_zone(zone), m_now(floorDiv(now.toMSecsSinceEpoch(), 1000))
{
    const qint64 wall = m_now + ZoneDays::offsetAt(m_now);
    const qint64 days = floorDiv(wall, SecondsPerDay);
    m_today = QDate::fromJulianDay(days + EpochJulianDay);
    m_secondOfDay = int(wall - days * SecondsPerDay);
}

qint64 LocalCalendar::secondsUntil(const QDate &date, int secondOfDay) const
{
    if (!date.isValid())
        return 0;
    return m_zone.moment(date, secondOfDay) - m_now;
}

qint64 LocalCalendar::secondsUntil(const QDate &date, const QTime &time) const
{
    return secondsUntil(date, ::secondOfDay(time));
}

ScheduleAnswer EvaluateSchedule(const TagSchedule &tag, const LocalCalendar &now)
{
    switch (tag.kind) {
    case TagSchedule::ShowNow:
        return {ScheduleResult::Due, 0};
    case TagSchedule::OnDate:
        return onDate(tag, now);
    case TagSchedule::Daily:
        return daily(tag, now);
    case TagSchedule::Weekly:
        return weekly(tag, now);
    case TagSchedule::Monthly:
        return monthly(tag, now);
    }
    return {ScheduleResult::Damaged, 0};
}

ScheduleAnswer EvaluateSchedule(const TagSchedule &tag, const QDateTime &now)
{
    ZoneDays zone;
    return EvaluateSchedule(tag, LocalCalendar(now, zone));
}

qint64 secondsToNextChange(const TagSchedule &tag, const ScheduleAnswer &a,
                           const LocalCalendar &now)
{
    const qint64 midnight = now.secondsUntil(now.today().addDays(1), 0);
    switch (a.result) {
    case ScheduleResult::Damaged:
        return -1;
    case ScheduleResult::Expired:
        return midnight;
    case ScheduleResult::NotNow:
        if (a.seconds == Nothing)
            return midnight;
        return tag.kind == TagSchedule::Weekly ? qMin<qint64>(a.seconds, midnight) : a.seconds;
    case ScheduleResult::Due:
        break;
    }
    if (tag.kind == TagSchedule::ShowNow)
        return -1;
    qint64 next = a.seconds;
    // Reached and not yet late: it turns late when its moment is 60 s past.
    const bool dated = tag.kind == TagSchedule::OnDate;
    const bool lateRule = dated ? tag.openFile && tag.erase.date() <= QDate(1900, 1, 1)
                                : (tag.openFile || tag.mail) && !parseEraseTime(tag.eraseTime);
    if (lateRule) {
        const QDate date = dated ? tag.display.date() : now.today();
        const qint64 late = now.secondsUntil(date, secondOfDay(tag.display.time())) - LateLimit + 1;
        if (late > 0)
            next = qMin(next, late);
    }
    return next;
}

QString damagedDataText()
{
    return QStringLiteral(
        "Pinboard.exeがあるﾃﾞｨﾚｸﾄﾘ のPinboard.dt1,Pinboard.dt2を削除して再実行して下さい。");
}

qint64 secondsUntil(const QDateTime &now, const QDate &date, const QTime &time)
{
    ZoneDays zone;
    return LocalCalendar(now, zone).secondsUntil(date, time);
}

QString kindLabel(int kind)
{
    switch (kind) {
    case TagSchedule::ShowNow:
        return QStringLiteral("『すぐに表示』 ");
    case TagSchedule::OnDate:
        return QStringLiteral("『指定日表示』 ");
    case TagSchedule::Daily:
        return QStringLiteral("『毎日表示　』 ");
    case TagSchedule::Weekly:
        return QStringLiteral("『毎週表示　』 ");
    case TagSchedule::Monthly:
        return QStringLiteral("『毎月表示　』 ");
    }
    return {};
}

QString describeSchedule(const TagSchedule &tag, bool shown, bool mailSent)
{
    const QString state = tag.mail ? (mailSent ? QStringLiteral("E-Mailで送信しました。")
                                               : QStringLiteral("E-Mailで送信します。"))
                                   : (shown ? QStringLiteral("表示されています。")
                                            : QStringLiteral("表示されます。"));
    const auto erase = parseEraseTime(tag.eraseTime);
    const QString time =
        range(hhnn(tag.display.time()), erase ? hhnn(QTime(0, 0).addSecs(*erase)) : QString());
    QString words;
    switch (tag.kind) {
    case TagSchedule::ShowNow:
        if (!shown && !tag.mail)
            return QStringLiteral("すぐに表示指定ですが、現在は非表示です。");
        return state;
    case TagSchedule::OnDate: {
        const QString start = tag.display.toString(QStringLiteral("yyyy/MM/dd hh:mm"));
        const QString end = tag.erase.date() > QDate(1900, 1, 1)
                                ? tag.erase.toString(QStringLiteral("yyyy/MM/dd hh:mm"))
                                : QString();
        words = range(start, end);
        break;
    }
    case TagSchedule::Daily:
        words = QStringLiteral("毎日、") + time;
        break;
    case TagSchedule::Weekly: {
        QStringList weeks;
        for (int i = 1; i <= 5; ++i)
            if (tag.weeks[i])
                weeks << QString::number(i);
        words =
            weeks.size() == 5 ? QStringLiteral("毎週 ") : weeks.join(u',') + QStringLiteral("週 ");
        QStringList days;
        for (int i = 0; i < 7; ++i)
            if (tag.weekdays[i])
                days << QStringLiteral("日月火水木金土").mid(i, 1);
        words += days.join(QStringLiteral("、")) + QStringLiteral("曜日の ") + time;
        break;
    }
    case TagSchedule::Monthly:
        words = (tag.monthlyDay == TagSchedule::MonthEnd
                     ? QStringLiteral("毎月末 ")
                     : QStringLiteral("毎月、%1日 ").arg(tag.monthlyDay)) +
                time;
        break;
    default:
        return {};
    }
    return words + u'\n' + state;
}
