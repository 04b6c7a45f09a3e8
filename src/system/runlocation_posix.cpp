#include "runlocation.h"

#include <QDir>
#include <QTemporaryFile>

// No drive letters here: what matters is that the data files can be written.
RunLocation checkRunLocation(const QString &dir)
{
    QTemporaryFile probe(QDir(dir).filePath(QStringLiteral(".pinboard-probe-XXXXXX")));
    return probe.open() ? RunLocation::Ok : RunLocation::NotWritable;
}
