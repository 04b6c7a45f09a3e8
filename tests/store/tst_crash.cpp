#include "fileset.h"
#include "tagstore.h"

#include <QCoreApplication>
#include <QProcess>
#include <QRandomGenerator>
#include <QSet>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>
#include <cstdio>
#include <map>

using namespace Qt::StringLiterals;

namespace {
QString message(quint32 seed, const QByteArray &seq)
{
    return u"付箋 %1 %2"_s.arg(seed).arg(QString::fromLatin1(seq));
}

// The child adds tags and frees some, saying what it is about to free and what it
// has added, until it is killed.
int writer(const QString &dt1, quint32 seed)
{
    TagStore store(dt1);
    QRandomGenerator random(seed);
    for (int seq = 0;; ++seq) {
        const auto env = store.readEnv();
        if (!env)
            return 3;
        const int k = 1 + int(random.bounded(qMax(env->tagCount(), 1)));
        auto tag = store.readTag(k);
        if (env->tagCount() > 0 && random.bounded(3) == 0 && tag && !tag->isFree()) {
            std::printf("freeing %d\n", k);
            std::fflush(stdout);
            tag->setStateMark(TagRecord::Deleted);
            if (!store.writeTag(k, *tag))
                return 4;
            continue;
        }
        TagRecord added;
        added.setMessage(message(seed, QByteArray::number(seq)));
        const auto at = store.addTag(added);
        if (!at)
            return 5;
        std::printf("added %d %d\n", *at, seq);
        std::fflush(stdout);
    }
}
} // namespace

class TestCrash : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    // After each kill of the writer the file opens, every completed write is there
    // and no two live tags share a number.
    void killedWriterLosesNothingWritten()
    {
        QTemporaryDir dir;
        const QString dt1 = dir.filePath(u"Pinboard.dt1"_s);
        QVERIFY(createDataFile(dt1, EnvRecord().bytes()));
        std::map<int, QString> expected; // record k -> the message it must hold
        QRandomGenerator random(20261124);
        int confirmed = 0;
        for (quint32 seed = 0; seed < 60; ++seed) {
            QProcess child;
            child.start(QCoreApplication::applicationFilePath(),
                        {u"--writer"_s, dt1, QString::number(seed)});
            QVERIFY(child.waitForStarted());
            QTest::qSleep(30 + int(random.bounded(120)));
            ::kill(pid_t(child.processId()), SIGKILL);
            QVERIFY(child.waitForFinished());
            QVERIFY2(child.exitStatus() == QProcess::CrashExit, "the writer stopped by itself");
            for (const QByteArray &line : child.readAllStandardOutput().split('\n')) {
                const QList<QByteArray> w = line.split(' ');
                if (w.value(0) == "freeing")
                    expected.erase(w.value(1).toInt());
                else if (w.value(0) == "added" && w.size() == 3 && ++confirmed)
                    expected[w[1].toInt()] = message(seed, w[2]);
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
                QVERIFY2(tag->isFree() || !numbers.contains(tag->tagNumber()),
                         qPrintable(tag->tagNumber() + u" twice"_s));
                if (!tag->isFree())
                    numbers.insert(tag->tagNumber());
            }
            for (const auto &[k, text] : expected)
                QCOMPARE(store.readTag(k).value_or(TagRecord()).message(), text);
        }
        QVERIFY(confirmed > 60);
    }
};

int main(int argc, char **argv)
{
    QCoreApplication app(argc, argv);
    if (argc == 4 && qstrcmp(argv[1], "--writer") == 0)
        return writer(QString::fromLocal8Bit(argv[2]), quint32(QByteArray(argv[3]).toUInt()));
    TestCrash test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_crash.moc"
