// Runs with TZ=Europe/Berlin (set by CTest) so daylight saving days are real.
#include "schedule.h"
#include "scriptedprompt.h"

#include <QTest>
#include <QTimeZone>

namespace {
QDateTime local(const char *text)
{
    const QDateTime dt =
        QDateTime::fromString(QString::fromLatin1(text), QStringLiteral("yyyy/MM/dd hh:mm:ss"));
    return QDateTime(dt.date(), dt.time(), Qt::LocalTime);
}

QDateTime wall(const char *text)
{
    const QDateTime dt =
        QDateTime::fromString(QString::fromLatin1(text), QStringLiteral("yyyy/MM/dd hh:mm:ss"));
    return QDateTime(dt.date(), dt.time(), QTimeZone::utc());
}

// Compact tag description for the tables: kind, display, erase or erase time,
// day, weekdays as "SMTWTFS" letters ('-' off), weeks as digits, flags "o" / "m".
TagSchedule tag(int kind, const char *display, const char *erase = "", int day = 0,
                const char *weekdays = "-------", const char *weeks = "", const char *flags = "")
{
    TagSchedule t;
    t.kind = kind;
    t.display = wall(display);
    const QString e = QString::fromLatin1(erase);
    if (e.size() == 19)
        t.erase = wall(erase);
    else
        t.erase = wall("1900/01/01 00:00:00"), t.eraseTime = e;
    t.monthlyDay = day;
    for (int i = 0; i < 7; ++i)
        t.weekdays[i] = weekdays[i] != '-';
    for (const char *w = weeks; *w; ++w)
        t.weeks[*w - '0'] = true;
    t.openFile = std::strchr(flags, 'o') != nullptr;
    t.mail = std::strchr(flags, 'm') != nullptr;
    return t;
}

void row(const char *name, const TagSchedule &t, const char *now, ScheduleResult r, qint32 s)
{
    QTest::newRow(name) << t << local(now) << int(r) << s;
}

constexpr auto Due = ScheduleResult::Due;
constexpr auto Expired = ScheduleResult::Expired;
constexpr auto NotNow = ScheduleResult::NotNow;
constexpr qint32 Day = 86400;
} // namespace

Q_DECLARE_METATYPE(TagSchedule)

class TestSchedule : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void evaluate_data();
    void evaluate();
    void unknownKindIsDamaged();
    void repeatedHourIsTheSecondOccurrence();
    void zoneDaysAgreeWithTheSystem();
    void describe_data();
    void describe();
    void labels();
};

