#include "manualclock.h"
#include "recordingdisplay.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "tempstore.h"

#include <QRegularExpression>
#include <QScopeGuard>
#include <QSignalSpy>
#include <QTest>
#include <QTimeZone>

#include <ctime>

using namespace Qt::StringLiterals;

namespace {
// "[d/]hh:mm[:ss[.zzz]]": that time of day d of May 2024 (the 1st when not given).
QDateTime local(const QString &text)
{
    const QString time = text.section(u'/', -1);
    const int day = text.contains(u'/') ? text.section(u'/', 0, 0).toInt() : 1;
    const char *form = time.size() == 5 ? "hh:mm" : time.size() == 8 ? "hh:mm:ss" : "hh:mm:ss.zzz";
    return QDateTime(QDate(2024, 5, day), QTime::fromString(time, QLatin1String(form)),
                     Qt::LocalTime);
}
} // namespace

class TestScheduler : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_scheduler.reset();
        m_data = std::make_unique<TempStore>();
        m_clock = std::make_unique<ManualClock>(local(u"09:00"_s));
        m_prompt = std::make_unique<ScriptedPrompt>();
        m_display = std::make_unique<RecordingDisplay>();
        m_timer = std::make_unique<SchedulerTimer>();
        m_scheduler =
            std::make_unique<Scheduler>(m_data->store, *m_clock, *m_prompt, *m_display, *m_timer);
    }

    // Each row a script of steps separated by "; ", starting at 2024/05/01 09:00:
    //   +<kind> <hh:mm | yyyy/MM/dd_hh:mm> [e<erase time>] [o<file>] [m] [s<sound> | b]: a tag
    //       (kind 1 on 2024/05/01 unless dated) that opens a file, mails, rings or beeps
    //   @<time>  the clock set (see local()), t<time>  the same and the timer fires
    //   load, tick, pause, resume, redisplay, hide <k>, edit (the last tag stored)
    //   = <log>  what the display was asked since the last look
    //   wait <s>, wake <time>, <k> S|W|I (state), sent <k> (the mail marked sent)
    void scenarios_data()
    {
        QTest::addColumn<QString>("script");
        const auto row = [](const char *name, const char *script) {
            QTest::newRow(name) << QString::fromUtf8(script);
        };
        // clang-format off
        row("dated in 3601 s", "+1 10:00:01; load; wait 3600; 1 W; =");
        row("nothing within a year", "+1 2025/06/05_09:00; load; wait 3600; 1 W; =");
        row("daily comes, expires, returns",
            "+2 10:00 e11:00 s/s/alarm.wav; load; wait 3600; t10:00; = show 1, sound /s/alarm.wav, blink; 1 S; "
            "wait 3600; t11:00; = down 1; 1 W; t2/10:00:01; = show 1, sound /s/alarm.wav, blink");
        row("hidden returns next day",
            "+2 10:00; @10:30; load; = show 1; hide 1; t12:00; = down 1; t2/00:00; 1 W; t2/10:00; = show 1, blink");
        row("shown wakes at midnight", "+2 08:00; @23:30; load; wait 1800");
        row("files and mail once an occurrence",
            "+2 09:30 o/d/r.ods; +2 09:30 m; +1 09:30 m; load; t09:30; = open 1 /d/r.ods, mail 2, mail 3; sent 3; "
            "t12:00; t2/09:00; =; t2/09:30; = open 1 /d/r.ods, mail 2; load; = open 1 /d/r.ods, mail 2");
        row("pause holds new tags back", "+2 10:00; load; pause; t10:00; =; resume; wait 1; tick; = show 1, blink");
        row("an edited tag sooner than the wait is woken for",
            "+2 11:00; load; wait 3600; +2 09:10; edit; wait 600; +2 09:40; edit; wait 600; "
            "t09:10; = show 2, blink; wait 1800");
        row("redisplay skips files and mail",
            "+2 08:00; +2 08:00 o/d/a.ods; +2 08:00 m; +2 10:00; @08:00:30; load; = show 1, open 2 /d/a.ods, mail 3; "
            "hide 1; = down 1; redisplay; = show 1");
        // Nobody took it down: it stays as it is, without a second alarm; taken down,
        // it comes again with its alarm the day after.
        row("recurring tag still up at its next occurrence",
            "+2 10:00 b; load; t10:00; = show 1, beep, blink; t2/00:00; t2/10:00; =; 1 S; "
            "hide 1; t3/00:00; t3/10:00; = down 1, show 1, beep, blink");
        // A timer that wakes a little early waits on for the rest of the second.
        row("nothing fires before its second",
            "+2 20:42 m; @20:00:00.700; load; wake 20:42; @20:41:59.700; tick; =; wake 20:42; @20:42; tick; = mail 1");
        // clang-format on
    }

    void scenarios()
    {
        QFETCH(QString, script);
        int added = 0;
        static const QRegularExpression state(u"^(\\d+) ([SWI])$"_s);
        for (const QString &step : script.split(u"; "_s)) {
            const QString arg = step.section(u' ', 1);
            QString got, want = arg; // compared for the checks
            if (step.startsWith(u'+'))
                added = add(step.mid(1));
            else if (step.startsWith(u'@') || (step.startsWith(u't') && step != u"tick"))
                m_clock->set(local(step.mid(1)));
            if (step.startsWith(u't') || step == u"tick")
                m_scheduler->SchedulerTick();
            else if (step == u"load")
                m_scheduler->loadAll();
            else if (step == u"edit")
                m_scheduler->tagChanged(added);
            else if (step == u"pause" || step == u"resume")
                m_scheduler->setPaused(step == u"pause");
            else if (step == u"redisplay")
                m_scheduler->redisplay();
            else if (step.startsWith(u"hide"))
                m_scheduler->hideTag(arg.toInt());
            else if (step.startsWith(u'='))
                got = took(), want = step.mid(2);
            else if (step.startsWith(u"wait"))
                got = QString::number(m_timer->intervalMs() / 1000.0);
            else if (step.startsWith(u"wake"))
                got = QString::number(m_scheduler->wakeAt() - local(arg).toMSecsSinceEpoch()),
                want = u"0"_s;
            else if (step.startsWith(u"sent"))
                got = QString::number(m_data->store.readTag(arg.toInt())->byte(Tag::MailSent)),
                want = u"1"_s;
            else if (const auto m = state.match(step); m.hasMatch())
                got = QString::number(m_scheduler->state(m.captured(1).toInt())),
                want = QString::number(m.captured(2) == u"S"   ? int(Scheduler::Shown)
                                       : m.captured(2) == u"W" ? int(Scheduler::Waiting)
                                                               : int(Scheduler::Idle));
            if (!got.isNull() || step.startsWith(u'='))
                QVERIFY2(got == want, qPrintable(step + u" got: "_s + got));
        }
    }

    void startUpShowsWithoutAlarm()
    {
        TagStore &store = m_data->store;
        for (const char *shape : {"0 00:00 b", "0 00:00", "0 00:00", "7 00:00", "0 00:00"})
            add(QString::fromLatin1(shape));
        for (auto [k, mark] : {std::pair{2, TagRecord::InTrash}, {3, TagRecord::Deleted}}) {
            TagRecord t = *store.readTag(k);
            t.setStateMark(mark);
            QVERIFY(store.writeTag(k, t));
        }
        QByteArray bad = store.readTag(5)->serialize();
        bad[TagRecord::FixedSize + 1] = char(0x90); // a length past the slot
        QVERIFY(store.file().write(6, bad));
        m_scheduler->loadAll();
        QCOMPARE(took(), u"show 1"_s);
        for (int k : {2, 3, 4})
            QCOMPARE(m_scheduler->state(k), int(Scheduler::Idle));
        // The damaged kind and the unreadable record were each reported once.
        QCOMPARE(m_prompt->shown,
                 (QStringList{
                     u"Pinboard.exeがあるﾃﾞｨﾚｸﾄﾘ のPinboard.dt1,Pinboard.dt2を削除して再実行"
                     u"して下さい。"_s,
                     u"次の付箋のデータが壊れているため、表示できません。\r\n付箋番号：00005"_s}));
    }

    // Own tags ring their file or beep; received ones the arrival sound, if it is on.
    void alarms()
    {
        const auto alarm = [](bool received, int soundFlag, const QString &path, int netSound,
                              const QString &arrival) {
            TagRecord tag;
            tag.setText(Tag::ReceivedMark, received ? u"1"_s : QString());
            tag.setText(Tag::FilePath, path);
            tag.setByte(Tag::SoundFlag, soundFlag);
            EnvRecord env;
            env.setByte(Env::NetSound, netSound);
            env.setText(Env::ArrivalSound, arrival);
            const Alarm a = alarmFor(tag, env);
            return u"%1 %2"_s.arg(int(a.kind)).arg(a.path);
        };
        const QString sound = u"%1 "_s.arg(int(Alarm::Sound)),
                      beep = u"%1 "_s.arg(int(Alarm::Beep)), none = u"%1 "_s.arg(int(Alarm::None));
        QCOMPARE(alarm(false, 1, u"/a.mid"_s, 1, u"/arr.wav"_s), sound + u"/a.mid"_s);
        QCOMPARE(alarm(false, 1, QString(), 1, QString()), beep);
        QCOMPARE(alarm(false, 0, u"/a.mid"_s, 1, QString()), none);
        QCOMPARE(alarm(true, 0, QString(), 1, u"/arr.wav"_s), sound + u"/arr.wav"_s);
        QCOMPARE(alarm(true, 0, QString(), 1, QString()), beep);
        QCOMPARE(alarm(true, 0, QString(), 0, u"/arr.wav"_s), none);
    }

    void timerBounds()
    {
        SchedulerTimer t;
        QSignalSpy ticks(&t, &SchedulerTimer::tick);
        for (auto [s, ms] : {std::pair<qint64, int>{2147483647, 3600000},
                             {3601, 3600000},
                             {10, 10000},
                             {0, 1000},
                             {-5, 1000}}) {
            t.arm(s);
            QCOMPARE(t.intervalMs(), ms);
            t.armMs(s * 1000); // the same bounds to the millisecond
            QCOMPARE(t.intervalMs(), s > 0 ? ms : 1);
        }
        // A clock change looks again in a second, once: the handler re-arms.
        t.arm(3600);
        t.clockChanged();
        QCOMPARE(t.intervalMs(), 1000);
        QVERIFY(ticks.wait(2000));
        QCOMPARE(ticks.count(), 1);
        QVERIFY(!t.isActive());
    }

    void zoneChangeMovesEveryMoment()
    {
        const QByteArray tz = qgetenv("TZ");
        auto restore = qScopeGuard([&] {
            tz.isNull() ? qunsetenv("TZ") : qputenv("TZ", tz);
            tzset();
        });
        qputenv("TZ", "Asia/Tokyo");
        tzset();
        add(u"2 10:00"_s);
        m_clock->set(
            QDateTime(QDate(2024, 5, 1), QTime(0, 30), QTimeZone::utc())); // 09:30 in Tokyo
        m_scheduler->loadAll();
        QCOMPARE(m_timer->intervalMs(), 1800 * 1000);
        qputenv("TZ", "Australia/Brisbane"); // 10:30 there: already due
        tzset();
        m_scheduler->zoneChanged();
        QCOMPARE(took(), u"show 1, blink"_s);
    }

