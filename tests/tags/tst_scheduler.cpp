#include "clock.h"
#include "manualclock.h"
#include "prompt.h"
#include "recordingdisplay.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "tagstore.h"

#include <QScopeGuard>
#include <QTemporaryDir>
#include <QTest>
#include <QTimeZone>

#include <ctime>

namespace {
QDateTime local(int y, int m, int d, int h, int n = 0, int s = 0)
{
    return QDateTime(QDate(y, m, d), QTime(h, n, s), Qt::LocalTime);
}

QDateTime wallTime(int h, int n = 0)
{
    return QDateTime(QDate(1900, 1, 1), QTime(h, n), QTimeZone::utc());
}

} // namespace

class TestScheduler : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void timerWaitsForTheNearestChange_data();
    void timerWaitsForTheNearestChange();
    void dailyTagComesExpiresAndReturns();
    void hiddenTagReturnsNextDay();
    void shownTagWakesAtMidnight();
    void startUpShowsWithoutAlarm();
    void filesAndMailOncePerOccurrence();
    void pauseHoldsNewTagsBack();
    void alarms_data();
    void alarms();
    void editedTagSoonerThanTheWaitIsWokenFor();
    void redisplaySkipsFilesAndMail();
    void recurringTagStillUpAtItsNextOccurrence();
    void nothingFiresBeforeItsSecond();
    void zoneChangeMovesEveryMoment();

private:
    int add(int kind, const QDateTime &display, const QString &eraseTime = {},
            const std::function<void(TagRecord &)> &tweak = {});
    void tickAt(const QDateTime &moment);

    std::unique_ptr<QTemporaryDir> m_dir;
    std::unique_ptr<TagStore> m_store;
    std::unique_ptr<ManualClock> m_clock;
    std::unique_ptr<ScriptedPrompt> m_prompt;
    std::unique_ptr<RecordingDisplay> m_display;
    std::unique_ptr<SchedulerTimer> m_timer;
    std::unique_ptr<Scheduler> m_scheduler;
};

void TestScheduler::init()
{
    m_dir = std::make_unique<QTemporaryDir>();
    m_store = std::make_unique<TagStore>(m_dir->filePath(QStringLiteral("Pinboard.dt1")));
    QVERIFY(m_store->writeEnv(EnvRecord()));
    m_clock = std::make_unique<ManualClock>(local(2024, 5, 1, 9, 0));
    m_prompt = std::make_unique<ScriptedPrompt>();
    m_display = std::make_unique<RecordingDisplay>();
    m_timer = std::make_unique<SchedulerTimer>();
    m_scheduler = std::make_unique<Scheduler>(*m_store, *m_clock, *m_prompt, *m_display, *m_timer);
}

int TestScheduler::add(int kind, const QDateTime &display, const QString &eraseTime,
                       const std::function<void(TagRecord &)> &tweak)
{
    TagRecord tag;
    tag.setByte(Tag::ScheduleKind, kind);
    tag.setDate(Tag::DisplayDateTime, display);
    tag.setText(Tag::EraseTime, eraseTime);
    if (tweak)
        tweak(tag);
    return *m_store->addTag(tag);
}

void TestScheduler::tickAt(const QDateTime &moment)
{
    m_clock->set(moment);
    m_scheduler->SchedulerTick();
}

void TestScheduler::timerWaitsForTheNearestChange_data()
{
    QTest::addColumn<int>("secondsAhead");
    QTest::addColumn<int>("ms");
    QTest::newRow("due in 3600 s") << 3600 << 3600000;
    QTest::newRow("due in 3601 s") << 3601 << 3600000;
    QTest::newRow("due in 90 s") << 90 << 90000;
    QTest::newRow("nothing within a year") << 400 * 86400 << 3600000;
}

void TestScheduler::timerWaitsForTheNearestChange()
{
    QFETCH(int, secondsAhead);
    QFETCH(int, ms);
    const QDateTime at = m_clock->now().addSecs(secondsAhead);
    add(1, QDateTime(at.date(), at.time(), QTimeZone::utc()));
    m_scheduler->loadAll();
    QCOMPARE(m_timer->intervalMs(), ms);
    QCOMPARE(m_scheduler->state(1), int(Scheduler::Waiting));
    QVERIFY(m_display->log.isEmpty());
}

