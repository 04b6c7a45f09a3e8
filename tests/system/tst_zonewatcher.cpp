#include "testfiles.h"
#include "zonewatcher.h"

#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

class TestZoneWatcher : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void changesAreNoticedWithinASecond();
};

void TestZoneWatcher::changesAreNoticedWithinASecond()
{
    const QByteArray tz = qgetenv("TZ");
    QTemporaryDir dir;
    const QString localtime = dir.filePath(QStringLiteral("localtime"));
    const QString timezone = dir.filePath(QStringLiteral("timezone"));
    QVERIFY(writeFile(localtime, "TZif Asia/Tokyo") && writeFile(timezone, "Asia/Tokyo\n"));
    ZoneWatcher watcher({localtime, timezone});
    QVERIFY(watcher.isActive());
    QSignalSpy changed(&watcher, &ZoneWatcher::zoneChanged);
    // Something else in the same folder is not a change of zone.
    QVERIFY(writeFile(dir.filePath(QStringLiteral("other")), "x"));
    QTest::qWait(600);
    QCOMPARE(changed.count(), 0);
    // Replaced by a rename, as the desktop's zone setting does.
    const QString next = dir.filePath(QStringLiteral("localtime.new"));
    QVERIFY(writeFile(next, "TZif Europe/Berlin"));
    QVERIFY(QFile::remove(localtime) && QFile::rename(next, localtime));
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 1, 1000);
    // The watch survived the rename: a change in place is noticed too.
    QVERIFY(writeFile(localtime, "TZif Asia/Tokyo"));
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 2, 1000);
    QVERIFY(writeFile(timezone, "Europe/Berlin\n"));
    QTRY_COMPARE_WITH_TIMEOUT(changed.count(), 3, 1000);
    QCOMPARE(qgetenv("TZ"), tz); // the process's own setting is left as it was
}

QTEST_GUILESS_MAIN(TestZoneWatcher)
#include "tst_zonewatcher.moc"
