#include "cp932.h"
#include "fileset.h"
#include "tagstore.h"
#include "testfiles.h"

#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
// A tag file as versions before 0.9.40 wrote it: 2048-byte slots, the file
// path in 260 bytes at 175 and the message as a fixed 1600-byte field at 435.
QByteArray oldFile(int declaredTags, int writtenTags)
{
    EnvRecord env;
    env.setVersionCode(u"000930"_s);
    env.setTagCount(declaredTags);
    env.setText(Env::UserName, u"佐藤"_s);
    QByteArray file = env.bytes().first(2048);
    for (int i = 1; i <= writtenTags; ++i) {
        TagRecord tag;
        tag.setText(Tag::TagNumber, u"0000%1"_s.arg(i));
        tag.setLong(Tag::ForeColor, 0x112233 * i);
        tag.setByte(Tag::ScheduleKind, 2);
        QByteArray b = tag.bytes().first(175) + Cp932::toField(u"/home/u/音%1.wav"_s.arg(i), 260) +
                       Cp932::encode(u"古いメモ%1～"_s.arg(i)) + '\0' + "junk";
        file += b + QByteArray(2048 - b.size(), ' ');
    }
    return file;
}

// A current file with three tags.
QByteArray currentFile()
{
    QTemporaryDir dir;
    TagStore store(dir.filePath(u"Pinboard.dt1"_s));
    TagRecord tag;
    if (!store.writeEnv(EnvRecord()) || !store.addTag(tag) || !store.addTag(tag) ||
        !store.addTag(tag))
        return {};
    return fileBytes(store.file().path());
}
} // namespace

class TestFileSet : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void oldFileIsConverted_data()
    {
        QTest::addColumn<bool>("interrupted"); // only PinboardOld.dt1 is left from a cut-off run
        QTest::addColumn<bool>("staleOld");    // an unrelated PinboardOld.dt1 lies about
        QTest::addColumn<int>("declared");
        QTest::addColumn<int>("written");
        QTest::newRow("plain") << false << false << 2 << 2;
        QTest::newRow("stale old copy replaced") << false << true << 2 << 2;
        QTest::newRow("resumed after a crash") << true << false << 2 << 2;
        QTest::newRow("old file ends early") << false << false << 3 << 2;
    }
    void oldFileIsConverted()
    {
        QFETCH(bool, interrupted);
        QFETCH(bool, staleOld);
        QFETCH(int, declared);
        QFETCH(int, written);
        QTemporaryDir dir;
        const FileSet f = FileSet::forDirectory(dir.path());
        QVERIFY(writeFile(interrupted ? f.oldDt1 : f.dt1, oldFile(declared, written)));
        QVERIFY(!staleOld || writeFile(f.oldDt1, "stale"));
        const PrepareResult r = prepareFileSet(f);
        QVERIFY2(r.ok && r.converted && !r.firstRun, qPrintable(r.error));
        QVERIFY(!QFile::exists(f.oldDt1) && !QFile::exists(f.backup));

        TagStore store(f.dt1);
        QString error;
        const auto env = store.readEnv(&error);
        QVERIFY2(env, qPrintable(error));
        QCOMPARE(env->versionCode(), programVersionCode());
        QCOMPARE(env->tagCount(), written);
        QCOMPARE(env->userName(), u"佐藤"_s);
        for (int k = 1; k <= written; ++k) {
            const auto tag = store.readTag(k, &error);
            QVERIFY2(tag, qPrintable(error));
            QCOMPARE(tag->tagNumber(), u"0000%1"_s.arg(k));
            QCOMPARE(tag->message(), u"古いメモ%1～"_s.arg(k));
            QCOMPARE(tag->text(Tag::FilePath), u"/home/u/音%1.wav"_s.arg(k));
            QCOMPARE(tag->longValue(Tag::ForeColor), 0x112233 * k);
        }
        QVERIFY(!prepareFileSet(f).converted); // once: a second start finds a current file
    }
    void damagedFileIsLeftAlone_data()
    {
        QTest::addColumn<QByteArray>("bytes");
        const QByteArray good = currentFile();
        QVERIFY(good.size() > 3 * TagRecord::SlotSize);
        auto with = [&](int offset, const QByteArray &part) {
            return QByteArray(good).replace(offset, part.size(), part);
        };
        QTest::newRow("record 1 cut short") << oldFile(0, 0).first(1500);
        QTest::newRow("VersionCode NULs") << with(1264, QByteArray(6, '\0'));
        QTest::newRow("VersionCode old on a current file") << with(1264, "000100");
        QTest::newRow("old code, too long for its tags") << oldFile(1, 1) + QByteArray(4096, ' ');
        QTest::newRow("old code, not a tag number") << oldFile(2, 2).replace(2048, 5, "#####");
    }
    void damagedFileIsLeftAlone()
    {
        QFETCH(QByteArray, bytes);
        QTemporaryDir dir;
        const FileSet f = FileSet::forDirectory(dir.path());
        QVERIFY(writeFile(f.dt1, bytes));
        const PrepareResult r = prepareFileSet(f);
        QVERIFY(r.ok && r.damaged && !r.converted && !r.error.isEmpty());
        QCOMPARE(inspectDataFile(f.dt1).kind, DataFileCheck::Damaged);
        QCOMPARE(fileBytes(f.dt1), bytes);
        QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{u"Pinboard.dt1"_s});
    }
    void firstRunFileAppearsWhole()
    {
        QTemporaryDir dir;
        const FileSet f = FileSet::forDirectory(dir.path());
        const PrepareResult r = prepareFileSet(f);
        QVERIFY(r.ok && r.firstRun && !QFile::exists(f.dt1)); // nothing made yet
        QVERIFY(createDataFile(f.dt1, EnvRecord().bytes()));
        QCOMPARE(inspectDataFile(f.dt1).kind, DataFileCheck::Current);
        // The disk fills up half-way (a file size limit stands in for it): nothing is left behind.
        QTemporaryDir full;
        QString error;
        {
            const FileSizeLimit limit(1000);
            QVERIFY(!createDataFile(full.filePath(u"Pinboard.dt1"_s), EnvRecord().bytes(), &error));
        }
        QVERIFY(!error.isEmpty());
        QCOMPARE(QDir(full.path()).entryList(QDir::Files | QDir::Hidden), QStringList{});
    }
};
QTEST_APPLESS_MAIN(TestFileSet)
#include "tst_fileset.moc"
