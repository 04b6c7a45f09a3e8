#include "singleinstance.h"

#include <QDir>

SingleInstance::SingleInstance(const QString &dataDir)
    : m_path(QDir(dataDir).filePath(QString::fromLatin1(LockName)))
{
}

SingleInstance::~SingleInstance()
{
    release();
}

bool SingleInstance::tryAcquire()
{
    if (isHeld())
        return true;
    m_lock = std::make_unique<QLockFile>(m_path);
    // Stale only when its owner is gone, never by age: Pinboard runs for weeks.
    m_lock->setStaleLockTime(0);
    if (m_lock->tryLock(0))
        return true;
    m_lock.reset();
    return false;
}

void SingleInstance::release()
{
    if (m_lock)
        m_lock->unlock();
    m_lock.reset();
}