void TestScheduler::dailyTagComesExpiresAndReturns()
{
    const int k = add(2, wallTime(10), QStringLiteral("11:00"), [](TagRecord &t) {
        t.setByte(Tag::SoundFlag, 1);
        t.setText(Tag::FilePath, QStringLiteral("/s/alarm.wav"));
    });
    m_scheduler->loadAll();
    QCOMPARE(m_timer->intervalMs(), 3600000); // 10:00 is exactly an hour away
    tickAt(local(2024, 5, 1, 10, 0));
    QCOMPARE(m_display->take(),
             (QStringList{QStringLiteral("show 1"), QStringLiteral("sound /s/alarm.wav"),
                          QStringLiteral("blink")}));
    QCOMPARE(m_scheduler->state(k), int(Scheduler::Shown));
    QCOMPARE(m_timer->intervalMs(), 3600000); // until the erase time
    tickAt(local(2024, 5, 1, 11, 0));
    QCOMPARE(m_display->take(), QStringList{QStringLiteral("down 1")});
    QCOMPARE(m_scheduler->state(k), int(Scheduler::Waiting));
    tickAt(local(2024, 5, 2, 10, 0, 1));
    QCOMPARE(m_display->take().first(), QStringLiteral("show 1"));
}

void TestScheduler::hiddenTagReturnsNextDay()
{
    const int k = add(2, wallTime(10));
    m_clock->set(local(2024, 5, 1, 10, 30));
    m_scheduler->loadAll();
    QCOMPARE(m_display->take(), QStringList{QStringLiteral("show 1")});
    m_scheduler->hideTag(k);
    tickAt(local(2024, 5, 1, 12, 0));
    QCOMPARE(m_display->take(), QStringList{QStringLiteral("down 1")}); // stays down today
    tickAt(local(2024, 5, 2, 0, 0));
    QCOMPARE(m_scheduler->state(k), int(Scheduler::Waiting));
    tickAt(local(2024, 5, 2, 10, 0));
    QCOMPARE(m_display->take(), (QStringList{QStringLiteral("show 1"), QStringLiteral("blink")}));
}

void TestScheduler::shownTagWakesAtMidnight()
{
    add(2, wallTime(8));
    m_clock->set(local(2024, 5, 1, 23, 30));
    m_scheduler->loadAll();
    QCOMPARE(m_timer->intervalMs(), 1800 * 1000);
}

void TestScheduler::startUpShowsWithoutAlarm()
{
    add(0, wallTime(0), {}, [](TagRecord &t) { t.setByte(Tag::SoundFlag, 1); });
    add(0, wallTime(0), {}, [](TagRecord &t) { t.setStateMark(TagRecord::InTrash); });
    const int freed = add(0, wallTime(0));
    add(7, wallTime(0));
    const int broken = add(0, wallTime(0));
    TagRecord gone = *m_store->readTag(freed);
    gone.setStateMark(TagRecord::Deleted);
    QVERIFY(m_store->writeTag(freed, gone));
    QByteArray bad = m_store->readTag(broken)->serialize();
    bad[TagRecord::FixedSize + 1] = char(0x90); // a length past the slot
    QVERIFY(m_store->file().write(broken + 1, bad));
    m_scheduler->loadAll();
    QCOMPARE(m_display->take(), QStringList{QStringLiteral("show 1")});
    QCOMPARE(m_scheduler->state(2), int(Scheduler::Idle));
    QCOMPARE(m_scheduler->state(3), int(Scheduler::Idle));
    QCOMPARE(m_scheduler->state(4), int(Scheduler::Idle));
    // The damaged kind and the unreadable record were each reported once.
    QCOMPARE(m_prompt->shown.size(), 2);
    QCOMPARE(
        m_prompt->shown.first(),
        QStringLiteral(
            "Pinboard.exeがあるﾃﾞｨﾚｸﾄﾘ のPinboard.dt1,Pinboard.dt2を削除して再実行して下さい。"));
    QCOMPARE(m_prompt->shown.last(), Scheduler::unreadableTagsText({QStringLiteral("00005")}));
}

