// Writes 10,000 tags through TagStore::addTag into a temporary directory, reads
// them all back with readTag and prints the times and the file size.
#include "fileset.h"
#include "tagstore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTemporaryDir>

#include <cstdio>

namespace {
constexpr int Tags = 10000;
constexpr int Step = 1000;

void report(const char *what, qint64 ns, int count)
{
    std::printf("%-28s %9.1f ms  %8.1f us/tag\n", what, ns / 1e6, ns / 1e3 / count);
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    if (!dir.isValid()) {
        std::fprintf(stderr, "bench_store: no temporary directory\n");
        return 1;
    }
    const FileSet files = FileSet::forDirectory(dir.path());
    const TagStore store(files.dt1);
    QString error;
    if (!prepareFileSet(files).ok || !store.writeEnv(EnvRecord(), &error)) {
        std::fprintf(stderr, "bench_store: %s\n", qPrintable(error));
        return 1;
    }

    TagRecord tag;
    tag.setMessage(QStringLiteral("会議の資料を印刷して配る。来週の予定も確認すること。"));
    QElapsedTimer timer;
    timer.start();
    qint64 stepStart = 0;
    qint64 firstStep = 0;
    for (int i = 1; i <= Tags; ++i) {
        if (!store.addTag(tag, &error)) {
            std::fprintf(stderr, "bench_store: tag %d: %s\n", i, qPrintable(error));
            return 1;
        }
        if (i % Step == 0) {
            const qint64 now = timer.nsecsElapsed();
            if (i == Step)
                firstStep = now;
            else if (i == Tags)
                // addTag scans the state marks of every record, so later tags cost more.
                std::printf("addTag, tags 1-%d vs %d-%d: %.1f vs %.1f us/tag\n", Step,
                            Tags - Step + 1, Tags, firstStep / 1e3 / Step,
                            (now - stepStart) / 1e3 / Step);
            stepStart = now;
        }
    }
    const qint64 writeNs = timer.nsecsElapsed();

    timer.restart();
    qsizetype messageBytes = 0;
    for (int k = 1; k <= Tags; ++k) {
        const auto read = store.readTag(k, &error);
        if (!read) {
            std::fprintf(stderr, "bench_store: %s\n", qPrintable(error));
            return 1;
        }
        messageBytes += read->messageBytes().size();
    }
    const qint64 readNs = timer.nsecsElapsed();
    if (messageBytes != qsizetype(Tags) * tag.messageBytes().size()) {
        std::fprintf(stderr, "bench_store: the tags read back differ from those written\n");
        return 1;
    }

    std::printf("%d tags\n", Tags);
    report("write (addTag)", writeNs, Tags);
    report("read (readTag)", readNs, Tags);
    std::printf("%-28s %lld bytes (%.1f MiB)\n", "Pinboard.dt1 size", store.file().size(),
                store.file().size() / 1048576.0);
    return 0;
}
