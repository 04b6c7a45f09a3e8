#include "clock.h"
#include "datafolder.h"
#include "messageboxprompt.h"
#include "quitsignal.h"
#include "tagmain.h"

#include <QApplication>
#include <QLibraryInfo>
#include <QTimer>
#include <QTranslator>

#include <cstdio>
#include <cstring>

namespace {
constexpr const char *Help = R"(NAME
    pinboard - sticky notes on the desktop, shared on the office LAN

SYNOPSIS
    pinboard [--data DIR] [Qt options]
    pinboard --help

DESCRIPTION
    Starts Pinboard in the notification area (tray). A double-click on its
    icon opens the editor for a new tag; its right-button menu holds the
    settings, the tag list, the trash, the shortcuts and hotkeys, and 終了.
    One Pinboard runs per data folder.

OPTIONS
    --data DIR   keep the data in DIR (made when missing)
    --help       print this text and exit

FILES
    The data folder holds Pinboard.dt1 (settings and tags), Pinboard.dt2
    (recent files), Pinboard.dt3 (address book), Pinboard.dt4 (mail
    recipients per tag) and Pinboard.log (communication log). It is, in
    order: --data DIR; $PINBOARD_DATA; the folder of the executable when a
    file named "portable" lies there; else ~/.local/share/Pinboard.
    Data found beside the executable without "portable" is moved to
    ~/.local/share/Pinboard once, with a message.

ENVIRONMENT
    PINBOARD_DATA   the data folder, unless --data is given
    XDG_CONFIG_HOME, XDG_DATA_HOME
                    where the startup and menu shortcuts are made

SEE ALSO
    pinboard-cli --help
)";
} // namespace

int main(int argc, char *argv[])
{
    // Before QApplication, which needs a display.
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--help") == 0 || std::strcmp(argv[i], "-h") == 0) {
            std::fputs(Help, stdout);
            return 0;
        }
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Pinboard"));
    QApplication::setQuitOnLastWindowClosed(false);

    QStringList args = QCoreApplication::arguments().mid(1);
    QString error;
    const std::optional<QString> dataOption = takeDataOption(args, &error);
    if (!error.isEmpty() || !args.isEmpty()) {
        std::fprintf(stderr, "pinboard: %s\nTry 'pinboard --help'.\n",
                     qPrintable(error.isEmpty()
                                    ? QStringLiteral("unknown argument: ") + args.first()
                                    : error));
        return 2;
    }

    // Qt's own texts (Yes/No, the standard dialogs) in Japanese, as ours are.
    QTranslator qtTexts;
    if (qtTexts.load(QStringLiteral("qtbase_ja"),
                     QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        QCoreApplication::installTranslator(&qtTexts);

    MessageBoxPrompt prompt;
    SystemClock clock;
    const DataLocation where = resolveDataLocation(dataOption);
    const QString dataDir = settleDataFolder(where, QCoreApplication::applicationDirPath(), prompt);
    TagMain tagMain(dataDir, prompt, clock);
    // A shortcut starts the same data as this start did.
    if (where.source == DataLocation::Option || where.source == DataLocation::Environment)
        tagMain.setLaunchArguments({QStringLiteral("--data"), where.dir});
    QObject::connect(&tagMain, &TagMain::quitRequested, &app, &QCoreApplication::quit);
    QObject::connect(&app, &QCoreApplication::aboutToQuit, &tagMain, &TagMain::shutdown);
    quitOnTermSignal(app);
    if (!tagMain.start())
        return 1;
    QTimer::singleShot(0, &tagMain, &TagMain::firstRunSetUp);
    return app.exec();
}
