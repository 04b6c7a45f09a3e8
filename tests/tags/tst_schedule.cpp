// Runs with TZ=Europe/Berlin (set by CTest) so daylight saving days are real.
#include "schedule.h"
#include "tablecheck.h"

#include <QTest>
#include <QTimeZone>

using namespace Qt::StringLiterals;

namespace {
QDateTime parsed(QString text, Qt::TimeSpec timeSpec = Qt::UTC)
{
    text.replace(u'_', u' ');
    if (text.size() == 5 || text.size() == 8) // a time of day only
        text.prepend(u"1900/01/01 "_s);
    if (text.size() == 16)
        text += u":00"_s;
    const QDateTime dt = QDateTime::fromString(text, u"yyyy/MM/dd hh:mm:ss"_s);
    return QDateTime(dt.date(), dt.time(), timeSpec);
}

QDateTime local(const char *text)
{
    return parsed(QString::fromLatin1(text), Qt::LocalTime);
}

// "<kind> <display>" and then any of: e<erase date_time or erase time>, d<day>,
// weekdays as "SMTWTFS" letters ('-' off), k<weeks>, o (open a file), m (mail).
TagSchedule tag(const char *shape)
{
    const QStringList parts = QString::fromLatin1(shape).split(u' ');
    TagSchedule t;
    t.kind = parts[0].toInt();
    t.display = parsed(parts[1]);
    t.erase = parsed(u"1900/01/01_00:00"_s);
    for (const QString &p : parts.mid(2)) {
        if (p.startsWith(u'e'))
            p.size() > 9 ? void(t.erase = parsed(p.mid(1))) : void(t.eraseTime = p.mid(1));
        else if (p.startsWith(u'd'))
            t.monthlyDay = p.mid(1).toInt();
        else if (p.startsWith(u'k'))
            for (QChar w : p.mid(1))
                t.weeks[w.digitValue()] = true;
        else if (p.size() == 7)
            for (int i = 0; i < 7; ++i)
                t.weekdays[i] = p[i] != u'-';
        t.openFile |= p == u"o";
        t.mail |= p == u"m";
    }
    return t;
}

// The answer as "<result> <seconds>".
QString text(const ScheduleAnswer &a)
{
    return u"%1 %2"_s.arg(int(a.result)).arg(a.seconds);
}

void row(const char *name, const char *shape, ScheduleResult r, qint32 s,
         const char *now = "2024/05/01 09:59:59")
{
    QTest::newRow(name) << text(EvaluateSchedule(tag(shape), local(now))) << text({r, s});
}

constexpr auto Due = ScheduleResult::Due;
constexpr auto Expired = ScheduleResult::Expired;
constexpr auto NotNow = ScheduleResult::NotNow;
constexpr qint32 Day = 86400;
} // namespace

