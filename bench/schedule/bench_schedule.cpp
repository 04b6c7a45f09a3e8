// Evaluates 10,000 tags of every kind at one moment, as each scheduler tick
// does, and prints the time per tag (best of several passes).
#include "clock.h"
#include "prompt.h"
#include "schedule.h"
#include "scheduler.h"
#include "tagstore.h"
#include "manualclock.h"
#include "scriptedprompt.h"

#include <QCoreApplication>
#include <QTemporaryDir>

#include <QElapsedTimer>
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

// One SchedulerTick over a store of n tags (every kind), after start-up loaded them.
void tickBenchmark(const std::vector<TagSchedule> &schedules)
{
    QTemporaryDir dir;
    TagStore store(dir.filePath(QStringLiteral("Pinboard.dt1")));
    store.writeEnv(EnvRecord());
    for (const TagSchedule &s : schedules) {
        TagRecord tag;
        tag.setByte(Tag::ScheduleKind, s.kind);
        tag.setDate(Tag::DisplayDateTime, s.display);
        tag.setText(Tag::EraseTime, s.eraseTime);
        tag.setByte(Tag::MonthlyDay, s.monthlyDay);
        for (int i = 0; i < 7; ++i)
            tag.setByte(Tag::WeekdayFlags, s.weekdays[i], i);
        for (int i = 0; i < 6; ++i)
            tag.setByte(Tag::WeekOfMonthFlags, s.weeks[i], i);
        store.addTag(tag);
    }
    ManualClock clock(QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59), Qt::LocalTime));
    ScriptedPrompt prompt;
    NoDisplay display;
    SchedulerTimer timer;
    Scheduler scheduler(store, clock, prompt, display, timer);
    scheduler.loadAll();
    std::vector<double> ms;
    for (int pass = 0; pass < 5; ++pass) {
        clock.advance(3600);
        QElapsedTimer t;
        t.start();
        scheduler.SchedulerTick();
        ms.push_back(t.nsecsElapsed() / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    std::printf("SchedulerTick over %zu stored tags: median %.1f ms (best %.1f, 5 ticks an hour apart)\n",
                schedules.size(), ms[2], ms.front());
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    constexpr int Tags = 10000;
    constexpr int Passes = 9;
    std::vector<TagSchedule> tags(Tags);
    for (int i = 0; i < Tags; ++i) {
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
    const QDateTime now(QDate(2024, 5, 1), QTime(9, 59, 59), Qt::LocalTime);
    ScriptedPrompt prompt;
    std::vector<double> perTag;
    int due = 0;
    for (int pass = 0; pass < Passes; ++pass) {
        due = 0;
        QElapsedTimer t;
        t.start();
        for (const TagSchedule &tag : tags)
            if (const auto a = EvaluateSchedule(tag, now, prompt); a && a->result == ScheduleResult::Due)
                ++due;
        perTag.push_back(t.nsecsElapsed() / 1000.0 / Tags);
    }
    std::sort(perTag.begin(), perTag.end());
    std::printf("EvaluateSchedule, %d mixed tags at one moment: best %.2f us/tag, median %.2f us/tag "
                "(%d due, %d passes)\n",
                Tags, perTag.front(), perTag[Passes / 2], due, Passes);
    tickBenchmark(tags);
    return 0;
}
