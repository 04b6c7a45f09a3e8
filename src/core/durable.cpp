#include "durable.h"

#include <QFile>
#include <QFileInfo>
#include <QSaveFile>

namespace Durable {

QString directoryOf(const QString &path)
{
    return QFileInfo(path).absolutePath();
}

bool commit(QSaveFile &file)
{
    // QSaveFile::commit() renames even when its final flush failed part-way (a
    // full disk): flush first and give up on any error.
    if (!file.flush() || file.error() != QFileDevice::NoError) {
        file.cancelWriting();
        return false;
    }
    return file.commit() && syncDirectory(directoryOf(file.fileName()));
}

bool writeFile(const QString &path, const QByteArray &bytes, QString *error)
{
    QSaveFile file(path);
    if (file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size() && commit(file))
        return true;
    if (error)
        *error = QStringLiteral("%1: %2").arg(path, file.errorString());
    file.cancelWriting();
    return false;
}

bool copyFile(const QString &from, const QString &to, QString *error)
{
    QFile in(from);
    QSaveFile out(to);
    if (!in.open(QIODevice::ReadOnly) || !out.open(QIODevice::WriteOnly)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(
                in.isOpen() ? to : from, in.isOpen() ? out.errorString() : in.errorString());
        return false;
    }
    while (!in.atEnd()) {
        const QByteArray chunk = in.read(1 << 20);
        if (chunk.isEmpty() || out.write(chunk) != chunk.size()) {
            if (error)
                *error = QStringLiteral("%1: %2").arg(to, out.errorString());
            out.cancelWriting();
            return false;
        }
    }
    if (!commit(out)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(to, out.errorString());
        return false;
    }
    return true;
}

} // namespace Durable
