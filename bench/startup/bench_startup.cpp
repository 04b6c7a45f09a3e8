// Start-up to a running event loop, with 1,000 tags stored: the median of
// several starts, each in a fresh TagMain over the same data directory.
#include "clock.h"
#include "prompt.h"
#include "tagmain.h"
#include "tagstore.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    constexpr int Tags = 1000;
    constexpr int Runs = 7;

    QTemporaryDir dir;
    TagStore store(dir.filePath(QStringLiteral("Pinboard.dt1")));
    store.writeEnv(EnvRecord());
    for (int i = 0; i < Tags; ++i) {
        TagRecord tag;
        tag.setMessage(QStringLiteral("会議の資料を準備する %1").arg(i));
        store.addTag(tag);
    }

    QList<double> ms;
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
            app.quit();
        });
        app.exec();
        ms << elapsed;
    }
    std::sort(ms.begin(), ms.end());
    std::printf("start-up to event loop, %d stored tags: median %.2f ms (min %.2f, max %.2f, %d runs)\n",
                Tags, ms[Runs / 2], ms.first(), ms.last(), Runs);
    return 0;
}