void TestScheduler::filesAndMailOncePerOccurrence()
{
    add(2, wallTime(9, 30), {}, [](TagRecord &t) {
        t.setByte(Tag::OpenFileFlag, 1);
        t.setText(Tag::FilePath, QStringLiteral("/d/report.ods"));
    });
    add(2, wallTime(9, 30), {}, [](TagRecord &t) { t.setByte(Tag::MailFlag, 1); });
    const int dated = add(1, QDateTime(QDate(2024, 5, 1), QTime(9, 30), QTimeZone::utc()), {},
                          [](TagRecord &t) { t.setByte(Tag::MailFlag, 1); });
    m_scheduler->loadAll();
    tickAt(local(2024, 5, 1, 9, 30));
    QCOMPARE(m_display->take(), (QStringList{QStringLiteral("open 1 /d/report.ods"),
                                             QStringLiteral("mail 2"), QStringLiteral("mail 3")}));
    QCOMPARE(m_store->readTag(dated)->byte(Tag::MailSent), 1);
    tickAt(local(2024, 5, 1, 12, 0));
    QVERIFY(m_display->take().isEmpty());
    tickAt(local(2024, 5, 2, 9, 0));
    tickAt(local(2024, 5, 2, 9, 30));
    QCOMPARE(m_display->take(),
             (QStringList{QStringLiteral("open 1 /d/report.ods"), QStringLiteral("mail 2")}));
    // A restart does not mail the dated tag again.
    m_scheduler->loadAll();
    QVERIFY(!m_display->take().contains(QStringLiteral("mail 3")));
}

void TestScheduler::pauseHoldsNewTagsBack()
{
    add(2, wallTime(10));
    m_scheduler->loadAll();
    m_scheduler->setPaused(true);
    tickAt(local(2024, 5, 1, 10, 0));
    QVERIFY(m_display->take().isEmpty());
    m_scheduler->setPaused(false);
    QCOMPARE(m_timer->intervalMs(), 1000);
    m_scheduler->SchedulerTick();
    QCOMPARE(m_display->take(), (QStringList{QStringLiteral("show 1"), QStringLiteral("blink")}));
}

void TestScheduler::alarms_data()
{
    QTest::addColumn<bool>("received");
    QTest::addColumn<int>("soundFlag");
    QTest::addColumn<QString>("path");
    QTest::addColumn<int>("netSound");
    QTest::addColumn<QString>("arrival");
    QTest::addColumn<int>("kind");
    QTest::addColumn<QString>("expected");
    QTest::newRow("own sound") << false << 1 << "/a.mid" << 1 << "/arr.wav" << int(Alarm::Sound)
                               << "/a.mid";
    QTest::newRow("own, no file: beep") << false << 1 << "" << 1 << "" << int(Alarm::Beep) << "";
    QTest::newRow("own, silent") << false << 0 << "/a.mid" << 1 << "" << int(Alarm::None) << "";
    QTest::newRow("received: arrival sound")
        << true << 0 << "" << 1 << "/arr.wav" << int(Alarm::Sound) << "/arr.wav";
    QTest::newRow("received, none chosen: beep")
        << true << 0 << "" << 1 << "" << int(Alarm::Beep) << "";
    QTest::newRow("received, switched off")
        << true << 0 << "" << 0 << "/arr.wav" << int(Alarm::None) << "";
}

void TestScheduler::alarms()
{
    QFETCH(bool, received);
    QFETCH(int, soundFlag);
    QFETCH(QString, path);
    QFETCH(int, netSound);
    QFETCH(QString, arrival);
    QFETCH(int, kind);
    QFETCH(QString, expected);
    TagRecord tag;
    if (received)
        tag.setText(Tag::ReceivedMark, QStringLiteral("1"));
    tag.setByte(Tag::SoundFlag, soundFlag);
    tag.setText(Tag::FilePath, path);
    EnvRecord env;
    env.setByte(Env::NetSound, netSound);
    env.setText(Env::ArrivalSound, arrival);
    const Alarm a = alarmFor(tag, env);
    QCOMPARE(int(a.kind), kind);
    QCOMPARE(a.path, expected);
}

void TestScheduler::editedTagSoonerThanTheWaitIsWokenFor()
{
    add(2, wallTime(11));
    m_scheduler->loadAll();
    QCOMPARE(m_timer->intervalMs(), 3600000);
    const int k = add(2, wallTime(9, 10));
    m_scheduler->tagChanged(k);
    QCOMPARE(m_timer->intervalMs(), 600 * 1000);
    // A later tag leaves the nearer wait alone.
    m_scheduler->tagChanged(add(2, wallTime(9, 40)));
    QCOMPARE(m_timer->intervalMs(), 600 * 1000);
    tickAt(local(2024, 5, 1, 9, 10));
    QCOMPARE(m_display->take(), (QStringList{QStringLiteral("show 2"), QStringLiteral("blink")}));
    QCOMPARE(m_timer->intervalMs(), 1800 * 1000);
}

