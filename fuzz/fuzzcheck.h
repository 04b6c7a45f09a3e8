#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QMessageLogContext>
#include <QString>
#include <QTemporaryDir>

#include <cstdio>
#include <cstdlib>

// A broken invariant is a crash, so the fuzzer keeps the input that broke it.
#define FUZZ_CHECK(cond)                                                                           \
    do {                                                                                           \
        if (!(cond)) {                                                                             \
            std::fprintf(stderr, "%s:%d: check failed: %s\n", __FILE__, __LINE__, #cond);          \
            std::abort();                                                                          \
        }                                                                                          \
    } while (false)

// Warnings about skipped lines would drown the fuzzer's own output.
inline const bool fuzzQuiet =
    (qInstallMessageHandler([](QtMsgType, const QMessageLogContext &, const QString &) {}), true);

// One scratch folder per run, on tmpfs when there is one: the file parsers read paths.
inline QString fuzzPath(const char *name)
{
    static QTemporaryDir dir(QDir(QStringLiteral("/dev/shm")).exists()
                                 ? QStringLiteral("/dev/shm/pinboard-fuzz-XXXXXX")
                                 : QDir::tempPath() + QStringLiteral("/pinboard-fuzz-XXXXXX"));
    return dir.filePath(QString::fromLatin1(name));
}

inline void fuzzWrite(const QString &path, const QByteArray &bytes)
{
    QFile file(path);
    FUZZ_CHECK(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    FUZZ_CHECK(file.write(bytes) == bytes.size());
}

inline QByteArray fuzzRead(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}
