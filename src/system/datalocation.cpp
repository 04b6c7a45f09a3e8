#include "datalocation.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>

std::optional<QString> takeDataOption(QStringList &args, QString *error)
{
    const QString name = QStringLiteral("--data");
    for (qsizetype i = 0; i < args.size(); ++i) {
        QString dir;
        if (args[i] == name) {
            if (i + 1 < args.size())
                dir = args[i + 1];
            args.remove(i, qMin<qsizetype>(2, args.size() - i));
        } else if (args[i].startsWith(name + u'=')) {
            dir = args[i].mid(name.size() + 1);
            args.remove(i);
        } else {
            continue;
        }
        if (dir.isEmpty() && error)
            *error = QStringLiteral("--data needs a folder");
        return dir;
    }
    return std::nullopt;
}

DataLocation resolveDataLocation(const std::optional<QString> &option, const QString &variable,
                                 const QString &exeDir, const QString &userDir)
{
    if (option && !option->isEmpty())
        return {QDir(*option).absolutePath(), DataLocation::Option};
    if (!variable.isEmpty())
        return {QDir(variable).absolutePath(), DataLocation::Environment};
    if (QFileInfo(QDir(exeDir).filePath(QLatin1String(PortableMarker))).isFile())
        return {exeDir, DataLocation::Portable};
    return {userDir, DataLocation::User};
}

QString userDataDir()
{
    // Named here rather than taken from the application's name, so the
    // program and pinboard-cli agree.
    return QDir(QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation))
        .filePath(QStringLiteral("Pinboard"));
}

DataLocation resolveDataLocation(const std::optional<QString> &option)
{
    return resolveDataLocation(option, qEnvironmentVariable(DataVariable),
                               QCoreApplication::applicationDirPath(), userDataDir());
}
