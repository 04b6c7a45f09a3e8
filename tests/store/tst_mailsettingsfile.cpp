#include "mailsettingsfile.h"
#include "testfiles.h"

#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace {
// Written by hand, as a user or an older installation might leave it.
const QByteArray HandWritten("; Pinboard mail settings\r\n"
                             "[Other]\r\n"
                             "Subject=keep\r\n"
                             "\r\n"
                             "[ id00012 ]\r\n"
                             "subject =  \"  spaced \"  \r\n"
                             "; note about 12\r\n"
                             "TO=a@x.jp\tb@x.jp\r\n"
                             "X-Note=kept\r\n"
                             "\r\n"
                             "[ID00012]\r\n"
                             "Subject=second section ignored\r\n"
                             "[ID00013]\n"
                             "Cc=c@x.jp");
} // namespace

class TestMailSettingsFile : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void newFileAndSecondSection();
    void readsHandWrittenFile();
    void rewriteKeepsOtherLines();
    void removeDropsSection();
    void missingFileReadsEmpty();
    void longValueIsCut();
    void lineBreakIsRefused();
};

void TestMailSettingsFile::newFileAndSecondSection()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt4"));
    const MailSettingsFile file(path);
    const TagMailSettings twelve{QStringLiteral("会議"),
                                 {QStringLiteral("a@x.jp"), QStringLiteral("b@x.jp")},
                                 {},
                                 {QStringLiteral("c@x.jp")}};
    QCOMPARE(MailSettingsFile::sectionFor(12), QStringLiteral("ID00012"));
    QVERIFY(file.write(12, twelve));
    const QByteArray first("[ID00012]\r\nSubject=\x89\xef\x8b"
                           "c\r\nTo=a@x.jp\tb@x.jp\r\n"
                           "Cc=\r\nBcc=c@x.jp\r\n");
    QCOMPARE(fileBytes(path), first);

    const TagMailSettings three{QStringLiteral("S"), {QStringLiteral("d@x.jp")}, {}, {}};
    QVERIFY(file.write(3, three));
    QCOMPARE(fileBytes(path), first + "[ID00003]\r\nSubject=S\r\nTo=d@x.jp\r\nCc=\r\nBcc=\r\n");
    QCOMPARE(file.read(12), twelve);
    QCOMPARE(file.read(3), three);
}

void TestMailSettingsFile::readsHandWrittenFile()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt4"));
    QVERIFY(writeFile(path, HandWritten));
    const MailSettingsFile file(path);
    const TagMailSettings twelve = file.read(12);
    QCOMPARE(twelve.subject, QStringLiteral("  spaced "));
    QCOMPARE(twelve.to, (QStringList{QStringLiteral("a@x.jp"), QStringLiteral("b@x.jp")}));
    QVERIFY(twelve.cc.isEmpty());
    QVERIFY(twelve.bcc.isEmpty());
    QCOMPARE(file.read(13).cc, QStringList{QStringLiteral("c@x.jp")});
    QVERIFY(file.hasSection(12));
    QVERIFY(!file.hasSection(14));
    QCOMPARE(file.read(14), TagMailSettings());
}

void TestMailSettingsFile::rewriteKeepsOtherLines()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt4"));
    QVERIFY(writeFile(path, HandWritten));
    const MailSettingsFile file(path);
    const TagMailSettings s{
        QStringLiteral("new"), {QStringLiteral("z@x.jp")}, {QStringLiteral("c@x.jp")}, {}};
    QVERIFY(file.write(12, s));
    QCOMPARE(fileBytes(path), QByteArray("; Pinboard mail settings\r\n"
                                         "[Other]\r\n"
                                         "Subject=keep\r\n"
                                         "\r\n"
                                         "[ id00012 ]\r\n"
                                         "subject=new\r\n"
                                         "; note about 12\r\n"
                                         "TO=z@x.jp\r\n"
                                         "X-Note=kept\r\n"
                                         "Cc=c@x.jp\r\n"
                                         "Bcc=\r\n"
                                         "\r\n"
                                         "[ID00012]\r\n"
                                         "Subject=second section ignored\r\n"
                                         "[ID00013]\r\n"
                                         "Cc=c@x.jp\r\n"));
    QCOMPARE(file.read(12), s);
}

void TestMailSettingsFile::removeDropsSection()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt4"));
    QVERIFY(writeFile(path, HandWritten));
    const MailSettingsFile file(path);
    QVERIFY(file.remove(14));
    QCOMPARE(fileBytes(path), HandWritten); // nothing to drop: left as it was
    QVERIFY(file.remove(12));
    QCOMPARE(fileBytes(path), QByteArray("; Pinboard mail settings\r\n"
                                         "[Other]\r\n"
                                         "Subject=keep\r\n"
                                         "\r\n"
                                         "; note about 12\r\n"
                                         "[ID00013]\r\n"
                                         "Cc=c@x.jp\r\n"));
    QVERIFY(!file.hasSection(12));
    QCOMPARE(file.read(12), TagMailSettings());
}

void TestMailSettingsFile::missingFileReadsEmpty()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt4"));
    const MailSettingsFile file(path);
    QCOMPARE(file.read(1), TagMailSettings());
    QVERIFY(!file.hasSection(1));
    QVERIFY(file.remove(1));
    QVERIFY(!QFile::exists(path));
}

void TestMailSettingsFile::longValueIsCut()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt4"));
    const MailSettingsFile file(path);
    const QString a(MailSettingsFile::ValueLimit - 1, QLatin1Char('a'));
    QVERIFY(file.write(1, {a + QStringLiteral("bc"), {}, {}, {}}));
    QCOMPARE(file.read(1).subject, a + QLatin1Char('b'));
    // A double-byte character that does not fit whole is left out.
    QVERIFY(file.write(1, {a + QStringLiteral("亜"), {}, {}, {}}));
    QCOMPARE(file.read(1).subject, a);
}

void TestMailSettingsFile::lineBreakIsRefused()
{
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("Pinboard.dt4"));
    QVERIFY(writeFile(path, HandWritten));
    const MailSettingsFile file(path);
    QString error;
    QVERIFY(!file.write(12, {QStringLiteral("x\r\nTo=evil@x.jp"), {}, {}, {}}, &error));
    QVERIFY(error.contains(path));
    QVERIFY(!file.write(12, {QString(), {QStringLiteral("a@x.jp\n")}, {}, {}}));
    QCOMPARE(fileBytes(path), HandWritten);
}

QTEST_APPLESS_MAIN(TestMailSettingsFile)
#include "tst_mailsettingsfile.moc"
