#include "singleinstance.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>

SingleInstance::SingleInstance(const QString &dataDir)
    : m_path(QDir(dataDir).filePath(QString::fromLatin1(LockName)))
{
}

SingleInstance::~SingleInstance()
{
    release();
}

bool SingleInstance::clearNonFile()
{
    const QFileInfo info(m_path);
    if (!info.exists() || info.isFile())
        return true;
    if (QDir().rmdir(m_path))
        return true;
    // Not empty: keep what is in it, under another name.
    const QString aside = m_path + QStringLiteral(".%1").arg(QDateTime::currentDateTime().toString(
                                       QStringLiteral("yyyyMMddhhmmss")));
    return QDir().rename(m_path, aside);
}
