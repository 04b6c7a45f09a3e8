#include "recentfiles.h"
#include "testfiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

class TestRecentFiles : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void savedAndLoaded()
    {
        QTemporaryDir dir;
        const QString path = dir.filePath(u"Pinboard.dt2"_s);
        RecentFiles files;
        files.add(RecentFiles::Sound, u"/home/u/音.wav"_s);
        files.add(RecentFiles::OpenFile, u"/home/u/a b.txt"_s);
        QVERIFY(files.save(path));
        QCOMPARE(fileBytes(path), "S\t/home/u/\x89\xb9.wav\r\nO\t/home/u/a b.txt\r\n"_ba);
        // Lines of other kinds or without a TAB are skipped.
        QVERIFY(
            writeFile(path, fileBytes(path) + "X\t/b\r\ngarbage\r\n\r\nO\t/c.doc\nS /d.wav\r\n"));
        const RecentFiles back = RecentFiles::load(path);
        QCOMPARE(back.list(RecentFiles::Sound), QStringList{u"/home/u/音.wav"_s});
        QCOMPARE(back.list(RecentFiles::OpenFile),
                 (QStringList{u"/home/u/a b.txt"_s, u"/c.doc"_s}));
        QVERIFY(RecentFiles::load(dir.filePath(u"missing"_s)).list(RecentFiles::Sound).isEmpty());
    }
    void newestFirstWithoutRepeats()
    {
        RecentFiles files;
        for (int i = 0; i < 20; ++i)
            files.add(RecentFiles::Sound, u"/s/%1.mid"_s.arg(i));
        files.add(RecentFiles::Sound, u"/s/10.mid"_s);
        const QStringList list = files.list(RecentFiles::Sound);
        QCOMPARE(list.size(), RecentFiles::MaxPerKind);
        QCOMPARE(list.first(), u"/s/10.mid"_s);
        QCOMPARE(list.count(u"/s/10.mid"_s), 1);
        QCOMPARE(list.last(), u"/s/4.mid"_s); // 10 moved up, nothing dropped
        QVERIFY(files.list(RecentFiles::OpenFile).isEmpty());
    }
};
QTEST_APPLESS_MAIN(TestRecentFiles)
#include "tst_recentfiles.moc"
