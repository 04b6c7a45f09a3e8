#include "clock.h"
#include "messageboxprompt.h"
#include "quitsignal.h"
#include "tagmain.h"

#include <QApplication>

int main(int argc, char *argv[])
{
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Pinboard"));
    QApplication::setQuitOnLastWindowClosed(false);

    MessageBoxPrompt prompt;
    SystemClock clock;
    TagMain tagMain(QCoreApplication::applicationDirPath(), prompt, clock);
    QObject::connect(&tagMain, &TagMain::quitRequested, &app, &QCoreApplication::quit);
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &tagMain, &TagMain::shutdown);
    quitOnTermSignal(app);
    if (!tagMain.start())
        return 1;
    return app.exec();
}
