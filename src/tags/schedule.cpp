#include "schedule.h"

#include "prompt.h"
#include "tagrecord.h"

#include <QStringList>
#include <limits>

namespace {

constexpr qint32 Nothing = -1;
constexpr qint64 DueThreshold = 2; // closer than this counts as reached
constexpr qint64 LateLimit = -59;  // a file or mail action later than this is skipped

qint32 clamp(qint64 seconds)
{
    return qint32(qBound(qint64(std::numeric_limits<qint32>::min()), seconds,
                         qint64(std::numeric_limits<qint32>::max())));
}

std::optional<QTime> parseEraseTime(const QString &text)
{
    for (const char *form : {"hh:mm", "h:mm", "hh:mm:ss"}) {
        const QTime t = QTime::fromString(text, QLatin1String(form));
        if (t.isValid())
            return t;
    }
    return std::nullopt;
}

qint32 untilNextMidnight(const QDateTime &now)
{
    return clamp(secondsUntil(now, now.date().addDays(1), QTime(0, 0)));
}

// Once the display moment of a recurring tag has come (seconds < 2).
ScheduleAnswer dueTail(const TagSchedule &tag, const QDateTime &now, qint64 seconds)
{
    const auto erase = parseEraseTime(tag.eraseTime);
    if (!erase) {
        if ((tag.openFile || tag.mail) && seconds < LateLimit)
            return {ScheduleResult::NotNow, Nothing};
        return {ScheduleResult::Due, untilNextMidnight(now)};
    }
    const qint64 toErase = secondsUntil(now, now.date(), *erase);
    return {toErase >= DueThreshold ? ScheduleResult::Due : ScheduleResult::Expired, clamp(toErase)};
}

ScheduleAnswer onDate(const TagSchedule &tag, const QDateTime &now)
{
    if (now.date().daysTo(tag.display.date()) > 365)
        return {ScheduleResult::NotNow, Nothing};
    const qint64 seconds = secondsUntil(now, tag.display.date(), tag.display.time());
    if (seconds >= DueThreshold)
        return {ScheduleResult::NotNow, clamp(seconds)};
    if (tag.erase.date() <= QDate(1900, 1, 1)) {
        // Only a file to open is skipped for lateness here; a mail still goes out.
        if (tag.openFile && seconds < LateLimit)
            return {ScheduleResult::NotNow, Nothing};
        return {ScheduleResult::Due, untilNextMidnight(now)};
    }
    const qint64 toErase = secondsUntil(now, tag.erase.date(), tag.erase.time());
    return {toErase >= DueThreshold ? ScheduleResult::Due : ScheduleResult::Expired, clamp(toErase)};
}

ScheduleAnswer daily(const TagSchedule &tag, const QDateTime &now)
{
    const qint64 seconds = secondsUntil(now, now.date(), tag.display.time());
    if (seconds >= DueThreshold)
        return {ScheduleResult::NotNow, clamp(seconds)};
    return dueTail(tag, now, seconds);
}

int weekOfMonth(int day)
{
    return (day - 1) / 7 + 1;
}

ScheduleAnswer weekly(const TagSchedule &tag, const QDateTime &now)
{
    const QDate today = now.date();
    int w = today.dayOfWeek() % 7; // 0 Sunday
    int k = 0;
    int firstMatchWeek = 0;
    for (; k < 7; ++k, w = (w + 1) % 7) {
        if (!tag.weekdays[w])
            continue;
        // Not wrapped at the month's end: days in the next month give week 5 or 6,
        // and week 6, past the flags, counts as a match.
        const int week = weekOfMonth(today.day() + k);
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
    const qint64 seconds = secondsUntil(now, today.addDays(k), tag.display.time());
    if (seconds >= DueThreshold)
        return {ScheduleResult::NotNow, clamp(seconds)};
    return dueTail(tag, now, seconds);
}

ScheduleAnswer monthly(const TagSchedule &tag, const QDateTime &now)
{
    const QDate today = now.date();
    const QDate first(today.year(), today.month(), 1);
    QDate due;
    if (tag.monthlyDay == TagSchedule::MonthEnd) {
        due = first.addMonths(1).addDays(-1);
    } else {
        const QDate month = today.day() > tag.monthlyDay ? first.addMonths(1) : first;
        due = QDate(month.year(), month.month(), tag.monthlyDay);
        if (!due.isValid()) // the 31st in a 30-day month and the like: not this time
            return {ScheduleResult::NotNow, Nothing};
    }
    const qint64 seconds = secondsUntil(now, due, tag.display.time());
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
    return end.isEmpty() ? start + QStringLiteral(" から") : start + QStringLiteral(" ～ ") + end + QStringLiteral(" の間");
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

qint64 secondsUntil(const QDateTime &now, const QDate &date, const QTime &time)
{
    QDateTime moment(date, time, Qt::LocalTime);
    if (!moment.isValid() && date.isValid() && time.isValid()) {
        // In the gap of a clock going forward: the first wall time after it that exists.
        QDateTime minute(date, QTime(time.hour(), time.minute()), Qt::UTC); // naive steps
        for (int i = 1; i <= 24 * 60 && !moment.isValid(); ++i) {
            minute = minute.addSecs(60);
            moment = QDateTime(minute.date(), minute.time(), Qt::LocalTime);
        }
    }
    return now.secsTo(moment);
}

std::optional<ScheduleAnswer> EvaluateSchedule(const TagSchedule &tag, const QDateTime &now,
                                               Prompt &prompt)
{
    switch (tag.kind) {
    case TagSchedule::ShowNow: return ScheduleAnswer{ScheduleResult::Due, 0};
    case TagSchedule::OnDate: return onDate(tag, now);
    case TagSchedule::Daily: return daily(tag, now);
    case TagSchedule::Weekly: return weekly(tag, now);
    case TagSchedule::Monthly: return monthly(tag, now);
    }
    prompt.inform(QStringLiteral(
        "Pinboard.exeがあるﾃﾞｨﾚｸﾄﾘ のPinboard.dt1,Pinboard.dt2を削除して再実行して下さい。"));
    return std::nullopt;
}

QString kindLabel(int kind)
{
    switch (kind) {
    case TagSchedule::ShowNow: return QStringLiteral("『すぐに表示』 ");
    case TagSchedule::OnDate: return QStringLiteral("『指定日表示』 ");
    case TagSchedule::Daily: return QStringLiteral("『毎日表示　』 ");
    case TagSchedule::Weekly: return QStringLiteral("『毎週表示　』 ");
    case TagSchedule::Monthly: return QStringLiteral("『毎月表示　』 ");
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
    const QString time = range(hhnn(tag.display.time()), erase ? hhnn(*erase) : QString());
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
    case TagSchedule::Daily: words = QStringLiteral("毎日、") + time; break;
    case TagSchedule::Weekly: {
        QStringList weeks;
        for (int i = 1; i <= 5; ++i)
            if (tag.weeks[i])
                weeks << QString::number(i);
        words = weeks.size() == 5 ? QStringLiteral("毎週 ") : weeks.join(u',') + QStringLiteral("週 ");
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
                     : QStringLiteral("毎月、%1日 ").arg(tag.monthlyDay))
                + time;
        break;
    default: return {};
    }
    return words + u'\n' + state;
}
