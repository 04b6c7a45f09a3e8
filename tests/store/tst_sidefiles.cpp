#include "mailsettingsfile.h"
#include "recentfiles.h"
#include "testfiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
// Written by hand, as a user or an older installation might leave it.
const QByteArray HandWritten("; Pinboard mail settings\r\n[Other]\r\nSubject=keep\r\n\r\n"
                             "[ id00012 ]\r\n"
                             "subject =  \"  spaced \"  \r\n"
                             "; note about 12\r\n"
                             "TO=a@x.jp\tb@x.jp\r\n"
                             "X-Note=kept\r\n\r\n"
                             "[ID00012]\r\nSubject=second section ignored\r\n"
                             "[ID00013]\nCc=c@x.jp");
const QByteArray Twelve("[ID00012]\r\nSubject=\x89\xef\x8b"
                        "c\r\nTo=a@x.jp\tb@x.jp\r\nCc=\r\nBcc=c@x.jp\r\n");
} // namespace

// The files beside the tag file: recent files (dt2) and mail settings (dt4).
class TestSideFiles : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_path = m_dir->filePath(u"Pinboard.dt4"_s);
    }
    void mailSettingsEdits_data()
    {
        QTest::addColumn<QByteArray>("before"); // empty: no file
        QTest::addColumn<int>("k");
        QTest::addColumn<bool>("remove"); // else write `settings`
        QTest::addColumn<TagMailSettings>("settings");
        QTest::addColumn<QByteArray>("after");
        const TagMailSettings none,
            twelve{u"会議"_s, {u"a@x.jp"_s, u"b@x.jp"_s}, {}, {u"c@x.jp"_s}};
        const TagMailSettings three{u"S"_s, {u"d@x.jp"_s}, {}, {}},
            z{u"new"_s, {u"z@x.jp"_s}, {u"c@x.jp"_s}, {}};
        const QByteArray head("; Pinboard mail settings\r\n[Other]\r\nSubject=keep\r\n\r\n");
        QTest::newRow("new file") << QByteArray() << 12 << false << twelve << Twelve;
        QTest::newRow("another section")
            << Twelve << 3 << false << three
            << Twelve + "[ID00003]\r\nSubject=S\r\nTo=d@x.jp\r\nCc=\r\nBcc=\r\n";
        QTest::newRow("rewrite keeps the other lines")
            << HandWritten << 12 << false << z
            << head +
                   "[ id00012 ]\r\nsubject=new\r\n; note about 12\r\nTO=z@x.jp\r\nX-Note=kept\r\n"
                   "Cc=c@x.jp\r\nBcc=\r\n\r\n[ID00012]\r\nSubject=second section ignored\r\n"
                   "[ID00013]\r\nCc=c@x.jp\r\n";
        QTest::newRow("remove keeps comments")
            << HandWritten << 12 << true << none
            << head + "; note about 12\r\n[ID00013]\r\nCc=c@x.jp\r\n";
        QTest::newRow("nothing to remove") << HandWritten << 14 << true << none << HandWritten;
        QTest::newRow("nothing to remove, no file")
            << QByteArray() << 1 << true << none << QByteArray();
    }
    void mailSettingsEdits()
    {
        QFETCH(QByteArray, before);
        QFETCH(int, k);
        QFETCH(bool, remove);
        QFETCH(TagMailSettings, settings);
        QFETCH(QByteArray, after);
        QVERIFY(before.isEmpty() || writeFile(m_path, before));
        const MailSettingsFile file(m_path);
        QVERIFY(remove ? file.remove(k) : file.write(k, settings));
        QCOMPARE(fileBytes(m_path), after);
        QCOMPARE(QFile::exists(m_path), !after.isEmpty());
        QCOMPARE(file.read(k), settings);
        QCOMPARE(file.hasSection(k), !remove);
    }
    void mailSettingsHandWritten()
    {
        QVERIFY(writeFile(m_path, HandWritten));
        const MailSettingsFile file(m_path);
        QCOMPARE(file.read(12),
                 (TagMailSettings{u"  spaced "_s, {u"a@x.jp"_s, u"b@x.jp"_s}, {}, {}}));
        QCOMPARE(file.read(13), (TagMailSettings{{}, {}, {u"c@x.jp"_s}, {}}));
        QCOMPARE(MailSettingsFile::sectionFor(12), u"ID00012"_s);
    }
    void mailSettingsCutAndRefused()
    {
        const MailSettingsFile file(m_path);
        const QString a(MailSettingsFile::ValueLimit - 1, QLatin1Char('a'));
        QVERIFY(file.write(1, {a + u"bc"_s, {}, {}, {}}));
        QCOMPARE(file.read(1).subject, a + QLatin1Char('b'));
        // A double-byte character that does not fit whole is left out.
        QVERIFY(file.write(1, {a + u"亜"_s, {}, {}, {}}));
        QCOMPARE(file.read(1).subject, a);

        const QByteArray before = fileBytes(m_path);
        QString error;
        QVERIFY(!file.write(12, {u"x\r\nTo=evil@x.jp"_s, {}, {}, {}}, &error));
        QVERIFY(error.contains(m_path));
        QVERIFY(!file.write(12, {QString(), {u"a@x.jp\n"_s}, {}, {}}));
        QCOMPARE(fileBytes(m_path), before);
    }
    void recentFiles()
    {
        const QString path = m_dir->filePath(u"Pinboard.dt2"_s);
        RecentFiles files;
        for (int i = 0; i < 20; ++i)
            files.add(RecentFiles::Sound, u"/s/%1.mid"_s.arg(i));
        files.add(RecentFiles::Sound, u"/home/u/音.wav"_s);
        files.add(RecentFiles::Sound, u"/s/10.mid"_s); // moves up, nothing dropped
        files.add(RecentFiles::OpenFile, u"/home/u/a b.txt"_s);
        QCOMPARE(files.list(RecentFiles::Sound).size(), RecentFiles::MaxPerKind);
        QCOMPARE(files.list(RecentFiles::Sound).mid(0, 2),
                 (QStringList{u"/s/10.mid"_s, u"/home/u/音.wav"_s}));
        QCOMPARE(files.list(RecentFiles::Sound).last(), u"/s/5.mid"_s);
        QVERIFY(files.save(path));
        QVERIFY(fileBytes(path).endsWith("S\t/s/5.mid\r\nO\t/home/u/a b.txt\r\n"_ba));
        QVERIFY(fileBytes(path).startsWith("S\t/s/10.mid\r\nS\t/home/u/\x89\xb9.wav\r\n"_ba));
        // Lines of other kinds or without a TAB are skipped.
        QVERIFY(writeFile(path, "O\t/a b.txt\r\nX\t/b\r\ngarbage\r\n\r\nO\t/c.doc\nS /d.wav\r\n"));
        const RecentFiles back = RecentFiles::load(path);
        QVERIFY(back.list(RecentFiles::Sound).isEmpty());
        QCOMPARE(back.list(RecentFiles::OpenFile), (QStringList{u"/a b.txt"_s, u"/c.doc"_s}));
    }

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
};
QTEST_APPLESS_MAIN(TestSideFiles)
#include "tst_sidefiles.moc"
