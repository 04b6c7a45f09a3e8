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

SingleInstance::Result SingleInstance::acquire()
{
    if (isHeld())
        return Result::Acquired;
    m_lock = std::make_unique<QLockFile>(m_path);
    // Stale only when its owner is gone, never by age: Pinboard runs for weeks.
    m_lock->setStaleLockTime(0);
    if (m_lock->tryLock(0))
        return Result::Acquired;
    const bool held = m_lock->error() == QLockFile::LockFailedError;
    m_lock.reset();
    return held ? Result::HeldByAnother : Result::NotWritable;
}

void SingleInstance::release()
{
    if (m_lock)
        m_lock->unlock();
    m_lock.reset();
}
