// The scheduler through weeks around the clock changes of TZ (Asia/Tokyo, Europe/Berlin):
// at every step, what it showed, rang, opened and mailed is what a plain evaluation says.
#include "manualclock.h"
#include "recordingdisplay.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "tempstore.h"

#include <QRandomGenerator>
#include <QTest>
#include <QTimeZone>
#include <algorithm>
#include <map>

namespace {

// Every tag evaluated on its own at every tick: the scheduler without its index.
class Reference
{
public:
    Reference(const TagStore &store, RecordingDisplay &d) : m_store(store), m_display(d) {}

    void loadAll(const QDateTime &now)
    {
        m_tags.clear();
        const int count = m_store.tagCount();
        for (int k = 1; k <= count; ++k) {
            const auto tag = m_store.readTag(k);
            Entry &t = m_tags[k];
            if (!tag || tag->stateMark() != QLatin1String(TagRecord::Live))
                continue;
            t.schedule = TagSchedule::fromRecord(*tag);
            if (t.schedule.kind == TagSchedule::OnDate && t.schedule.mail &&
                tag->byte(Tag::MailSent) == 1)
                continue;
            t.state = Scheduler::Waiting;
            if (!due(k, now))
                continue;
            t.schedule.openFile ? m_display.openFile(k, tag->text(Tag::FilePath))
            : t.schedule.mail   ? m_display.sendMail(k, *tag)
                                : m_display.showTag(k, *tag);
            t.state = Scheduler::Shown;
        }
    }

    void tick(const QDateTime &now)
    {
        for (auto &[k, t] : m_tags) {
            if (t.state != Scheduler::Shown && t.state != Scheduler::Waiting)
                continue;
            const ScheduleResult a = EvaluateSchedule(t.schedule, now).result;
            if (a == ScheduleResult::NotNow) {
                if (t.state == Scheduler::Shown && t.schedule.kind >= TagSchedule::Daily &&
                    !m_display.isShown(k))
                    t.state = Scheduler::Waiting;
            } else if (a == ScheduleResult::Expired && t.state == Scheduler::Shown) {
                m_display.takeDown(k);
                t.state = Scheduler::Waiting;
            } else if (a == ScheduleResult::Due && t.state == Scheduler::Waiting && !paused) {
                const TagRecord tag = *m_store.readTag(k);
                t.schedule.mail ? m_display.sendMail(k, tag) : showDue(k, tag);
                t.state = Scheduler::Shown;
            }
        }
    }

    void changed(int k, const QDateTime &now)
    {
        const auto tag = m_store.readTag(k);
        Entry &t = m_tags[k];
        if (!tag || tag->stateMark() != QLatin1String(TagRecord::Live))
            return drop(k);
        t.schedule = TagSchedule::fromRecord(*tag);
        if (due(k, now)) {
            if (m_display.isShown(k))
                m_display.showTag(k, *tag);
            else if (t.schedule.mail)
                t.state = Scheduler::Waiting;
            else
                showDue(k, *tag), t.state = Scheduler::Shown;
        } else {
            drop(k);
            t.state = Scheduler::Waiting;
        }
    }

    void drop(int k)
    {
        if (m_display.isShown(k))
            m_display.takeDown(k);
        m_tags[k].state = Scheduler::Idle;
    }

    int state(int k) const { return m_tags.count(k) ? m_tags.at(k).state : int(Scheduler::Idle); }

    bool paused = false;

private:
    struct Entry
    {
        int state = Scheduler::Idle;
        TagSchedule schedule;
    };
    bool due(int k, const QDateTime &now)
    {
        return EvaluateSchedule(m_tags[k].schedule, now).result == ScheduleResult::Due;
    }
    void showDue(int k, const TagRecord &tag)
    {
        if (m_tags[k].schedule.openFile)
            return m_display.openFile(k, tag.text(Tag::FilePath));
        m_display.showTag(k, tag);
        const Alarm alarm = alarmFor(tag, EnvRecord());
        alarm.kind == Alarm::Sound  ? m_display.playSound(alarm.path)
        : alarm.kind == Alarm::Beep ? m_display.beep()
                                    : void();
        m_display.startBlink();
    }

    const TagStore &m_store;
    RecordingDisplay &m_display;
    std::map<int, Entry> m_tags;
};
} // namespace

