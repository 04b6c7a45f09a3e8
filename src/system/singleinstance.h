#pragma once

#include <QLockFile>
#include <QString>
#include <memory>

// One running Pinboard per data directory. The lock is a file in that directory
// holding the owner's process id: released on exit, and taken over when the
// process that left it behind is gone (a crash).
class SingleInstance
{
public:
    static constexpr const char *LockName = "Pinboard.lck";

    explicit SingleInstance(const QString &dataDir);
    ~SingleInstance();

    enum class Result { Acquired, HeldByAnother, NotWritable };
    // HeldByAnother while another live process holds the directory; NotWritable
    // when no lock file can be made there at all.
    Result acquire();
    bool tryAcquire() { return acquire() == Result::Acquired; }
    bool isHeld() const { return m_lock && m_lock->isLocked(); }
    void release();

    QString lockPath() const { return m_path; }

private:
    QString m_path;
    std::unique_ptr<QLockFile> m_lock;
};
