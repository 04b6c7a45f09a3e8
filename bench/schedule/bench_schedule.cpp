// Evaluates 10,000 tags of every kind at one moment, as each scheduler tick
// does, and prints the time per tag (best of several passes).
#include "prompt.h"
#include "schedule.h"

#include <QElapsedTimer>
#include <QTimeZone>
#include <algorithm>
#include <cstdio>
#include <vector>

int main()
{
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
    return 0;
}
