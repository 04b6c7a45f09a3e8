#include "climain.h"

#include <QCoreApplication>
#include <QFile>

#include <cstdio>

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QFile out;
    QFile err;
    out.open(stdout, QIODevice::WriteOnly);
    err.open(stderr, QIODevice::WriteOnly);
    const int status = Cli::run(QCoreApplication::arguments().mid(1),
                                QCoreApplication::applicationDirPath(), out, err);
    out.flush();
    err.flush();
    return status;
}
