// Start-up measured from outside: the time from starting a process until it has
// started up and its event loop has nothing left to do, for Pinboard over 10,000
// and 1,000 stored tags (none due) and for a bare Qt program with a tray icon.
// Each run is a child process of this one; median of several runs.
// bench_startup --lay DIR N lays down N such tags in DIR, to profile one start
// with bench_startup --pinboard DIR.
#include "clock.h"
#include "desktopdisplay.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "tagmain.h"
#include "tagstore.h"

#include <QAbstractEventDispatcher>
#include <QApplication>
#include <QFile>
#include <QProcess>
#include <QSystemTrayIcon>
#include <QTemporaryDir>
#include <QTimeZone>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <ctime>

namespace {
qint64 monotonicNs()
{
    timespec t{};
    clock_gettime(CLOCK_MONOTONIC, &t);
    return qint64(t.tv_sec) * 1000000000 + t.tv_nsec;
}

// Quits once the event loop has run dry: nothing was posted or came in for 0 ms.
// First prints how long after the parent started this process that was, from
// the parent's stamp in PB_BENCH_T0 (both read CLOCK_MONOTONIC).
void quitWhenIdle(QApplication &app)
{
    QTimer::singleShot(0, &app, [&app] {
        auto *dispatcher = QAbstractEventDispatcher::instance();
        QObject::connect(dispatcher, &QAbstractEventDispatcher::aboutToBlock, &app, [&app] {
            const qint64 t0 = qEnvironmentVariable("PB_BENCH_T0").toLongLong();
            std::printf("%lld\n", (long long)(monotonicNs() - t0));
            std::fflush(stdout);
            app.quit();
        });
    });
}

int childPinboard(int argc, char *argv[], const QString &dir)
{
    QApplication app(argc, argv);
    ScriptedPrompt prompt;
    SystemClock clock;
    TagMain main(dir, prompt, clock);
    if (!main.start())
        return 1;
    quitWhenIdle(app);
    app.exec();
    main.shutdown();
    return 0;
}

int childBare(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QPixmap pixmap(16, 16);
    pixmap.fill(Qt::yellow);
    QSystemTrayIcon tray{QIcon(pixmap)};
    tray.show();
    quitWhenIdle(app);
    return app.exec();
}

// Tags laid down in one go (as pinboard-cli load does).
bool layDown(const QString &dir, int tags)
{
    EnvRecord env;
    env.setTagCount(tags);
    QFile file(dir + QStringLiteral("/Pinboard.dt1"));
    if (!file.open(QIODevice::WriteOnly) || file.write(env.bytes()) != env.bytes().size())
        return false;
    for (int i = 1; i <= tags; ++i) {
        TagRecord tag;
        tag.setText(Tag::TagNumber, QStringLiteral("%1").arg(i, 5, 10, QLatin1Char('0')));
        tag.setMessage(QStringLiteral("会議の資料を準備する %1").arg(i));
        // On a date next month, weekly on no weekday, or monthly two weeks on: none due.
        static constexpr int Kinds[] = {1, 3, 4};
        tag.setByte(Tag::ScheduleKind, Kinds[i % 3]);
        tag.setDate(Tag::DisplayDateTime,
                    QDateTime(QDate::currentDate().addDays(30), QTime(9, 0), QTimeZone::utc()));
        tag.setByte(Tag::MonthlyDay, 1 + (QDate::currentDate().day() + 14) % 28);
        tag.setText(Tag::FontName, QStringLiteral("Noto Sans CJK JP"));
        const QByteArray bytes = tag.serialize();
        if (!file.seek(qint64(i) * TagRecord::SlotSize) || file.write(bytes) != bytes.size())
            return false;
    }
    return true;
}

struct Timing
{
    double idle = -1; // from the start of the process until its event loop first waits
    double exit = -1; // until it has ended, shut-down and the libraries' clean-up included
};

double median(std::vector<double> ms)
{
    std::sort(ms.begin(), ms.end());
    return ms[ms.size() / 2];
}

// Median times of runs of this program with the given arguments, in ms.
Timing medianRun(const QStringList &args, int runs)
{
    std::vector<double> idle, exit;
    for (int r = 0; r < runs; ++r) {
        QProcess child;
        child.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        QProcessEnvironment env = QProcessEnvironment::systemEnvironment();
        const qint64 t0 = monotonicNs();
        env.insert(QStringLiteral("PB_BENCH_T0"), QString::number(t0));
        child.setProcessEnvironment(env);
        child.start(QCoreApplication::applicationFilePath(), args);
        if (!child.waitForFinished(60000) || child.exitCode() != 0)
            return {};
        exit.push_back((monotonicNs() - t0) / 1e6);
        idle.push_back(child.readAllStandardOutput().trimmed().toLongLong() / 1e6);
    }
    return {median(idle), median(exit)};
}
} // namespace

int main(int argc, char *argv[])
{
    if (argc == 3 && qstrcmp(argv[1], "--pinboard") == 0)
        return childPinboard(1, argv, QString::fromLocal8Bit(argv[2]));
    if (argc == 4 && qstrcmp(argv[1], "--lay") == 0)
        return layDown(QString::fromLocal8Bit(argv[2]), atoi(argv[3])) ? 0 : 1;
    if (argc == 2 && qstrcmp(argv[1], "--bare") == 0)
        return childBare(1, argv);

    QCoreApplication app(argc, argv);
    constexpr int Runs = 7;
    QTemporaryDir small, large;
    if (!layDown(small.path(), 1000) || !layDown(large.path(), 10000)) {
        std::fprintf(stderr, "cannot lay down the tags\n");
        return 1;
    }
    const Timing bare = medianRun({QStringLiteral("--bare")}, Runs);
    const Timing thousand = medianRun({QStringLiteral("--pinboard"), small.path()}, Runs);
    const Timing tenThousand = medianRun({QStringLiteral("--pinboard"), large.path()}, Runs);
    std::printf("start-up from outside, median of %d runs:   until idle        until exit\n", Runs);
    const auto row = [&bare](const char *what, const Timing &t) {
        std::printf("  %-34s %7.1f ms %5.2fx  %7.1f ms %5.2fx\n", what, t.idle, t.idle / bare.idle,
                    t.exit, t.exit / bare.exit);
    };
    row("bare Qt program with a tray icon", bare);
    row("Pinboard,  1,000 tags, none due", thousand);
    row("Pinboard, 10,000 tags, none due", tenThousand);
    return 0;
}
