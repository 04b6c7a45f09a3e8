#include "cp932.h"
#include "fileset.h"
#include "tagstore.h"
#include "testfiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTemporaryDir>
#include <QTest>

namespace {
// A tag file as versions before 0.9.40 wrote it: 2048-byte slots, the file
// path in 260 bytes at 175 and the message as a fixed 1600-byte field at 435.
QByteArray oldTag(const QString &number, const QString &message, const QString &path, qint32 color)
{
    TagRecord tag;
    tag.setText(Tag::TagNumber, number);
    tag.setLong(Tag::ForeColor, color);
    tag.setByte(Tag::ScheduleKind, 2);
    QByteArray b = tag.bytes().first(175);
    b += Cp932::toField(path, 260);
    b += Cp932::encode(message) + '\0' + "junk after the terminator";
    b.append(2048 - b.size(), ' ');
    return b;
}

QByteArray oldFile(int declaredTags, int writtenTags)
{
    EnvRecord env;
    env.setVersionCode(QStringLiteral("000930"));
    env.setTagCount(declaredTags);
    env.setText(Env::UserName, QStringLiteral("佐藤"));
    QByteArray file = env.bytes().first(2048);
    for (int i = 1; i <= writtenTags; ++i)
        file += oldTag(QStringLiteral("0000%1").arg(i), QStringLiteral("古いメモ%1～").arg(i),
                       QStringLiteral("/home/u/音%1.wav").arg(i), 0x112233 * i);
    return file;
}
} // namespace

class TestFileSet : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void paths_data();
    void paths();
    void firstRunCreatesNothing();
    void oldFileIsConverted_data();
    void oldFileIsConverted();
    void missingRecordOneIsLeftAlone();
    void damagedFileIsLeftAlone_data();
    void damagedFileIsLeftAlone();
    void firstRunFileAppearsWhole();
};

void TestFileSet::paths_data()
{
    QTest::addColumn<QString>("dir");
    QTest::addColumn<QChar>("sep");
    QTest::addColumn<QString>("dt1");
    QTest::addColumn<QString>("old");
    QTest::newRow("drive root") << QStringLiteral("X:\\") << QChar(u'\\')
                                << QStringLiteral("X:\\Pinboard.dt1")
                                << QStringLiteral("X:\\PinboardOld.dt1");
    QTest::newRow("folder") << QStringLiteral("C:\\Tools\\Pin") << QChar(u'\\')
                            << QStringLiteral("C:\\Tools\\Pin\\Pinboard.dt1")
                            << QStringLiteral("C:\\Tools\\Pin\\PinboardOld.dt1");
    QTest::newRow("posix folder") << QStringLiteral("/opt/pinboard") << QChar(u'/')
                                  << QStringLiteral("/opt/pinboard/Pinboard.dt1")
                                  << QStringLiteral("/opt/pinboard/PinboardOld.dt1");
}

void TestFileSet::paths()
{
    QFETCH(QString, dir);
    QFETCH(QChar, sep);
    QFETCH(QString, dt1);
    QFETCH(QString, old);
    const FileSet f = FileSet::forDirectory(dir, sep);
    QCOMPARE(f.dt1, dt1);
    QCOMPARE(f.oldDt1, old);
    QCOMPARE(f.log, dt1.chopped(3) + QStringLiteral("log"));
    QCOMPARE(f.dt4, dt1.chopped(1) + u'4');
}

void TestFileSet::firstRunCreatesNothing()
{
    QTemporaryDir dir;
    const PrepareResult r = prepareFileSet(FileSet::forDirectory(dir.path()));
    QVERIFY(r.ok);
    QVERIFY(r.firstRun);
    QVERIFY(!QFile::exists(dir.filePath(QStringLiteral("Pinboard.dt1"))));
}

void TestFileSet::oldFileIsConverted_data()
{
    QTest::addColumn<bool>("interrupted"); // only PinboardOld.dt1 is left from a cut-off run
    QTest::addColumn<bool>("staleOld");    // an unrelated PinboardOld.dt1 lies about
    QTest::addColumn<int>("declared");
    QTest::addColumn<int>("written");
    QTest::newRow("plain") << false << false << 2 << 2;
    QTest::newRow("stale old copy replaced") << false << true << 2 << 2;
    QTest::newRow("resumed after a crash") << true << false << 2 << 2;
    QTest::newRow("old file ends early") << false << false << 3 << 2;
    QTest::newRow("no tags") << false << false << 0 << 0;
}