void TestScheduler::redisplaySkipsFilesAndMail()
{
    add(2, wallTime(8));
    add(2, wallTime(8), {}, [](TagRecord &t) {
        t.setByte(Tag::OpenFileFlag, 1);
        t.setText(Tag::FilePath, QStringLiteral("/d/a.ods"));
    });
    add(2, wallTime(8), {}, [](TagRecord &t) { t.setByte(Tag::MailFlag, 1); });
    add(2, wallTime(10)); // not due yet
    m_clock->set(local(2024, 5, 1, 8, 0, 30));
    m_scheduler->loadAll();
    QCOMPARE(m_display->take(),
             (QStringList{QStringLiteral("show 1"), QStringLiteral("open 2 /d/a.ods"),
                          QStringLiteral("mail 3")}));
    m_scheduler->hideTag(1);
    m_display->take();
    m_scheduler->redisplay();
    QCOMPARE(m_display->take(), QStringList{QStringLiteral("show 1")});
    QVERIFY(m_display->isShown(1));
}

void TestScheduler::recurringTagStillUpAtItsNextOccurrence()
{
    const int k = add(2, wallTime(10), {}, [](TagRecord &t) { t.setByte(Tag::SoundFlag, 1); });
    m_scheduler->loadAll();
    tickAt(local(2024, 5, 1, 10, 0));
    QCOMPARE(m_display->take(), (QStringList{QStringLiteral("show 1"), QStringLiteral("beep"),
                                             QStringLiteral("blink")}));
    tickAt(local(2024, 5, 2, 0, 0));
    tickAt(local(2024, 5, 2, 10, 0));
    // Nobody took it down: it stays as it is, without a second alarm.
    QVERIFY(m_display->take().isEmpty());
    QVERIFY(m_display->isShown(k));
    QCOMPARE(m_scheduler->state(k), int(Scheduler::Shown));
    // Taken down, it comes again with its alarm the day after.
    m_scheduler->hideTag(k);
    tickAt(local(2024, 5, 3, 0, 0));
    tickAt(local(2024, 5, 3, 10, 0));
    QCOMPARE(m_display->take(), (QStringList{QStringLiteral("down 1"), QStringLiteral("show 1"),
                                             QStringLiteral("beep"), QStringLiteral("blink")}));
}

void TestScheduler::nothingFiresBeforeItsSecond()
{
    add(2, wallTime(20, 42), {}, [](TagRecord &t) { t.setByte(Tag::MailFlag, 1); });
    m_clock->set(local(2024, 5, 1, 20, 0).addMSecs(700));
    m_scheduler->loadAll();
    const qint64 due = local(2024, 5, 1, 20, 42).toMSecsSinceEpoch();
    QCOMPARE(m_scheduler->wakeAt(), due);
    m_clock->set(QDateTime::fromMSecsSinceEpoch(due - 300)); // a timer a little early
    m_scheduler->SchedulerTick();
    QVERIFY(m_display->take().isEmpty());
    QCOMPARE(m_scheduler->wakeAt(), due);
    m_clock->set(QDateTime::fromMSecsSinceEpoch(due));
    m_scheduler->SchedulerTick();
    QCOMPARE(m_display->take(), QStringList{QStringLiteral("mail 1")});
}

void TestScheduler::zoneChangeMovesEveryMoment()
{
    const QByteArray tz = qgetenv("TZ");
    auto restore = qScopeGuard([&] {
        tz.isNull() ? qunsetenv("TZ") : qputenv("TZ", tz);
        tzset();
    });
    qputenv("TZ", "Asia/Tokyo");
    tzset();
    add(2, wallTime(10));
    m_clock->set(QDateTime(QDate(2024, 5, 1), QTime(0, 30), QTimeZone::utc())); // 09:30 in Tokyo
    m_scheduler->loadAll();
    QCOMPARE(m_timer->intervalMs(), 1800 * 1000);
    qputenv("TZ", "Australia/Brisbane"); // 10:30 there: already due
    tzset();
    m_scheduler->zoneChanged();
    QCOMPARE(m_display->take(), (QStringList{QStringLiteral("show 1"), QStringLiteral("blink")}));
}

QTEST_GUILESS_MAIN(TestScheduler)
#include "tst_scheduler.moc"
