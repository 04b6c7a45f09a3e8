// Start-up with 1,000 stored tags of which 50 are due: time until the last tag
// window is up and the event loop runs, and the resident memory after it.
#include "clock.h"
#include "desktopdisplay.h"
#include "prompt.h"
#include "tagmain.h"
#include "tagstore.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QTimer>
#include <QTimeZone>
#include <algorithm>
#include <cstdio>

namespace {
long residentKiB()
{
    QFile status(QStringLiteral("/proc/self/status"));
    if (!status.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray &line : status.readAll().split('\n'))
        if (line.startsWith("VmRSS:"))
            return line.mid(6).trimmed().split(' ').first().toLong();
    return -1;
}
} // namespace

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    constexpr int Tags = 1000;
    constexpr int Due = 50;
    constexpr int Runs = 5;

    QTemporaryDir dir;
    TagStore store(dir.filePath(QStringLiteral("Pinboard.dt1")));
    if (!store.writeEnv(EnvRecord()))
        return 1;
    for (int i = 0; i < Tags; ++i) {
        TagRecord tag;
        tag.setMessage(QStringLiteral("会議の資料を準備する %1").arg(i));
        // Every twentieth tag is due now; the rest wait for a date next month.
        tag.setByte(Tag::ScheduleKind, i % (Tags / Due) == 0 ? 0 : 1);
        tag.setDate(Tag::DisplayDateTime,
                    QDateTime(QDate::currentDate().addDays(30), QTime(9, 0), QTimeZone::utc()));
        tag.setText(Tag::FontName, QStringLiteral("Noto Sans CJK JP"));
        tag.setByte(Tag::FontSize, 10);
        tag.setLong(Tag::PosX, 20 + i % 40 * 10);
        tag.setLong(Tag::PosY, 20 + i % 30 * 10);
        if (!store.addTag(tag))
            return 1;
    }

    QList<double> ms;
    long rss = 0;
    int shown = 0;
    for (int run = 0; run < Runs; ++run) {
        ScriptedPrompt prompt;
        SystemClock clock;
        QElapsedTimer t;
        t.start();
        TagMain main(dir.path(), prompt, clock);
        if (!main.start()) {
            std::fprintf(stderr, "start-up failed: %s\n", qPrintable(prompt.shown.join(u' ')));
            return 1;
        }
        double elapsed = 0;
        QTimer::singleShot(0, &app, [&] {
            elapsed = t.nsecsElapsed() / 1e6;
            shown = int(main.display()->shownTags().size());
            app.quit();
        });
        app.exec();
        ms << elapsed;
        rss = residentKiB();
    }
    std::sort(ms.begin(), ms.end());
    std::printf("start-up, %d stored tags, %d shown: median %.1f ms to the event loop with every window up "
                "(min %.1f, max %.1f, %d runs); resident memory %ld KiB\n",
                Tags, shown, ms[Runs / 2], ms.first(), ms.last(), Runs, rss);
    return 0;
}
