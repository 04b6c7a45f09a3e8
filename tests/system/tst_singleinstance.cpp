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
    void runLocation_data();
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
    lock.write(QByteArray::number(deadPid ? deadPid : 999999) + "\npinboard\n" + QSysInfo::machineHostName().toUtf8() + "\n");
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

void TestSingleInstance::runLocation_data()
{
    QTest::addColumn<QString>("dir");
    QTest::addColumn<bool>("network");
    QTest::newRow("UNC") << QStringLiteral("\\\\server\\share\\pin") << true;
    QTest::newRow("mapped drive") << QStringLiteral("Z:\\pin") << false;
    QTest::newRow("posix") << QStringLiteral("/home/u/pin") << false;
}

void TestSingleInstance::runLocation()
{
    QFETCH(QString, dir);
    QFETCH(bool, network);
    QCOMPARE(isNetworkPath(dir), network);
    QTemporaryDir tmp;
    QCOMPARE(checkRunLocation(tmp.path()), RunLocation::Ok);
    QCOMPARE(checkRunLocation(tmp.filePath(QStringLiteral("missing/deeper"))), RunLocation::NotWritable);
    QCOMPARE(runLocationMessage(RunLocation::NotWritable),
             QStringLiteral("予期せぬエラーが発生しました。ディスクが書込み禁止になっている可能性があります。"));
    QCOMPARE(runLocationMessage(RunLocation::NetworkPath),
             QStringLiteral("ネットワークから直接実行できません。ドライブをマッピングしてから実行して下さい。"));
}

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
