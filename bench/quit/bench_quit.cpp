// Quitting: time from choosing "終了" to the end of the process, with 50 tags on show.
// The program runs itself as a child set up like main.cpp; the parent notes when the
// child chose the entry and when the child is gone.
#include "clock.h"
#include "mainmenu.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "tagmain.h"
#include "tagstore.h"

#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <algorithm>
#include <cstdio>

namespace {
int child(int argc, char *argv[], const QString &dataDir)
{
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    ScriptedPrompt prompt;
    SystemClock clock;
    TagMain tagMain(dataDir, prompt, clock);
    QObject::connect(&tagMain, &TagMain::quitRequested, &app, &QCoreApplication::quit);
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &tagMain, &TagMain::shutdown);
    if (!tagMain.start())
        return 1;
    QTimer::singleShot(1000, &app, [&] {
        std::printf("quit\n");
        std::fflush(stdout);
        tagMain.mainMenu()->action(QStringLiteral("mnuExit"))->trigger();
    });
    return app.exec();
}
} // namespace

int main(int argc, char *argv[])
{
    if (argc == 3 && qstrcmp(argv[1], "--child") == 0)
        return child(1, argv, QString::fromLocal8Bit(argv[2]));

    QCoreApplication app(argc, argv);
    constexpr int Runs = 5;
    QTemporaryDir dir;
    {
        TagStore store(dir.filePath(QStringLiteral("Pinboard.dt1")));
        if (!store.writeEnv(EnvRecord()))
            return 1;
        for (int i = 0; i < 50; ++i) {
            TagRecord tag;
            tag.setMessage(QStringLiteral("会議の資料を準備する %1").arg(i));
            tag.setLong(Tag::PosX, 20 + i * 10);
            tag.setLong(Tag::PosY, 20 + i * 8);
            if (!store.addTag(tag))
                return 1;
        }
    }
    QList<double> ms;
    for (int run = 0; run < Runs; ++run) {
        QProcess p;
        p.setProcessChannelMode(QProcess::ForwardedErrorChannel);
        p.start(QCoreApplication::applicationFilePath(), {QStringLiteral("--child"), dir.path()});
        if (!p.waitForReadyRead(30000) || !p.readLine().startsWith("quit")) {
            std::fprintf(stderr, "the child did not come up\n");
            return 1;
        }
        QElapsedTimer t;
        t.start();
        p.waitForFinished(30000);
        ms << t.nsecsElapsed() / 1e6;
    }
    std::sort(ms.begin(), ms.end());
    std::printf("quit with 50 tags on show: median %.0f ms from \"終了\" to the end of the process "
                "(min %.0f, max %.0f, %d runs)\n",
                ms[Runs / 2], ms.first(), ms.last(), Runs);
    return 0;
}
