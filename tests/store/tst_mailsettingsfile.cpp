#include "mailsettingsfile.h"
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

class TestMailSettingsFile : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dir = std::make_unique<QTemporaryDir>();
        m_path = m_dir->filePath(u"Pinboard.dt4"_s);
    }
    void edits_data()
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
    void edits()
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
    void readsHandWrittenFile()
    {
        QVERIFY(writeFile(m_path, HandWritten));
        const MailSettingsFile file(m_path);
        QCOMPARE(file.read(12),
                 (TagMailSettings{u"  spaced "_s, {u"a@x.jp"_s, u"b@x.jp"_s}, {}, {}}));
        QCOMPARE(file.read(13), (TagMailSettings{{}, {}, {u"c@x.jp"_s}, {}}));
        QCOMPARE(MailSettingsFile::sectionFor(12), u"ID00012"_s);
    }
    void cutAndRefused()
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

private:
    std::unique_ptr<QTemporaryDir> m_dir;
    QString m_path;
};
QTEST_APPLESS_MAIN(TestMailSettingsFile)
#include "tst_mailsettingsfile.moc"
