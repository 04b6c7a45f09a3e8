#include "recentfiles.h"
#include "testfiles.h"

#include <QTemporaryDir>
#include <QTest>

class TestRecentFiles : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void savedBytesAndBack();
    void newestFirstWithoutRepeats();
    void oddLinesAreSkipped();
};

void TestRecentFiles::savedBytesAndBack()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt2"));
    RecentFiles files;
    files.add(RecentFiles::Sound, QStringLiteral("/home/u/音.wav"));
    files.add(RecentFiles::OpenFile, QStringLiteral("/home/u/a b.txt"));
    QVERIFY(files.save(path));
    QCOMPARE(fileBytes(path), QByteArray("S\t/home/u/\x89\xb9.wav\r\nO\t/home/u/a b.txt\r\n"));
    const RecentFiles back = RecentFiles::load(path);
    QCOMPARE(back.list(RecentFiles::Sound), QStringList{QStringLiteral("/home/u/音.wav")});
    QCOMPARE(back.list(RecentFiles::OpenFile), QStringList{QStringLiteral("/home/u/a b.txt")});
}

void TestRecentFiles::newestFirstWithoutRepeats()
{
    RecentFiles files;
    for (int i = 0; i < 20; ++i)
        files.add(RecentFiles::Sound, QStringLiteral("/s/%1.mid").arg(i));
    files.add(RecentFiles::Sound, QStringLiteral("/s/10.mid"));
    const QStringList list = files.list(RecentFiles::Sound);
    QCOMPARE(list.size(), RecentFiles::MaxPerKind);
    QCOMPARE(list.first(), QStringLiteral("/s/10.mid"));
    QCOMPARE(list.count(QStringLiteral("/s/10.mid")), 1);
    QCOMPARE(list.last(), QStringLiteral("/s/4.mid")); // 10 moved up, nothing dropped
    QVERIFY(files.list(RecentFiles::OpenFile).isEmpty());
}

void TestRecentFiles::oddLinesAreSkipped()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt2"));
    QVERIFY(writeFile(path, "S\t/a.wav\r\nX\t/b\r\ngarbage\r\n\r\nO\t/c.doc\nS /d.wav\r\n"));
    const RecentFiles files = RecentFiles::load(path);
    QCOMPARE(files.list(RecentFiles::Sound), QStringList{QStringLiteral("/a.wav")});
    QCOMPARE(files.list(RecentFiles::OpenFile), QStringList{QStringLiteral("/c.doc")});
    QVERIFY(RecentFiles::load(dir.filePath(QStringLiteral("missing")))
                .list(RecentFiles::Sound)
                .isEmpty());
}

QTEST_APPLESS_MAIN(TestRecentFiles)
#include "tst_recentfiles.moc"
