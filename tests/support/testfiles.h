#pragma once

#include <QFile>
#include <QString>

#include <csignal>
#include <sys/resource.h>

inline QByteArray fileBytes(const QString &path)
{
    QFile f(path);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

inline bool writeFile(const QString &path, const QByteArray &bytes)
{
    QFile f(path);
    return f.open(QIODevice::WriteOnly) && f.write(bytes) == bytes.size();
}

// Writes past `bytes` fail with EFBIG while this lives, as on a full disk.
struct FileSizeLimit
{
    rlimit saved{};
    explicit FileSizeLimit(rlim_t bytes)
    {
        signal(SIGXFSZ, SIG_IGN);
        getrlimit(RLIMIT_FSIZE, &saved);
        rlimit small = saved;
        small.rlim_cur = bytes;
        setrlimit(RLIMIT_FSIZE, &small);
    }
    ~FileSizeLimit() { setrlimit(RLIMIT_FSIZE, &saved); }
    FileSizeLimit(const FileSizeLimit &) = delete;
    FileSizeLimit &operator=(const FileSizeLimit &) = delete;
};
