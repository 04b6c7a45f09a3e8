// The tag store on this machine's disk: what one synced write of a tag costs
// (every write reaches the disk before it reports success), what reading
// 10,000 tags back costs, and that adding stays flat as the file grows.
#include "fileset.h"
#include "tagstore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>

#include <algorithm>
#include <cstdio>
#include <numeric>
#include <vector>

namespace {
constexpr int Tags = 10000;
constexpr int Writes = 200;

void report(const char *what, qint64 ns, int count)
{
    std::printf("%-34s %9.1f ms  %8.1f us/tag\n", what, ns / 1e6, ns / 1e3 / count);
}

int fail(const QString &why)
{
    std::fprintf(stderr, "bench_store: %s\n", qPrintable(why));
    return 1;
}

double medianUs(std::vector<qint64> ns)
{
    std::sort(ns.begin(), ns.end());
    return ns[ns.size() / 2] / 1e3;
}
} // namespace

int main(int argc, char *argv[])
{
    QCoreApplication app(argc, argv);
    QTemporaryDir dir;
    if (!dir.isValid())
        return fail(QStringLiteral("no temporary directory"));
    const QString dt1 = FileSet::forDirectory(dir.path()).dt1;
    TagRecord tag;
    tag.setMessage(QStringLiteral("会議の資料を印刷して配る。来週の予定も確認すること。"));

    // 10,000 tags laid down in one go (as pinboard-cli load does), then read back.
    {
        EnvRecord env;
        env.setTagCount(Tags);
        QFile file(dt1);
        if (!file.open(QIODevice::WriteOnly) || file.write(env.bytes()) != env.bytes().size())
            return fail(file.errorString());
        for (int k = 1; k <= Tags; ++k) {
            tag.setText(Tag::TagNumber, QStringLiteral("%1").arg(k, 5, 10, QLatin1Char('0')));
            const QByteArray bytes = tag.serialize();
            if (!file.seek(qint64(k) * TagRecord::SlotSize) || file.write(bytes) != bytes.size())
                return fail(file.errorString());
        }
    }
    const TagStore store(dt1);
    QString error;
    QElapsedTimer timer;
    timer.start();
    qsizetype messageBytes = 0;
    for (int k = 1; k <= Tags; ++k) {
        const auto read = store.readTag(k, &error);
        if (!read)
            return fail(error);
        messageBytes += read->messageBytes().size();
    }
    const qint64 readNs = timer.nsecsElapsed();
    if (messageBytes != qsizetype(Tags) * tag.messageBytes().size())
        return fail(QStringLiteral("the tags read back differ from those written"));

    // Synced writes: a tag rewritten in place (editing, trash, restore), and new
    // tags added at the end of the 10,000 (two synced writes each).
    std::vector<qint64> rewrite, add;
    for (int i = 0; i < Writes; ++i) {
        timer.restart();
        if (!store.writeTag(1 + i * 37 % Tags, tag, &error))
            return fail(error);
        rewrite.push_back(timer.nsecsElapsed());
    }
    for (int i = 0; i < Writes; ++i) {
        timer.restart();
        if (!store.addTag(tag, &error))
            return fail(error);
        add.push_back(timer.nsecsElapsed());
    }

    std::printf("%d tags\n", Tags);
    report("read (readTag)", readNs, Tags);
    std::printf("%-34s %9.1f us (median of %d)\n", "synced writeTag, in place", medianUs(rewrite),
                Writes);
    std::printf("%-34s %9.1f us (median of %d)\n", "synced addTag, at the end", medianUs(add),
                Writes);
    std::printf("%-34s %9.1f us vs %.1f us\n", "addTag, first vs last 50",
                std::accumulate(add.begin(), add.begin() + 50, 0.0) / 50e3,
                std::accumulate(add.end() - 50, add.end(), 0.0) / 50e3);
    std::printf("%-34s %lld bytes (%.1f MiB)\n", "Pinboard.dt1 size", store.file().size(),
                store.file().size() / 1048576.0);
    return 0;
}
