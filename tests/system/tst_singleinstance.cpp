#include "runlocation.h"
#include "singleinstance.h"
#include "testfiles.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSingleInstance : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void oneHolderPerDirectory();
    void staleLocksAreTakenOver_data();
    void staleLocksAreTakenOver();
    void runLocation();
};

void TestSingleInstance::oneHolderPerDirectory()
{
    QTemporaryDir dir, other, tmp;
    SingleInstance first(dir.path()), second(dir.path()), elsewhere(other.path());
    QVERIFY(first.tryAcquire());
    QVERIFY(QFile::exists(first.lockPath()));
    QVERIFY(!second.tryAcquire());
    QVERIFY(elsewhere.tryAcquire());
    first.release();
    QVERIFY(!QFile::exists(first.lockPath()));
    QVERIFY(second.tryAcquire());
    SingleInstance nowhere(tmp.filePath(u"missing"_s));
    QCOMPARE(nowhere.acquire(), SingleInstance::Result::NotWritable);
}

void TestSingleInstance::staleLocksAreTakenOver_data()
{
    QTest::addColumn<QByteArray>("content"); // what the lock file holds
    QTest::addColumn<int>("kind");           // 0 a file, 1 an empty directory, 2 a full one
    QProcess gone;
    gone.start(u"true"_s, {});
    gone.waitForFinished();
    const QByteArray here = "\npinboard\n" + QSysInfo::machineHostName().toUtf8() + "\n";
    QTest::newRow("crashed owner") << QByteArray::number(gone.processId()) + here << 0;
    QTest::newRow("a live process of this host")
        << QByteArray::number(QCoreApplication::applicationPid()) + here << 0;
    QTest::newRow("another host") << QByteArray("4242\npinboard\nsomewhere-else\n") << 0;
    QTest::newRow("empty (power cut)") << QByteArray() << 0;
    QTest::newRow("directory with a file") << QByteArray() << 2;
}

void TestSingleInstance::staleLocksAreTakenOver()
{
    QFETCH(QByteArray, content);
    QFETCH(int, kind);
    QTemporaryDir dir;
    const QString path = dir.filePath(QString::fromLatin1(SingleInstance::LockName));
    QVERIFY(kind == 0 ? writeFile(path, content) : QDir().mkdir(path));
    QVERIFY(kind != 2 || writeFile(path + u"/keep"_s, "x"));
    SingleInstance next(dir.path());
    QCOMPARE(next.acquire(), SingleInstance::Result::Acquired);
    QVERIFY(QFileInfo(path).isFile());
    if (kind == 2) // what was in the directory is kept aside
        QCOMPARE(QDir(dir.path()).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(), 1);
}

void TestSingleInstance::runLocation()
{
    QTemporaryDir tmp;
    QCOMPARE(checkRunLocation(tmp.path()), RunLocation::Ok);
    QCOMPARE(checkRunLocation(tmp.filePath(u"missing/deeper"_s)), RunLocation::NotWritable);
}

QTEST_GUILESS_MAIN(TestSingleInstance)
#include "tst_singleinstance.moc"
