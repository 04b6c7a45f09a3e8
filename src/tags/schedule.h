#pragma once

#include <QDateTime>
#include <QHash>
#include <QString>
#include <array>
#include <limits>

class TagRecord;

// The schedule of one tag: the values of its record that say when it is shown.
struct TagSchedule
{
    enum Kind
    {
        ShowNow = 0,
        OnDate = 1,
        Daily = 2,
        Weekly = 3,
        Monthly = 4
    };
    static constexpr int MonthEnd = 32;

    int kind = ShowNow;
    QDateTime display;              // wall clock; kinds 2-4 use only its time of day
    QDateTime erase;                // kind 1; 1900/01/01 or earlier = no erase date
    QString eraseTime;              // kinds 2-4: "hh:nn", anything else = none
    int monthlyDay = 0;             // kind 4: 1-31, 32 = month end
    std::array<bool, 7> weekdays{}; // 0 Sunday ... 6 Saturday
    std::array<bool, 6> weeks{};    // index 1-5: weeks of the month
    bool openFile = false;
    bool mail = false;

    static TagSchedule fromRecord(const TagRecord &record);
};

// Damaged: the kind is none of the five, so the data files are spoilt.
enum class ScheduleResult : qint16
{
    Damaged = 0,
    Due = 1,
    Expired = 2,
    NotNow = 5
};

struct ScheduleAnswer
{
    ScheduleResult result;
    // Due: until it is taken down (or the next midnight); Expired: to the erase
    // moment (< 2); NotNow: until it is due, or -1 when there is nothing to wait for.
    qint32 seconds;

    bool operator==(const ScheduleAnswer &) const = default;
};

// Turns wall-clock readings of the local zone into moments (seconds since the
// epoch) and back. The offsets of each day are looked up once and kept, so a pass
// over many tags does not convert the same day again and again. Forget() after a
// change of the zone.
//
// A wall time that happens twice (clocks going back) is its second occurrence; one
// that does not exist (clocks going forward) is the moment the clocks jumped, the
// first wall time after the gap. Neither depends on what was converted before.
class ZoneDays
{
public:
    qint64 moment(const QDate &date, int secondOfDay);
    // The local offset from UTC in seconds at a moment.
    static int offsetAt(qint64 utcSeconds);
    void forget()
    {
        m_days.clear();
        m_lastJd = std::numeric_limits<qint64>::min();
    }

private:
    struct Day
    {
        int before = 0;    // offset at the start of the day
        int after = 0;     // offset at its end; differs on a day the clocks change
        qint64 change = 0; // the first moment with the offset after
    };
    const Day &day(qint64 julianDay);

    QHash<qint64, Day> m_days;
    qint64 m_lastJd = std::numeric_limits<qint64>::min();
    Day m_last;
};

// "Now" on the local calendar, taken once for a pass over many tags. Whole
// seconds: the fraction of the current second does not count.
class LocalCalendar
{
public:
    LocalCalendar(const QDateTime &now, ZoneDays &zone);

    qint64 now() const { return m_now; } // seconds since the epoch
    const QDate &today() const { return m_today; }
    int secondOfDay() const { return m_secondOfDay; }
    // Real seconds from now until the wall time date + time.
    qint64 secondsUntil(const QDate &date, const QTime &time) const;
    qint64 secondsUntil(const QDate &date, int secondOfDay) const;
    ZoneDays &zone() const { return m_zone; }

private:
    ZoneDays &m_zone;
    qint64 m_now;
    QDate m_today;
    int m_secondOfDay;
};

// Whether the tag is due now, with the seconds until the answer changes.
ScheduleAnswer EvaluateSchedule(const TagSchedule &tag, const LocalCalendar &now);
// The same for one tag at one moment (any zone; its instant counts).
ScheduleAnswer EvaluateSchedule(const TagSchedule &tag, const QDateTime &now);

// Seconds from now until the answer of EvaluateSchedule next changes, -1 when it
// never does (a tag to show now). Besides the answer's own seconds: a file or mail
// action becomes late 60 s after its moment, a weekly day is worked out afresh
// each day, and an answer without a moment can only change with the date.
qint64 secondsToNextChange(const TagSchedule &tag, const ScheduleAnswer &answer,
                           const LocalCalendar &now);

// What the user is told when a tag's schedule kind is damaged.
QString damagedDataText();

// Real seconds from now until the wall-clock moment date + time in the local zone
// (the rules of ZoneDays for wall times that happen twice or not at all).
qint64 secondsUntil(const QDateTime &now, const QDate &date, const QTime &time);

// The label of a kind in the lists, "『毎日表示　』 " and so on; empty for an unknown kind.
QString kindLabel(int kind);

// The schedule in words for the lists, then a line saying what state it is in.
QString describeSchedule(const TagSchedule &tag, bool shown, bool mailSent);
