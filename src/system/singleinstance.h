#pragma once

#include <QString>

// One running Pinboard per data directory. The lock is a file in that directory
// on which the owner holds an exclusive lock of the operating system, which ends
// with the process however it ends (exit, crash, kill, power cut). So whatever
// a lock file holds, and whoever wrote it, it keeps another start out only
// while its owner really runs; the file's text (process id and host) is only
// there for a person to read.
class SingleInstance
{
public:
    static constexpr const char *LockName = "Pinboard.lck";

    explicit SingleInstance(const QString &dataDir);
    ~SingleInstance();
    SingleInstance(const SingleInstance &) = delete;
    SingleInstance &operator=(const SingleInstance &) = delete;

    enum class Result
    {
        Acquired,
        HeldByAnother,
        NotWritable
    };
    // HeldByAnother while another running process holds the directory;
    // NotWritable when no lock file can be made there at all.
    Result acquire();
    bool tryAcquire() { return acquire() == Result::Acquired; }
    bool isHeld() const { return m_handle != -1; }
    void release();

    QString lockPath() const { return m_path; }

private:
    // Something no running copy can own (a directory of the lock's name) is moved
    // out of the way; false when that cannot be done.
    bool clearNonFile();

    QString m_path;
    qintptr m_handle = -1;
};