class TestSchedule : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void evaluate_data()
    {
        gotWantColumns<QString>();
        // Asked at 2024/05/01 09:59:59 unless a row says otherwise.
        // clang-format off
        row("now", "0 00:00", Due, 0);
        row("unknown kind is damaged", "7 2024/05/01_10:00", ScheduleResult::Damaged, 0);

        row("date: 1 s ahead is due", "1 2024/05/01_10:00", Due, 14 * 3600 + 1);
        row("date: 2 s ahead waits", "1 2024/05/01_10:00:01", NotNow, 2);
        row("date: 365 days waits", "1 2025/05/01_09:59:59", NotNow, 365 * Day);
        row("date: 366 days is too far", "1 2025/05/02_00:00", NotNow, -1);
        row("date: erase ahead", "1 2024/05/01_09:00 e2024/05/01_12:00", Due, 7201);
        row("date: erase 1 s ahead", "1 2024/05/01_09:00 e2024/05/01_10:00", Expired, 1);
        row("date: cleared erase is none", "1 2024/05/01_08:00 e0001/01/01_00:00", Due, 50401);
        row("date: file 59 s late opens", "1 2024/05/01_09:59 o", Due, 50401);
        row("date: file 60 s late is skipped", "1 2024/05/01_09:58:59 o", NotNow, -1);
        row("date: mail 60 s late still goes", "1 2024/05/01_09:58:59 m", Due, 50401);

        row("daily: before", "2 10:30", NotNow, 1801);
        row("daily: after, no erase", "2 08:00", Due, 50401);
        row("daily: erase ahead", "2 08:00 e18:00", Due, 28801);
        row("daily: erase passed", "2 08:00 e09:00", Expired, -3599);
        row("daily: next day again", "2 08:00 e09:00", NotNow, 3600, "2024/05/02 07:00");
        row("daily: mail 60 s late skipped", "2 09:58:59 m", NotNow, -1);
        row("daily: midnight", "2 00:00", Due, Day, "2024/05/01 00:00");

        // May 2024 begins on a Wednesday; 2024/01/01, 08, 15, 22, 29 are Mondays.
        row("weekly: today, 1 s ahead", "3 10:00 ---W--- k1", Due, 50401);
        row("weekly: 2 s ahead waits", "3 10:00 ---W--- k1", NotNow, 2, "2024/05/01 09:59:58");
        row("weekly: the 7th is week 1", "3 10:00 --T---- k1", Due, 50401, "2024/05/07 09:59:59");
        row("weekly: later this week", "3 10:00 -----F- k1", NotNow, 2 * Day + 1);
        row("weekly: into June, week 5", "3 10:00 -M----- k5", NotNow, 5 * Day, "2024/05/29 10:00");
        row("weekly: day 36 = week 6", "3 09:00 ---W--- k1", NotNow, 5 * Day - 3600, "2024/05/31 10:00");
        row("weekly: W1 -> week 3 at +21", "3 09:00 -M----- k3", NotNow, 21 * Day, "2024/01/01 09:00");
        row("weekly: W5 -> week 4 at +35", "3 09:00 -M----- k4", NotNow, 35 * Day, "2024/01/29 09:00");
        row("weekly: no week on", "3 09:00 -M-----", NotNow, -1, "2024/01/08 08:00");
        row("weekly: no weekday on", "3 09:00 k12345", NotNow, -1);
        row("weekly: erase passed", "3 08:00 e09:00 ---W--- k1", Expired, -3599);

        row("monthly: later this month", "4 10:00 d15", NotNow, 14 * Day + 1);
        row("monthly: 1 s ahead is due", "4 10:00 d1", Due, 50401);
        row("monthly: passed, next month", "4 10:00 d15", NotNow, 26 * Day, "2024/05/20 10:00");
        row("monthly: 31 in April", "4 10:00 d31", NotNow, -1, "2024/04/05 10:00");
        row("monthly: 29 Feb, leap year", "4 10:00 d29", NotNow, 19 * Day, "2024/02/10 10:00");
        row("monthly: 29 Feb, common year", "4 10:00 d29", NotNow, -1, "2023/02/10 10:00");
        row("monthly: month end, last day", "4 10:00 d32", Due, 12 * 3600, "2024/04/30 12:00");
        row("monthly: end, from the 1st", "4 10:00 d32", NotNow, 30 * Day + 10 * 3600, "2024/05/01 00:00");
        row("monthly: month end, February", "4 00:00 d32", NotNow, Day, "2024/02/28 00:00");

        // Europe/Berlin: 2024/03/31 02:00 -> 03:00, 2024/10/27 03:00 -> 02:00.
        row("dst: spring day is 23 h", "2 10:00", NotNow, 30600, "2024/03/31 00:30");
        row("dst: 02:30 does not exist, 03:00 does", "2 02:30", NotNow, 3600, "2024/03/31 01:00");
        row("dst: 02:30 in the gap reads as 03:00, due", "2 02:30", Due, 21 * 3600, "2024/03/31 03:00");
        row("dst: dated 02:30 in the gap", "1 2024/03/31_02:30", NotNow, 7200, "2024/03/31 00:00");
        row("dst: autumn midnight is 25 h away", "2 00:00", Due, 25 * 3600, "2024/10/27 00:00");
        // clang-format on
    }

    void evaluate() { compareGotWant<QString>(); }
    // Europe/Berlin, 2025/10/26: 03:00 CEST goes back to 02:00 CET, so 02:30 happens
    // at 00:30 and again at 01:30 UTC. The second one counts, asked at any moment of
    // that night and whatever was evaluated before.
    void repeatedHourIsTheSecondOccurrence()
    {
        const TagSchedule at0230 = tag("2 02:30");
        const TagSchedule other = tag("2 08:00 e9:05");
        const qint64 second =
            QDateTime(QDate(2025, 10, 26), QTime(1, 30), QTimeZone::utc()).toSecsSinceEpoch();
        const qint64 from =
            QDateTime(QDate(2025, 10, 25), QTime(22, 0), QTimeZone::utc()).toSecsSinceEpoch();
        ZoneDays zone;
        for (qint64 t = from; t < second - 1; t += 97) {
            const QDateTime now = QDateTime::fromSecsSinceEpoch(t, QTimeZone::utc());
            const ScheduleAnswer alone = EvaluateSchedule(at0230, now);
            QCOMPARE(alone, (ScheduleAnswer{ScheduleResult::NotNow, qint32(second - t)}));
            const LocalCalendar cal(now, zone);
            EvaluateSchedule(other, cal);
            QCOMPARE(EvaluateSchedule(at0230, cal), alone);
        }
        // Due from the second 02:30 on, until midnight (a 25-hour day ends at 23:00 UTC).
        const QDateTime after = QDateTime::fromSecsSinceEpoch(second + 60, QTimeZone::utc());
        QCOMPARE(EvaluateSchedule(at0230, after),
                 (ScheduleAnswer{ScheduleResult::Due, 21 * 3600 + 29 * 60}));
    }

    // Wall times away from the clock changes are read as the system reads them.
    void zoneDaysAgreeWithTheSystem()
    {
        ZoneDays zone;
        for (int i = 0; i < 2000; ++i) {
            const QDate date = QDate(2020, 1, 1).addDays(i * 7 % 3000);
            const QTime time(i * 5 % 24, i * 7 % 60, i % 60);
            const QDateTime local(date, time, Qt::LocalTime);
            if (local.offsetFromUtc() != local.addSecs(-7200).offsetFromUtc() ||
                local.offsetFromUtc() != local.addSecs(7200).offsetFromUtc())
                continue;
            QCOMPARE(zone.moment(date, time.msecsSinceStartOfDay() / 1000),
                     local.toSecsSinceEpoch());
        }
    }

    void describe_data()
    {
        gotWantColumns<QString>();
        const auto row = [](const char *name, const char *shape, bool sent, const QString &want) {
            QTest::newRow(name) << describeSchedule(tag(shape), false, sent) << want;
        };
        // clang-format off
        row("date range", "1 2024/05/01_10:00 e2024/05/02_18:30", false, u"2024/05/01 10:00 ～ 2024/05/02 18:30 の間\n表示されます。"_s);
        row("weeks 1, 3", "3 09:00 S-----S k13", false, u"1,3週 日、土曜日の 09:00 から\n表示されます。"_s);
        row("month end sent", "4 09:00 d32 m", true, u"毎月末 09:00 から\nE-Mailで送信しました。"_s);
        // clang-format on
    }

    void describe() { compareGotWant<QString>(); }
};

QTEST_APPLESS_MAIN(TestSchedule)
#include "tst_schedule.moc"