private:
    // A tag from a description as in the scripts; its index.
    int add(const QString &shape);
    // What the scheduler asked of the display since the last look.
    QString took() { return m_display->take().join(u", "_s); }

    std::unique_ptr<TempStore> m_data;
    std::unique_ptr<ManualClock> m_clock;
    std::unique_ptr<ScriptedPrompt> m_prompt;
    std::unique_ptr<RecordingDisplay> m_display;
    std::unique_ptr<SchedulerTimer> m_timer;
    std::unique_ptr<Scheduler> m_scheduler;
};

int TestScheduler::add(const QString &shape)
{
    const QStringList parts = shape.split(u' ');
    TagRecord t;
    t.setByte(Tag::ScheduleKind, parts[0].toInt());
    const QString when = parts[1].contains(u'_') ? parts[1]
                         : parts[0] == u"1"      ? u"2024/05/01_"_s + parts[1]
                                                 : u"1900/01/01_"_s + parts[1];
    const QDateTime wall = QDateTime::fromString(
        when, when.size() == 16 ? u"yyyy/MM/dd_hh:mm"_s : u"yyyy/MM/dd_hh:mm:ss"_s);
    t.setDate(Tag::DisplayDateTime, QDateTime(wall.date(), wall.time(), QTimeZone::utc()));
    for (const QString &p : parts.mid(2)) {
        if (p[0] == u'e')
            t.setText(Tag::EraseTime, p.mid(1));
        else
            t.setByte(p[0] == u'o'   ? Tag::OpenFileFlag
                      : p[0] == u'm' ? Tag::MailFlag
                                     : Tag::SoundFlag,
                      1);
        if (p[0] == u'o' || p[0] == u's')
            t.setText(Tag::FilePath, p.mid(1));
    }
    return *m_data->store.addTag(t);
}

QTEST_GUILESS_MAIN(TestScheduler)
#include "tst_scheduler.moc"
