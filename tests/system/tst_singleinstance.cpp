#include "runlocation.h"
#include "singleinstance.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

class TestSingleInstance : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void oneHolderPerDirectory();
    void lockOfADeadProcessIsTakenOver();
    void otherDirectoriesAreIndependent();
    void runLocation();
};

void TestSingleInstance::oneHolderPerDirectory()
{
    QTemporaryDir dir;
    SingleInstance first(dir.path());
    SingleInstance second(dir.path());
    QVERIFY(first.tryAcquire());
    QVERIFY(QFile::exists(first.lockPath()));
    QVERIFY(!second.tryAcquire());
    QVERIFY(first.isHeld());
    first.release();
    QVERIFY(!QFile::exists(first.lockPath()));
    QVERIFY(second.tryAcquire());

    QTemporaryDir tmp;
    SingleInstance nowhere(tmp.filePath(QStringLiteral("missing")));
    QCOMPARE(nowhere.acquire(), SingleInstance::Result::NotWritable);
}

void TestSingleInstance::lockOfADeadProcessIsTakenOver()
{
    QTemporaryDir dir;
    QProcess gone;
    gone.start(QStringLiteral("true"), {});
    QVERIFY(gone.waitForFinished());
    const qint64 deadPid = gone.processId() ? gone.processId() : 999999;
    // What a crashed Pinboard leaves behind.
    QFile lock(dir.filePath(QString::fromLatin1(SingleInstance::LockName)));
    QVERIFY(lock.open(QIODevice::WriteOnly));
    lock.write(QByteArray::number(deadPid) + "\npinboard\n" + QSysInfo::machineHostName().toUtf8() + "\n");
    lock.close();

    SingleInstance next(dir.path());
    QVERIFY(next.tryAcquire());
}

void TestSingleInstance::otherDirectoriesAreIndependent()
{
    QTemporaryDir a, b;
    SingleInstance one(a.path()), two(b.path());
    QVERIFY(one.tryAcquire());
    QVERIFY(two.tryAcquire());
}

void TestSingleInstance::runLocation()
{
    QVERIFY(isNetworkPath(QStringLiteral("\\\\server\\share\\pin")));
    QVERIFY(!isNetworkPath(QStringLiteral("Z:\\pin")));
    QTemporaryDir tmp;
    QCOMPARE(checkRunLocation(tmp.path()), RunLocation::Ok);
    QCOMPARE(checkRunLocation(tmp.filePath(QStringLiteral("missing/deeper"))), RunLocation::NotWritable);
}

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
