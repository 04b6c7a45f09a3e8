#pragma once

#include <QDateTime>
#include <QString>
#include <array>
#include <optional>

class Prompt;
class TagRecord;

// The schedule of one tag: the values of its record that say when it is shown.
struct TagSchedule
{
    enum Kind { ShowNow = 0, OnDate = 1, Daily = 2, Weekly = 3, Monthly = 4 };
    static constexpr int MonthEnd = 32;

    int kind = ShowNow;
    QDateTime display;  // wall clock; kinds 2-4 use only its time of day
    QDateTime erase;    // kind 1; 1900/01/01 or earlier = no erase date
    QString eraseTime;  // kinds 2-4: "hh:nn", anything else = none
    int monthlyDay = 0; // kind 4: 1-31, 32 = month end
    std::array<bool, 7> weekdays{}; // 0 Sunday ... 6 Saturday
    std::array<bool, 6> weeks{};    // index 1-5: weeks of the month
    bool openFile = false;
    bool mail = false;

    static TagSchedule fromRecord(const TagRecord &record);
};

enum class ScheduleResult : qint16 { Due = 1, Expired = 2, NotNow = 5 };

struct ScheduleAnswer
{
    ScheduleResult result;
    // Due: until it is taken down (or the next midnight); Expired: to the erase
    // moment (< 2); NotNow: until it is due, or -1 when there is nothing to wait for.
    qint32 seconds;

    bool operator==(const ScheduleAnswer &) const = default;
};

// Whether the tag is due at now (a local time), with the seconds until the answer
// changes. An unknown kind means damaged data: the user is told and there is no answer.
std::optional<ScheduleAnswer> EvaluateSchedule(const TagSchedule &tag, const QDateTime &now,
                                               Prompt &prompt);

// Real seconds from now until the wall-clock moment date + time in the local zone.
// A wall time that does not exist that day (clocks going forward) is taken at the
// first one that does.
qint64 secondsUntil(const QDateTime &now, const QDate &date, const QTime &time);

// The label of a kind in the lists, "『毎日表示　』 " and so on; empty for an unknown kind.
QString kindLabel(int kind);

// The schedule in words for the lists, then a line saying what state it is in.
QString describeSchedule(const TagSchedule &tag, bool shown, bool mailSent);