void TestFileSet::oldFileIsConverted()
{
    QFETCH(bool, interrupted);
    QFETCH(bool, staleOld);
    QFETCH(int, declared);
    QFETCH(int, written);
    QTemporaryDir dir;
    const FileSet f = FileSet::forDirectory(dir.path());
    QVERIFY(writeFile(interrupted ? f.oldDt1 : f.dt1, oldFile(declared, written)));
    if (staleOld)
        QVERIFY(writeFile(f.oldDt1, "stale"));

    const PrepareResult r = prepareFileSet(f);
    QVERIFY2(r.ok, qPrintable(r.error));
    QVERIFY(r.converted);
    QVERIFY(!r.firstRun);
    QVERIFY(!QFile::exists(f.oldDt1));
    QVERIFY(!QFile::exists(f.backup));

    TagStore store(f.dt1);
    QString error;
    const auto env = store.readEnv(&error);
    QVERIFY2(env, qPrintable(error));
    QCOMPARE(env->versionCode(), programVersionCode());
    QCOMPARE(env->tagCount(), written);
    QCOMPARE(env->userName(), QStringLiteral("佐藤"));
    for (int k = 1; k <= written; ++k) {
        const auto tag = store.readTag(k, &error);
        QVERIFY2(tag, qPrintable(error));
        QCOMPARE(tag->tagNumber(), QStringLiteral("0000%1").arg(k));
        QCOMPARE(tag->message(), QStringLiteral("古いメモ%1～").arg(k));
        QCOMPARE(tag->text(Tag::FilePath), QStringLiteral("/home/u/音%1.wav").arg(k));
        QCOMPARE(tag->longValue(Tag::ForeColor), 0x112233 * k);
        QCOMPARE(tag->byte(Tag::ScheduleKind), 2);
    }
    // Converted once: a second start finds a current file.
    const QByteArray after = fileBytes(f.dt1);
    QVERIFY(!prepareFileSet(f).converted);
    QCOMPARE(fileBytes(f.dt1), after);
}

void TestFileSet::missingRecordOneIsLeftAlone()
{
    QTemporaryDir dir;
    const FileSet f = FileSet::forDirectory(dir.path());
    const QByteArray shortFile = oldFile(0, 0).first(1500);
    QVERIFY(writeFile(f.dt1, shortFile));
    const PrepareResult r = prepareFileSet(f);
    QVERIFY(r.ok);
    QVERIFY(!r.converted);
    QVERIFY(!r.firstRun);
    QCOMPARE(fileBytes(f.dt1), shortFile);
    QVERIFY(!QFile::exists(f.oldDt1));
    QString error;
    QVERIFY(!TagStore(f.dt1).readEnv(&error));
    QVERIFY(error.contains(QStringLiteral("ends after 1500")));
}

// A current file with three tags, then spoilt by spoil().
QByteArray currentFile()
{
    QTemporaryDir dir;
    TagStore store(dir.filePath(QStringLiteral("Pinboard.dt1")));
    if (!store.writeEnv(EnvRecord()))
        return {};
    for (int i = 0; i < 3; ++i) {
        TagRecord tag;
        tag.setMessage(QStringLiteral("メモ%1").arg(i));
        if (!store.addTag(tag))
            return {};
    }
    return fileBytes(store.file().path());
}

void TestFileSet::damagedFileIsLeftAlone_data()
{
    QTest::addColumn<QByteArray>("bytes");
    const QByteArray good = currentFile();
    QVERIFY(good.size() > 3 * TagRecord::SlotSize);
    auto with = [&](int offset, const QByteArray &part) {
        QByteArray b = good;
        b.replace(offset, part.size(), part);
        return b;
    };
    QTest::newRow("VersionCode NULs") << with(1264, QByteArray(6, '\0'));
    QTest::newRow("VersionCode blanks") << with(1264, QByteArray(6, ' '));
    QTest::newRow("VersionCode old on a current file") << with(1264, "000100");
    QTest::newRow("record 1 zeroed") << with(0, QByteArray(EnvRecord::Size, '\0'));
    QTest::newRow("record 1 blanked") << with(0, QByteArray(EnvRecord::Size, ' '));
    QByteArray noise(EnvRecord::Size, '\0');
    for (int i = 0; i < noise.size(); ++i)
        noise[i] = char((i * 7919 + 13) % 251);
    QTest::newRow("record 1 random") << with(0, noise);
    QTest::newRow("old code, too long for its tags") << oldFile(1, 1) + QByteArray(4096, ' ');
    QTest::newRow("old code, not a tag number") << oldFile(2, 2).replace(2048, 5, "#####");
}

void TestFileSet::damagedFileIsLeftAlone()
{
    QFETCH(QByteArray, bytes);
    QTemporaryDir dir;
    const FileSet f = FileSet::forDirectory(dir.path());
    QVERIFY(writeFile(f.dt1, bytes));
    const PrepareResult r = prepareFileSet(f);
    QVERIFY(r.damaged);
    QVERIFY(!r.converted);
    QVERIFY(!r.error.isEmpty());
    QCOMPARE(inspectDataFile(f.dt1).kind, DataFileCheck::Damaged);
    QCOMPARE(fileBytes(f.dt1), bytes);
    QCOMPARE(QDir(dir.path()).entryList(QDir::Files), QStringList{QStringLiteral("Pinboard.dt1")});
}

void TestFileSet::firstRunFileAppearsWhole()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt1"));
    QVERIFY(createDataFile(path, EnvRecord().bytes()));
    QCOMPARE(inspectDataFile(path).kind, DataFileCheck::Current);
    // The disk fills up half-way (a file size limit stands in for it): nothing is left behind.
    QTemporaryDir full;
    const QString path2 = full.filePath(QStringLiteral("Pinboard.dt1"));
    QString error;
    {
        const FileSizeLimit limit(1000);
        QVERIFY(!createDataFile(path2, EnvRecord().bytes(), &error));
    }
    QVERIFY(!error.isEmpty());
    QCOMPARE(QDir(full.path()).entryList(QDir::Files | QDir::Hidden), QStringList{});
}

QTEST_APPLESS_MAIN(TestFileSet)
#include "tst_fileset.moc"
