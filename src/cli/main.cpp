#include "climain.h"
#include "mailcommand.h"
#include "netcommand.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QFile out;
    QFile err;
    out.open(stdout, QIODevice::WriteOnly | QIODevice::Unbuffered);
    err.open(stderr, QIODevice::WriteOnly | QIODevice::Unbuffered);
    const QStringList args = QCoreApplication::arguments().mid(1);
    if (Cli::MailCommand::handles(args)) {
        // The mail commands talk to a server: they run on the event loop.
        Cli::MailCommand command(out, err);
        QObject::connect(&command, &Cli::MailCommand::finished, &app, &QCoreApplication::exit);
        if (const auto status = command.start(args, QCoreApplication::applicationDirPath()))
            return *status;
        return app.exec();
    }
    if (Cli::NetCommand::handles(args)) {
        Cli::NetCommand command(out, err);
        QObject::connect(&command, &Cli::NetCommand::finished, &app, &QCoreApplication::exit);
        if (const auto status = command.start(args, QCoreApplication::applicationDirPath()))
            return *status;
        return app.exec();
    }
    const int status = Cli::run(args, QCoreApplication::applicationDirPath(), out, err);
    out.flush();
    err.flush();
    return status;
}
