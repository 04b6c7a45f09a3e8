#include "climain.h"
#include "datalocation.h"
#include "mailcommand.h"
#include "netcommand.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>
#include <memory>

namespace {
constexpr const char *Help = R"(NAME
    pinboard-cli - inspect and script Pinboard's data files

SYNOPSIS
    pinboard-cli [--data DIR] COMMAND [DIR] [ARGUMENTS]

COMMANDS
    dump [DIR]                 settings and tags as JSON on standard output
    load [DIR] FILE.json       write a dump back (refused while Pinboard runs on DIR)
    eval [DIR] [--at "yyyy/mm/dd hh:nn:ss"] [--tag N]
                               whether each tag is due then, and for how long
    mail-test [DIR]            connection test with the stored mail settings
    mail [DIR] --tag N         send tag N's mail now
    net-listen [DIR] [--seconds S] [--port P] [--bind ADDR]
                               print each datagram that arrives
    net-send [DIR] --to ADDR --type N|tag [--text T] [--port P] [--bind ADDR]
                               send one datagram

DATA FOLDER
    DIR, when given after the command; else --data DIR; else $PINBOARD_DATA;
    else the folder of this executable when a file named "portable" lies
    there; else ~/.local/share/Pinboard. The same order as pinboard's.

EXIT STATUS
    0 done, 1 failed, 2 partly read (dump and eval left out a damaged tag).

SEE ALSO
    pinboard --help
)";
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QFile out;
    QFile err;
    out.open(stdout, QIODevice::WriteOnly | QIODevice::Unbuffered);
    err.open(stderr, QIODevice::WriteOnly | QIODevice::Unbuffered);
    QStringList args = QCoreApplication::arguments().mid(1);
    if (args.value(0) == QLatin1String("--help") || args.value(0) == QLatin1String("-h")) {
        out.write(Help);
        return 0;
    }
    QString error;
    const std::optional<QString> dataOption = takeDataOption(args, &error);
    if (!error.isEmpty()) {
        err.write(error.toUtf8() + '\n');
        return 1;
    }
    const QString dataDir = resolveDataLocation(dataOption).dir;
    // The mail and LAN commands talk to a server or a port: they run on the event loop.
    std::unique_ptr<Cli::AsyncCommand> command;
    if (Cli::MailCommand::handles(args))
        command = std::make_unique<Cli::MailCommand>(out, err);
    else if (Cli::NetCommand::handles(args))
        command = std::make_unique<Cli::NetCommand>(out, err);
    if (command) {
        QObject::connect(command.get(), &Cli::AsyncCommand::finished, &app,
                         &QCoreApplication::exit);
        if (const auto status = command->start(args, dataDir))
            return *status;
        return app.exec();
    }
    const int status = Cli::run(args, dataDir, out, err);
    out.flush();
    err.flush();
    return status;
}
