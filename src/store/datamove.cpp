#include "datamove.h"

#include "durable.h"
#include "fileset.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>

namespace DataMove {

QStringList fileNames()
{
    const FileSet names = FileSet::forDirectory(QString());
    QStringList out;
    for (const QString &path :
         {names.dt1, names.dt2, names.dt3, names.dt4, names.log, names.oldDt1, names.backup})
        out << QFileInfo(path).fileName();
    return out;
}

bool isNeeded(const QString &from, const QString &to)
{
    const QString dt1 = fileNames().first();
    return QDir(from).absolutePath() != QDir(to).absolutePath() &&
           QFileInfo::exists(QDir(from).filePath(dt1)) &&
           !QFileInfo::exists(QDir(to).filePath(dt1));
}

Result move(const QString &from, const QString &to)
{
    Result r;
    if (!QDir().mkpath(to)) {
        r.error = QStringLiteral("%1: cannot be made").arg(to);
        return r;
    }
    const QDir source(from);
    const QDir target(to);
    QStringList present;
    for (const QString &name : fileNames())
        if (QFileInfo::exists(source.filePath(name)))
            present << name;
    for (const QString &name : present) {
        if (QFileInfo::exists(target.filePath(name))) {
            r.error = QStringLiteral("%1: already there").arg(target.filePath(name));
        } else if (Durable::copyFile(source.filePath(name), target.filePath(name), &r.error)) {
            r.moved << name;
            continue;
        }
        // Undo: the copies go, the originals were never touched.
        for (const QString &copied : std::as_const(r.moved))
            QFile::remove(target.filePath(copied));
        Durable::syncDirectory(to);
        r.moved.clear();
        return r;
    }
    r.ok = true;
    QStringList stuck;
    for (const QString &name : present)
        if (!QFile::remove(source.filePath(name)))
            stuck << source.filePath(name);
    Durable::syncDirectory(from);
    if (!stuck.isEmpty())
        r.error =
            QStringLiteral("moved, but not removed: %1").arg(stuck.join(QStringLiteral(", ")));
    return r;
}

} // namespace DataMove