void TestSchedule::evaluate_data()
{
    QTest::addColumn<TagSchedule>("t");
    QTest::addColumn<QDateTime>("now");
    QTest::addColumn<int>("result");
    QTest::addColumn<qint32>("seconds");
    const char *n = "2024/05/01 09:59:59";

    row("now", tag(0, "1900/01/01 00:00:00"), n, Due, 0);

    row("date: 1 s ahead is due", tag(1, "2024/05/01 10:00:00"), n, Due, 14 * 3600 + 1);
    row("date: 2 s ahead waits", tag(1, "2024/05/01 10:00:01"), n, NotNow, 2);
    row("date: 365 days waits", tag(1, "2025/05/01 09:59:59"), n, NotNow, 365 * Day);
    row("date: 366 days is too far", tag(1, "2025/05/02 00:00:00"), n, NotNow, -1);
    row("date: erase ahead", tag(1, "2024/05/01 09:00:00", "2024/05/01 12:00:00"), n, Due, 7201);
    row("date: erase 1 s ahead", tag(1, "2024/05/01 09:00:00", "2024/05/01 10:00:00"), n, Expired,
        1);
    row("date: erase passed", tag(1, "2024/05/01 08:00:00", "2024/05/01 09:00:00"), n, Expired,
        -3599);
    row("date: cleared erase is none", tag(1, "2024/05/01 08:00:00", "0001/01/01 00:00:00"), n, Due,
        50401);
    row("date: file 59 s late opens", tag(1, "2024/05/01 09:59:00", "", 0, "-------", "", "o"), n,
        Due, 50401);
    row("date: file 60 s late is skipped", tag(1, "2024/05/01 09:58:59", "", 0, "-------", "", "o"),
        n, NotNow, -1);
    row("date: mail 60 s late still goes", tag(1, "2024/05/01 09:58:59", "", 0, "-------", "", "m"),
        n, Due, 50401);

    row("daily: before", tag(2, "1900/01/01 10:30:00"), n, NotNow, 1801);
    row("daily: after, no erase", tag(2, "1900/01/01 08:00:00"), n, Due, 50401);
    row("daily: erase ahead", tag(2, "1900/01/01 08:00:00", "18:00"), n, Due, 28801);
    row("daily: erase passed", tag(2, "1900/01/01 08:00:00", "09:00"), n, Expired, -3599);
    row("daily: next day again", tag(2, "1900/01/01 08:00:00", "09:00"), "2024/05/02 07:00:00",
        NotNow, 3600);
    row("daily: mail 60 s late skipped", tag(2, "1900/01/01 09:58:59", "", 0, "-------", "", "m"),
        n, NotNow, -1);
    row("daily: file 59 s late opens", tag(2, "1900/01/01 09:59:00", "", 0, "-------", "", "o"), n,
        Due, 50401);
    row("daily: midnight", tag(2, "1900/01/01 00:00:00"), "2024/05/01 00:00:00", Due, Day);

    // May 2024 begins on a Wednesday; 2024/01/01, 08, 15, 22, 29 are Mondays.
    row("weekly: today, 1 s ahead", tag(3, "1900/01/01 10:00:00", "", 0, "---W---", "1"), n, Due,
        50401);
    row("weekly: later this week", tag(3, "1900/01/01 10:00:00", "", 0, "-----F-", "1"), n, NotNow,
        2 * Day + 1);
    row("weekly: across month end, week 5", tag(3, "1900/01/01 10:00:00", "", 0, "-M-----", "5"),
        "2024/05/29 10:00:00", NotNow, 5 * Day);
    row("weekly: day 36 is week 6, a match", tag(3, "1900/01/01 09:00:00", "", 0, "---W---", "1"),
        "2024/05/31 10:00:00", NotNow, 5 * Day - 3600);
    row("weekly: W1 -> week 3 at +21", tag(3, "1900/01/01 09:00:00", "", 0, "-M-----", "3"),
        "2024/01/01 09:00:00", NotNow, 21 * Day);
    row("weekly: W2 -> week 1 at +35", tag(3, "1900/01/01 10:00:00", "", 0, "-M-----", "1"),
        "2024/06/10 09:00:00", NotNow, 35 * Day + 3600);
    row("weekly: W3 -> week 1 at +28", tag(3, "1900/01/01 09:00:00", "", 0, "-M-----", "1"),
        "2024/01/15 09:00:00", NotNow, 28 * Day);
    row("weekly: W4 -> week 5 at +14", tag(3, "1900/01/01 09:00:00", "", 0, "-M-----", "5"),
        "2024/01/22 09:00:00", NotNow, 14 * Day);
    row("weekly: W5 -> week 4 at +35", tag(3, "1900/01/01 09:00:00", "", 0, "-M-----", "4"),
        "2024/01/29 09:00:00", NotNow, 35 * Day);
    row("weekly: no week on", tag(3, "1900/01/01 09:00:00", "", 0, "-M-----", ""),
        "2024/01/08 08:00:00", NotNow, -1);
    row("weekly: no weekday on", tag(3, "1900/01/01 09:00:00", "", 0, "-------", "12345"), n,
        NotNow, -1);
    row("weekly: erase passed", tag(3, "1900/01/01 08:00:00", "09:00", 0, "---W---", "1"), n,
        Expired, -3599);

    row("monthly: later this month", tag(4, "1900/01/01 10:00:00", "", 15), n, NotNow,
        14 * Day + 1);
    row("monthly: 2 s ahead waits", tag(4, "1900/01/01 10:00:00", "", 1), "2024/05/01 09:59:58",
        NotNow, 2);
    row("monthly: 1 s ahead is due", tag(4, "1900/01/01 10:00:00", "", 1), n, Due, 50401);
    row("monthly: passed, next month", tag(4, "1900/01/01 10:00:00", "", 15), "2024/05/20 10:00:00",
        NotNow, 26 * Day);
    row("monthly: 31 in April", tag(4, "1900/01/01 10:00:00", "", 31), "2024/04/05 10:00:00",
        NotNow, -1);
    row("monthly: 29 Feb, leap year", tag(4, "1900/01/01 10:00:00", "", 29), "2024/02/10 10:00:00",
        NotNow, 19 * Day);
    row("monthly: 29 Feb, common year", tag(4, "1900/01/01 10:00:00", "", 29),
        "2023/02/10 10:00:00", NotNow, -1);
    row("monthly: month end, last day", tag(4, "1900/01/01 10:00:00", "", 32),
        "2024/04/30 12:00:00", Due, 12 * 3600);
    row("monthly: month end, from the 1st", tag(4, "1900/01/01 10:00:00", "", 32),
        "2024/05/01 00:00:00", NotNow, 30 * Day + 10 * 3600);
    row("monthly: month end, February", tag(4, "1900/01/01 00:00:00", "", 32),
        "2024/02/28 00:00:00", NotNow, Day);
    row("monthly: midnight", tag(4, "1900/01/01 00:00:00", "", 15), "2024/05/15 00:00:00", Due,
        Day);

    // Europe/Berlin: 2024/03/31 02:00 -> 03:00, 2024/10/27 03:00 -> 02:00.
    row("dst: spring day is 23 h", tag(2, "1900/01/01 10:00:00"), "2024/03/31 00:30:00", NotNow,
        30600);
    row("dst: 02:30 does not exist, 03:00 does", tag(2, "1900/01/01 02:30:00"),
        "2024/03/31 01:00:00", NotNow, 3600);
    row("dst: 02:30 in the gap reads as 03:00, due", tag(2, "1900/01/01 02:30:00"),
        "2024/03/31 03:00:00", Due, 21 * 3600);
    row("dst: dated 02:30 in the gap", tag(1, "2024/03/31 02:30:00"), "2024/03/31 00:00:00", NotNow,
        7200);
    row("dst: autumn midnight is 25 h away", tag(2, "1900/01/01 00:00:00"), "2024/10/27 00:00:00",
        Due, 25 * 3600);
}

