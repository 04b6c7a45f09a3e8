#include "recentfiles.h"

#include "cp932.h"
#include "durable.h"

#include <QFile>

RecentFiles RecentFiles::load(const QString &path)
{
    RecentFiles files;
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return files;
    const QList<QByteArray> lines = file.readAll().split('\n');
    for (QByteArray line : lines) {
        if (line.endsWith('\r'))
            line.chop(1);
        if (line.size() < 3 || line[1] != '\t')
            continue;
        const QString entry = Cp932::decode(QByteArrayView(line).sliced(2));
        if (line[0] == Sound && files.m_sound.size() < MaxPerKind)
            files.m_sound << entry;
        else if (line[0] == OpenFile && files.m_open.size() < MaxPerKind)
            files.m_open << entry;
    }
    return files;
}

bool RecentFiles::save(const QString &path, QString *error) const
{
    QByteArray out;
    for (const QString &p : m_sound)
        out += "S\t" + Cp932::encode(p) + "\r\n";
    for (const QString &p : m_open)
        out += "O\t" + Cp932::encode(p) + "\r\n";
    return Durable::writeFile(path, out, error);
}

QStringList RecentFiles::list(Kind kind) const
{
    return kind == Sound ? m_sound : m_open;
}

void RecentFiles::add(Kind kind, const QString &path)
{
    QStringList &l = kind == Sound ? m_sound : m_open;
    l.removeAll(path);
    l.prepend(path);
    while (l.size() > MaxPerKind)
        l.removeLast();
}
