// The scheduler's work over 10,000 stored tags of every kind: one evaluation of
// every tag (what start-up, a clock change, a wake-up or a zone change do), and
// the timer's tick that looks only at the tags whose moment has come, side by side.
#include "clock.h"
#include "manualclock.h"
#include "prompt.h"
#include "schedule.h"
#include "scheduler.h"
#include "scriptedprompt.h"
#include "tagstore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QSet>
#include <QTemporaryDir>
#include <QTimeZone>
#include <algorithm>
#include <cstdio>
#include <vector>

namespace {
// The desktop does nothing here: only the scheduler's own work is timed.
class NoDisplay final : public TagDisplay
{
public:
    void showTag(int k, const TagRecord &) override { shown.insert(k); }
    void takeDown(int k) override { shown.remove(k); }
    bool isShown(int k) const override { return shown.contains(k); }
    void openFile(int, const QString &) override {}
    void playSound(const QString &) override {}
    void beep() override {}
    void startBlink() override {}
    void sendMail(int, const TagRecord &) override {}
    QSet<int> shown;
};

double median(std::vector<double> v)
{
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

TagRecord recordOf(const TagSchedule &s)
{
    TagRecord tag;
    tag.setByte(Tag::ScheduleKind, s.kind);
    tag.setDate(Tag::DisplayDateTime, s.display);
    tag.setDate(Tag::EraseDateTime, s.erase);
    tag.setText(Tag::EraseTime, s.eraseTime);
    tag.setByte(Tag::MonthlyDay, s.monthlyDay);
    for (int i = 0; i < 7; ++i)
        tag.setByte(Tag::WeekdayFlags, s.weekdays[i], i);
    for (int i = 0; i < 6; ++i)
        tag.setByte(Tag::WeekOfMonthFlags, s.weeks[i], i);
    tag.setByte(Tag::MailFlag, s.mail);
    tag.setByte(Tag::OpenFileFlag, s.openFile);
    return tag;
}

// The tags laid down in one go, as pinboard-cli load does.
bool layDown(const QString &dt1, const std::vector<TagSchedule> &schedules)
{
    EnvRecord env;
    env.setTagCount(int(schedules.size()));
    QFile file(dt1);
    if (!file.open(QIODevice::WriteOnly) || file.write(env.bytes()) != env.bytes().size())
        return false;
    for (size_t i = 0; i < schedules.size(); ++i) {
        TagRecord tag = recordOf(schedules[i]);
        tag.setText(Tag::TagNumber, QStringLiteral("%1").arg(i + 1, 5, 10, QLatin1Char('0')));
        const QByteArray bytes = tag.serialize();
        if (!file.seek(qint64(i + 1) * TagRecord::SlotSize) || file.write(bytes) != bytes.size())
            return false;
    }
    return true;
}

std::vector<TagSchedule> mixedTags(int n)
{
    std::vector<TagSchedule> tags(n);
    for (int i = 0; i < n; ++i) {
        TagSchedule &t = tags[i];
        t.kind = i % 5;
        t.display = QDateTime(QDate(2024, 5, 1).addDays(i % 400 - 30), QTime(i % 24, i % 60),
                              QTimeZone::utc());
        t.erase = QDateTime(QDate(1900, 1, 1), QTime(0, 0), QTimeZone::utc());
        if (i % 3 == 0)
            t.eraseTime = QStringLiteral("%1:30").arg(i % 24, 2, 10, QLatin1Char('0'));
        t.monthlyDay = i % 33;
        t.weekdays[i % 7] = true;
        t.weeks[1 + i % 5] = true;
        t.mail = i % 11 == 0;
        t.openFile = i % 13 == 0;
    }
    return tags;
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    constexpr int Tags = 10000;
    constexpr int Passes = 9;
    const std::vector<TagSchedule> tags = mixedTags(Tags);

    // 1. Every tag evaluated at one moment, the calendar of "now" taken once.
    const QDateTime now(QDate(2024, 5, 1), QTime(9, 59, 59), Qt::LocalTime);
    std::vector<double> perTag;
    int due = 0;
    ZoneDays zone;
    for (int pass = 0; pass < Passes; ++pass) {
        due = 0;
        QElapsedTimer t;
        t.start();
        const LocalCalendar cal(now, zone);
        for (const TagSchedule &tag : tags)
            if (EvaluateSchedule(tag, cal).result == ScheduleResult::Due)
                ++due;
        perTag.push_back(t.nsecsElapsed() / 1000.0 / Tags);
    }
    std::printf(
        "EvaluateSchedule, %d mixed tags at one moment: best %.3f us/tag, median %.3f us/tag "
        "(%d due, %d passes)\n",
        Tags, *std::min_element(perTag.begin(), perTag.end()), median(perTag), due, Passes);

    // 2. The scheduler over the same tags in a store, plus 100 daily tags that
    // all come due at 10:30.
    std::vector<TagSchedule> stored = tags;
    for (TagSchedule &t :
         stored) // a mailed dated tag is marked with a synced write: the disk's cost
        t.mail = t.mail && t.kind != TagSchedule::OnDate;
    for (int i = 0; i < 100; ++i) {
        TagSchedule t;
        t.kind = TagSchedule::Daily;
        t.display = QDateTime(QDate(1900, 1, 1), QTime(10, 30, 30), QTimeZone::utc());
        t.erase = t.display;
        stored.push_back(t);
    }
    QTemporaryDir dir;
    const QString dt1 = dir.filePath(QStringLiteral("Pinboard.dt1"));
    if (!layDown(dt1, stored)) {
        std::fprintf(stderr, "cannot write %s\n", qPrintable(dt1));
        return 1;
    }
    TagStore store(dt1);
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(10, 0, 1), Qt::LocalTime));
    ScriptedPrompt prompt;
    NoDisplay display;
    SchedulerTimer timer;
    Scheduler scheduler(store, clock, prompt, display, timer);
    const EnvRecord settings = *store.readEnv();
    scheduler.useSettings(settings);
    std::vector<double> loads;
    for (int i = 0; i < 3; ++i) {
        QElapsedTimer load;
        load.start();
        scheduler.loadAll();
        loads.push_back(load.nsecsElapsed() / 1e6);
    }
    const double loadMs = median(loads);