void TestSchedule::evaluate()
{
    QFETCH(TagSchedule, t);
    QFETCH(QDateTime, now);
    QFETCH(int, result);
    QFETCH(qint32, seconds);
    QVERIFY(now.isValid());
    const ScheduleAnswer answer = EvaluateSchedule(t, now);
    QCOMPARE(int(answer.result), result);
    QCOMPARE(answer.seconds, seconds);
}

void TestSchedule::unknownKindIsDamaged()
{
    const ScheduleAnswer answer =
        EvaluateSchedule(tag(7, "2024/05/01 10:00:00"), local("2024/05/01 09:00:00"));
    QCOMPARE(answer.result, ScheduleResult::Damaged);
}

// Europe/Berlin, 2025/10/26: 03:00 CEST goes back to 02:00 CET, so 02:30 happens
// at 00:30 and again at 01:30 UTC. The second one counts, asked at any moment of
// that night and whatever was evaluated before.
void TestSchedule::repeatedHourIsTheSecondOccurrence()
{
    const TagSchedule at0230 = tag(2, "1900/01/01 02:30:00");
    const TagSchedule other = tag(2, "1900/01/01 08:00:00", "9:05");
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
void TestSchedule::zoneDaysAgreeWithTheSystem()
{
    ZoneDays zone;
    for (int i = 0; i < 2000; ++i) {
        const QDate date = QDate(2020, 1, 1).addDays(i * 7 % 3000);
        const QTime time(i * 5 % 24, i * 7 % 60, i % 60);
        const QDateTime local(date, time, Qt::LocalTime);
        if (local.offsetFromUtc() != local.addSecs(-7200).offsetFromUtc() ||
            local.offsetFromUtc() != local.addSecs(7200).offsetFromUtc())
            continue;
        QCOMPARE(zone.moment(date, time.msecsSinceStartOfDay() / 1000), local.toSecsSinceEpoch());
    }
}

void TestSchedule::describe_data()
{
    QTest::addColumn<TagSchedule>("t");
    QTest::addColumn<bool>("shown");
    QTest::addColumn<bool>("sent");
    QTest::addColumn<QString>("text");
    auto add = [](const char *name, const TagSchedule &t, bool shown, bool sent,
                  const QString &text) { QTest::newRow(name) << t << shown << sent << text; };
    add("date range", tag(1, "2024/05/01 10:00:00", "2024/05/02 18:30:00"), false, false,
        QStringLiteral("2024/05/01 10:00 ～ 2024/05/02 18:30 の間\n表示されます。"));
    add("date open end, shown", tag(1, "2024/05/01 10:00:00"), true, false,
        QStringLiteral("2024/05/01 10:00 から\n表示されています。"));
    add("daily", tag(2, "1900/01/01 09:05:00", "17:00"), false, false,
        QStringLiteral("毎日、09:05 ～ 17:00 の間\n表示されます。"));
    add("every week", tag(3, "1900/01/01 09:00:00", "", 0, "-M-W---", "12345"), false, false,
        QStringLiteral("毎週 月、水曜日の 09:00 から\n表示されます。"));
    add("weeks 1 and 3", tag(3, "1900/01/01 09:00:00", "", 0, "S-----S", "13"), false, false,
        QStringLiteral("1,3週 日、土曜日の 09:00 から\n表示されます。"));
    add("monthly mail", tag(4, "1900/01/01 09:00:00", "", 15, "-------", "", "m"), false, false,
        QStringLiteral("毎月、15日 09:00 から\nE-Mailで送信します。"));
    add("month end mailed", tag(4, "1900/01/01 09:00:00", "", 32, "-------", "", "m"), false, true,
        QStringLiteral("毎月末 09:00 から\nE-Mailで送信しました。"));
    add("now, hidden", tag(0, "1900/01/01 00:00:00"), false, false,
        QStringLiteral("すぐに表示指定ですが、現在は非表示です。"));
    add("now, shown", tag(0, "1900/01/01 00:00:00"), true, false,
        QStringLiteral("表示されています。"));
}

void TestSchedule::describe()
{
    QFETCH(TagSchedule, t);
    QFETCH(bool, shown);
    QFETCH(bool, sent);
    QFETCH(QString, text);
    QCOMPARE(describeSchedule(t, shown, sent), text);
}

void TestSchedule::labels()
{
    const QStringList expected{QStringLiteral("『すぐに表示』 "), QStringLiteral("『指定日表示』 "),
                               QStringLiteral("『毎日表示\u3000』 "),
                               QStringLiteral("『毎週表示\u3000』 "),
                               QStringLiteral("『毎月表示\u3000』 ")};
    for (int kind = 0; kind < 5; ++kind) {
        QCOMPARE(kindLabel(kind), expected[kind]);
        QCOMPARE(kindLabel(kind).size(), 8); // all five line up
    }
    QVERIFY(kindLabel(5).isEmpty());
}

QTEST_APPLESS_MAIN(TestSchedule)
#include "tst_schedule.moc"