class TestSchedulerRandom : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void weeksAroundTheClockChanges_data()
    {
        QTest::addColumn<QDate>("start"); // seeds 11 up
        QTest::newRow("spring") << QDate(2024, 3, 20);
        QTest::newRow("autumn") << QDate(2024, 10, 16);
        QTest::newRow("autumn 2025") << QDate(2025, 10, 15);
        QTest::newRow("spring 2025") << QDate(2025, 3, 19);
    }

    void weeksAroundTheClockChanges()
    {
        QFETCH(QDate, start);
        m_random.seed(++m_seed);
        constexpr int Tags = 50;

        TempStore data;
        TagStore &store = data.store;
        for (int i = 0; i < Tags; ++i) {
            TagRecord t = randomTag(start);
            QVERIFY(store.addTag(t));
        }
        ManualClock clock(QDateTime(start, QTime(8, 0), QTimeZone::utc()));
        ScriptedPrompt prompt;
        RecordingDisplay real, expected;
        SchedulerTimer timer;
        Scheduler scheduler(store, clock, prompt, real, timer);
        Reference reference(store, expected);

        auto agree = [&](const char *what) {
            std::sort(real.log.begin(), real.log.end());
            std::sort(expected.log.begin(), expected.log.end());
            bool same = real.log == expected.log && real.shown == expected.shown;
            for (int k = 1; k <= Tags; ++k, ++m_checks)
                if (scheduler.state(k) != reference.state(k)) {
                    qWarning() << "tag" << k << "state" << scheduler.state(k) << reference.state(k);
                    same = false;
                }
            if (!same)
                qWarning().noquote() << what << clock.now().toString(Qt::ISODate) << "\n real"
                                     << real.log << "\n expected" << expected.log;
            real.log.clear();
            expected.log.clear();
            return same;
        };
        reference.loadAll(clock.now());
        scheduler.loadAll();
        QVERIFY(agree("start"));
        const qint64 end =
            QDateTime(start.addDays(35), QTime(0, 0), QTimeZone::utc()).toMSecsSinceEpoch();
        while (clock.now().toMSecsSinceEpoch() < end) {
            const qint64 wake = scheduler.wakeAt();
            QVERIFY(wake > clock.now().toMSecsSinceEpoch());
            const int roll = pick(100);
            if (roll >= 12) { // the timer fires
                clock.set(QDateTime::fromMSecsSinceEpoch(wake, QTimeZone::utc()));
                scheduler.SchedulerTick();
                reference.tick(clock.now());
                QVERIFY(agree("tick"));
                continue;
            }
            // Something happens before the timer fires.
            const qint64 before = clock.now().toSecsSinceEpoch();
            clock.set(QDateTime::fromSecsSinceEpoch(
                before + m_random.bounded(qMax<qint64>(1, wake / 1000 - before)),
                QTimeZone::utc()));
            const int k = 1 + pick(Tags);
            const QDateTime now = clock.now();
            switch (roll) {
            case 0:
            case 1: { // edited
                TagRecord t = randomTag(now.date());
                t.setText(Tag::TagNumber, store.readTag(k)->tagNumber());
                QVERIFY(store.writeTag(k, t));
                scheduler.tagChanged(k);
                reference.changed(k, now);
                break;
            }
            case 2: { // into the trash and back
                TagRecord t = *store.readTag(k);
                const bool live = t.stateMark() == QLatin1String(TagRecord::Live);
                t.setStateMark(live ? TagRecord::InTrash : TagRecord::Live);
                QVERIFY(store.writeTag(k, t));
                if (live)
                    scheduler.dropTag(k), reference.drop(k);
                else
                    scheduler.tagChanged(k), reference.changed(k, now);
                break;
            }
            case 3:
            case 4: // the user closes it
                if (real.isShown(k))
                    scheduler.hideTag(k), expected.takeDown(k);
                break;
            case 5: // pause and resume
                reference.paused = !reference.paused;
                scheduler.setPaused(reference.paused);
                break;
            case 6:
            case 7: // the clock is set, or the machine slept
                clock.set(now.addSecs(pick(4) == 0 ? -pick(7200) : pick(3 * 86400)));
                scheduler.reevaluateAll();
                reference.tick(clock.now());
                break;
            default: // a restart: windows gone, every tag read again
                real.shown.clear();
                expected.shown.clear();
                reference.loadAll(now); // before the scheduler marks dated mail as sent
                scheduler.loadAll();
                scheduler.setPaused(reference.paused = false);
            }
            QVERIFY(agree("event"));
        }
        qInfo("%lld checks so far (%s)", m_checks,
              qPrintable(QString::fromLocal8Bit(qgetenv("TZ"))));
    }

private:
    TagRecord randomTag(const QDate &around);
    int pick(int n) { return int(m_random.bounded(n)); }

    QRandomGenerator m_random;
    quint32 m_seed = 10;
    qint64 m_checks = 0;
};

TagRecord TestSchedulerRandom::randomTag(const QDate &around)
{
    TagRecord t;
    const int kind = pick(5);
    t.setByte(Tag::ScheduleKind, kind);
    // Early-morning times often, for the hours that are skipped or repeated; few
    // minutes and seconds, so that moments meet and fall a second apart.
    const QTime time(pick(3) == 0 ? 2 : pick(24), pick(4) * 15, pick(4));
    const QDate date = around.addDays(pick(30) - 10);
    const QDate day = kind == TagSchedule::OnDate ? date : QDate(1900, 1, 1);
    t.setDate(Tag::DisplayDateTime, QDateTime(day, time, QTimeZone::utc()));
    const bool action = pick(4) == 0;
    if (action)
        t.setByte(pick(2) ? Tag::MailFlag : Tag::OpenFileFlag, 1);
    t.setText(Tag::FilePath, QStringLiteral("/f/%1.wav").arg(pick(100)));
    t.setByte(Tag::SoundFlag, pick(2));
    if (!action && pick(2)) {
        const QTime erase = time.addSecs(60 * (1 + pick(300)));
        const bool brief = pick(2) && erase.hour() < 10;
        t.setText(Tag::EraseTime, erase.toString(brief ? u"h:mm" : u"hh:mm"));
        if (kind == TagSchedule::OnDate)
            t.setDate(Tag::EraseDateTime,
                      QDateTime(date.addDays(pick(3)), erase, QTimeZone::utc()));
    }
    t.setByte(Tag::MonthlyDay, 1 + pick(32));
    for (int i = 0; i < 7; ++i)
        t.setByte(Tag::WeekdayFlags, pick(3) == 0, i);
    for (int i = 1; i < 6; ++i)
        t.setByte(Tag::WeekOfMonthFlags, pick(2), i);
    return t;
}

QTEST_GUILESS_MAIN(TestSchedulerRandom)
#include "tst_schedulerrandom.moc"