    // A tick with nothing due: the timer woke for the hour's look.
    std::vector<double> idleUs;
    for (int i = 0; i < 101; ++i) {
        QElapsedTimer t;
        t.start();
        scheduler.SchedulerTick();
        idleUs.push_back(t.nsecsElapsed() / 1000.0);
    }
    // Every tag evaluated afresh, as after a clock change or a wake-up.
    std::vector<double> fullMs;
    for (int i = 0; i < 5; ++i) {
        QElapsedTimer t;
        t.start();
        scheduler.reevaluateAll();
        fullMs.push_back(t.nsecsElapsed() / 1e6);
    }
    // The 100 tags coming due at once, 10:30:30 (each shown, so each reads its
    // record); the mixed tags up to 10:30 have had their tick just before.
    clock.set(QDateTime(QDate(2024, 5, 1), QTime(10, 30, 28), Qt::LocalTime));
    scheduler.SchedulerTick();
    const int before = int(display.shown.size());
    clock.set(QDateTime(QDate(2024, 5, 1), QTime(10, 30, 30), Qt::LocalTime));
    QElapsedTimer t;
    t.start();
    scheduler.SchedulerTick();
    const double hundredMs = t.nsecsElapsed() / 1e6;
    const int shown = int(display.shown.size()) - before;

    const double full = median(fullMs) * 1000;
    const double idle = median(idleUs);
    std::printf("Scheduler over %zu stored tags: start-up pass (read and evaluate all) median %.1f "
                "ms of 3\n",
                stored.size(), loadMs);
    std::printf("  tick, nothing due:       median %8.2f us (best %.2f, %zu ticks)\n", idle,
                *std::min_element(idleUs.begin(), idleUs.end()), idleUs.size());
    std::printf("  tick, %d tags due:      %8.2f us\n", shown, hundredMs * 1000);
    std::printf("  full evaluation:         median %8.2f us (%.3f us per tag)\n", full,
                full / stored.size());
    std::printf("  full evaluation / idle tick: %.0f : 1\n", full / idle);
    return 0;
}
