#include "fileset.h"
#include "tagstore.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <map>

namespace {
// The child: adds tags and frees some of them for ever, telling its parent what
// it is about to do and what it has done, until it is killed.
int writer(const QString &dt1, quint32 seed)
{
    TagStore store(dt1);
    QRandomGenerator random(seed);
    for (int seq = 0;; ++seq) {
        const auto env = store.readEnv();
        if (!env)
            return 3;
        const int count = env->tagCount();
        if (count > 0 && random.bounded(3) == 0) {
            const int k = 1 + int(random.bounded(count));
            auto tag = store.readTag(k);
            if (tag && !tag->isFree()) {
                std::printf("freeing %d\n", k);
                std::fflush(stdout);
                tag->setStateMark(TagRecord::Deleted);
                if (!store.writeTag(k, *tag))
                    return 4;
            }
            continue;
        }
        TagRecord tag;
        tag.setMessage(QStringLiteral("付箋 %1 %2").arg(seed).arg(seq));
        const auto k = store.addTag(tag);
        if (!k)
            return 5;
        std::printf("added %d %d\n", *k, seq);
        std::fflush(stdout);
    }
}
} // namespace

class TestCrash : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void killedWriterLosesNothingWritten();
};

// A writer is killed at random moments again and again on one file. After every
// kill the file must open, every tag whose write had completed must be there
// as written, and no two live tags may share a number.
void TestCrash::killedWriterLosesNothingWritten()
{
    QTemporaryDir dir;
    const QString dt1 = dir.filePath(QStringLiteral("Pinboard.dt1"));
    QVERIFY(createDataFile(dt1, EnvRecord().bytes()));
    std::map<int, QString> expected; // record k -> the message it must hold
    QRandomGenerator random(20261124);
    constexpr int Kills = 60;
    int confirmed = 0;
    for (int kill = 0; kill < Kills; ++kill) {
        const quint32 seed = quint32(kill);
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(),
                    {QStringLiteral("--writer"), dt1, QString::number(seed)});
        QVERIFY(child.waitForStarted());
        QTest::qSleep(30 + int(random.bounded(120)));
        ::kill(pid_t(child.processId()), SIGKILL);
        QVERIFY(child.waitForFinished());
        QVERIFY2(
            child.exitStatus() == QProcess::CrashExit,
            qPrintable(QStringLiteral("the writer stopped by itself: %1").arg(child.exitCode())));
        const QList<QByteArray> lines = child.readAllStandardOutput().split('\n');
        for (const QByteArray &line : lines) {
            const QList<QByteArray> w = line.split(' ');
            if (w.value(0) == "freeing")
                expected.erase(w.value(1).toInt());
            else if (w.value(0) == "added" && w.size() == 3) {
                expected[w[1].toInt()] =
                    QStringLiteral("付箋 %1 %2").arg(seed).arg(QString::fromLatin1(w[2]));
                ++confirmed;
            }
        }

        QCOMPARE(inspectDataFile(dt1).kind, DataFileCheck::Current);
        TagStore store(dt1);
        QString why;
        const auto env = store.readEnv(&why);
        QVERIFY2(env, qPrintable(why));
        QSet<QString> numbers;
        for (int k = 1; k <= env->tagCount(); ++k) {
            const auto tag = store.readTag(k, &why);
            QVERIFY2(tag, qPrintable(why));
            if (tag->isFree())
                continue;
            QVERIFY2(!numbers.contains(tag->tagNumber()),
                     qPrintable(QStringLiteral("tag number %1 twice after kill %2")
                                    .arg(tag->tagNumber())
                                    .arg(kill)));
            numbers.insert(tag->tagNumber());
        }
        for (const auto &[k, message] : expected) {
            QVERIFY(k <= env->tagCount());
            const auto tag = store.readTag(k);
            QVERIFY(tag);
            QCOMPARE(tag->message(), message);
        }
    }
    qInfo("%d kills, %d completed adds checked", Kills, confirmed);
    QVERIFY(confirmed > Kills);
}

int main(int argc, char **argv)
{
    if (argc == 4 && qstrcmp(argv[1], "--writer") == 0) {
        QCoreApplication app(argc, argv);
        return writer(QString::fromLocal8Bit(argv[2]), quint32(QByteArray(argv[3]).toUInt()));
    }
    QCoreApplication app(argc, argv);
    TestCrash test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_crash.moc"
