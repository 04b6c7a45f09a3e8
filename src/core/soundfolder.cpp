#include "soundfolder.h"

#include <QDir>
#include <QStandardPaths>

QString soundFolder()
{
    for (const QString &folder : QStandardPaths::standardLocations(QStandardPaths::MusicLocation)) {
        if (QDir(folder).exists())
            return folder;
    }
    return QStringLiteral("/usr/share/sounds");
}
