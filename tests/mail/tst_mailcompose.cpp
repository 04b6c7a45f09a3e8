#include "mailcompose.h"
#include "testfiles.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

namespace {
const QDateTime Now(QDate(2024, 5, 1), QTime(9, 59, 59));

MailContent sample()
{
    MailContent m;
    m.from = QStringLiteral("me@example.jp");
    m.to = {QStringLiteral("a@example.jp"), QString(), QStringLiteral("b@example.jp")};
    m.subject = QStringLiteral("S");
    m.body = QStringLiteral("b");
    return m;
}

// What Python's mail parser reads from the mail a server would store (all
// before the final dot line); empty when python3 is missing or fails.
QJsonObject parsedByPython(const ComposedMail &mail, const QString &dir)
{
    const QString python = QStandardPaths::findExecutable(QStringLiteral("python3"));
    const QString eml = dir + QStringLiteral("/mail.eml");
    if (python.isEmpty() || !mail.body.endsWith("\r\n.\r\n") ||
        !writeFile(eml, mail.header + mail.body.chopped(3)))
        return {};
    QProcess process;
    QSignalSpy finished(&process, &QProcess::finished);
    process.start(python, {QStringLiteral(PARSEMAIL_PY), eml});
    if (!finished.wait(20000) || process.exitCode() != 0)
        return {};
    return QJsonDocument::fromJson(process.readAllStandardOutput()).object();
}
} // namespace

class TestMailCompose : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sjisToJis_data();
    void sjisToJis();
    void sjisCodeToJis_data();
    void sjisCodeToJis();
    void base64_data();
    void base64();
    void contentType_data();
    void contentType();
    void loneDots_data();
    void loneDots();
    void headerBlock_data();
    void headerBlock();
    void plainBody();
    void multipartBody();
    void refused_data();
    void refused();
    void pythonReadsMultipart();
};

void TestMailCompose::sjisToJis_data()
{
    QTest::addColumn<QByteArray>("sjis");
    QTest::addColumn<QByteArray>("jis");
    QTest::newRow("empty") << QByteArray() << QByteArray();
    QTest::newRow("ascii") << QByteArray("a b\r\n") << QByteArray("a b\r\n");
    // 亜唖 = 889F 88A0 -> 3021 3022, ending inside kanji
    QTest::newRow("kanji") << QByteArray("\x88\x9f\x88\xa0") << QByteArray("\x1b$B0!0\"\x1b(J");
    // あa: 82A0 -> 2422, back with ESC ( J
    QTest::newRow("hiragana") << QByteArray("\x82\xa0\x61") << QByteArray("\x1b$B$\"\x1b(Ja");
    QTest::newRow("kana") << QByteArray("\xb1\xb2") << QByteArray("\x1b(I12\x1b(J");
    QTest::newRow("mixed") << QByteArray("a\xb1\x88\x9f\x62\x81\x40")
                           << QByteArray("a\x1b(I1\x1b$B0!\x1b(Jb\x1b$B!!\x1b(J");
    QTest::newRow("line break") << QByteArray("\x88\x9f\r\n\x88\x9f")
                                << QByteArray("\x1b$B0!\x1b(J\r\n\x1b$B0!\x1b(J");
    // "&h9" sorts between "&h81" and "&h9F": a TAB is taken as kanji 0009 -> 1FEA.
    QTest::newRow("tab") << QByteArray("a\tb") << QByteArray("a\x1b$B\x1f\xea\x1b(Jb");
    // SI ("&hF") sorts between "&hE0" and "&hFC" too.
    QTest::newRow("shift in") << QByteArray("\x0f") << QByteArray("\x1b$B\x1f\xf0\x1b(J");
    // "&hFC4B" and "&h9F40" sort past "&hFC" and "&h9F": sent as they are.
    QTest::newRow("FC lead") << QByteArray("\x88\x9f\xfc\x4b")
                             << QByteArray("\x1b$B0!\x1b(J\xfc\x4b");
    QTest::newRow("9F lead") << QByteArray("\x9f\x40\x61") << QByteArray("\x9f\x40\x61");
    // A lead byte cut off at the end is one character "88" -> 0088 -> 1F68.
    QTest::newRow("cut lead") << QByteArray("a\x88") << QByteArray("a\x1b$B\x1f\x68\x1b(J");
}

void TestMailCompose::sjisToJis()
{
    QFETCH(QByteArray, sjis);
    QFETCH(QByteArray, jis);
    QCOMPARE(SjisToJis(sjis), jis);
}

void TestMailCompose::sjisCodeToJis_data()
{
    QTest::addColumn<QString>("sjis");
    QTest::addColumn<QString>("jis");
    QTest::newRow("亜") << QStringLiteral("889F") << QStringLiteral("3021");
    QTest::newRow("あ") << QStringLiteral("82A0") << QStringLiteral("2422");
    QTest::newRow("滌") << QStringLiteral("9FFC") << QStringLiteral("5E7E");
    QTest::newRow("檗") << QStringLiteral("9F40") << QStringLiteral("5D21");
    QTest::newRow("漾") << QStringLiteral("E040") << QStringLiteral("5F21");
    QTest::newRow("熙") << QStringLiteral("EAA4") << QStringLiteral("7426");
    QTest::newRow("space") << QStringLiteral("8140") << QStringLiteral("2121");
    QTest::newRow("ー 80 trail") << QStringLiteral("815b") << QStringLiteral("213C");
    QTest::newRow("tab") << QStringLiteral("9") << QStringLiteral("1FEA");
    QTest::newRow("not hex") << QStringLiteral("zz") << QStringLiteral("1FE1");
}

void TestMailCompose::sjisCodeToJis()
{
    QFETCH(QString, sjis);
    QFETCH(QString, jis);
    QCOMPARE(SjisCodeToJis(sjis), jis);
}

void TestMailCompose::base64_data()
{
    QTest::addColumn<QByteArray>("content");
    QTest::addColumn<QByteArray>("expected");
    const QByteArray word("Pinboard");
    const QList<QByteArray> expected = {
        "AA=", "UAA=", "UGkA", "UGluAA=", "UGluYgA=", "UGluYm8A", "UGluYm9hAA=", "UGluYm9hcgA="};
    for (int n = 0; n < expected.size(); ++n)
        QTest::addRow("n=%d", n) << word.first(n) << expected[n] + "\r\n";
    QByteArray hundred;
    for (int i = 0; i < 100; ++i)
        hundred += char(i);
    QTest::newRow("100 bytes")
        << hundred
        << QByteArray("AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1\r\n"
                      "Njc4OTo7PD0+P0BBQkNERUZHSElKS0xNTk9QUVJTVFVWV1hZWltcXV5fYGFiYwA=\r\n");
    const QByteArray xs72(
        "eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4eHh4");
    QTest::newRow("exactly one line") << QByteArray(53, 'x') << xs72.first(68) + "eHgA\r\n";
    QTest::newRow("AA= on its own line") << QByteArray(54, 'x') << xs72 + "\r\nAA=\r\n";
}

void TestMailCompose::base64()
{
    QFETCH(QByteArray, content);
    QFETCH(QByteArray, expected);
    QTemporaryDir dir;
    const QString path = dir.filePath(QStringLiteral("f.bin"));
    QVERIFY(writeFile(path, content));
    bool ok = false;
    QCOMPARE(Base64EncodeFile(path, &ok), expected);
    QVERIFY(ok);
}

void TestMailCompose::contentType_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    const QString other = QStringLiteral("application/octet-stream");
    QTest::newRow("upper case") << QStringLiteral("photo.JPG") << QStringLiteral("image/jpeg");
    QTest::newRow("jpe") << QStringLiteral("a.jpe") << QStringLiteral("image/jpeg");
    QTest::newRow("first dot") << QStringLiteral("archive.tar.gz") << other;
    QTest::newRow("two dots") << QStringLiteral("a.b.pdf") << other;
    QTest::newRow("no dot") << QStringLiteral("noext") << other;
    QTest::newRow("pdf") << QStringLiteral("報告書.pdf") << QStringLiteral("application/pdf");
    QTest::newRow("Html") << QStringLiteral("x.Html") << QStringLiteral("text/html");
    QTest::newRow("jar") << QStringLiteral("x.jar") << QStringLiteral("application/java-archiver");
    QTest::newRow("avi") << QStringLiteral("x.avi") << QStringLiteral("vide/x-msvideo");
}

void TestMailCompose::contentType()
{
    QFETCH(QString, name);
    QFETCH(QString, type);
    QCOMPARE(ContentTypeOf(name), type);
}

void TestMailCompose::loneDots_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("sent");
    QTest::newRow("middle") << QStringLiteral("a\r\n.\r\nb") << QStringLiteral("a\r\n..\r\nb");
    QTest::newRow("first") << QStringLiteral(".\r\nb") << QStringLiteral("..\r\nb");
    QTest::newRow("last") << QStringLiteral("a\r\n.") << QStringLiteral("a\r\n..");
    QTest::newRow("only") << QStringLiteral(".") << QStringLiteral("..");
    QTest::newRow("begins with dot")
        << QStringLiteral(".a\r\n..\r\n") << QStringLiteral(".a\r\n..\r\n");
    QTest::newRow("dot and blank") << QStringLiteral(" .\r\na.") << QStringLiteral(" .\r\na.");
    QTest::newRow("bare LF") << QStringLiteral("a\n.\nb") << QStringLiteral("a\r\n..\r\nb");
}

void TestMailCompose::loneDots()
{
    QFETCH(QString, text);
    QFETCH(QString, sent);
    QCOMPARE(DoubleLoneDots(text), sent);
}

void TestMailCompose::headerBlock_data()
{
    QTest::addColumn<QStringList>("cc");
    QTest::addColumn<QStringList>("bcc");
    QTest::addColumn<QByteArray>("tail");
    QTest::newRow("no cc, no bcc") << QStringList() << QStringList() << QByteArray();
    QTest::newRow("empty entries only")
        << QStringList{QString()} << QStringList{QString(), QString()} << QByteArray();
    QTest::newRow("cc") << QStringList{QStringLiteral("c1@x.jp"), QString(),
                                       QStringLiteral("c2@x.jp")}
                        << QStringList() << QByteArray("cc: <c1@x.jp>\r\ncc: <c2@x.jp>\r\n");
    QTest::newRow("cc and bcc") << QStringList{QStringLiteral("c@x.jp")}
                                << QStringList{QString(), QStringLiteral("d@x.jp")}
                                << QByteArray("cc: <c@x.jp>\r\nbcc: <d@x.jp>\r\n");
}

void TestMailCompose::headerBlock()
{
    QFETCH(QStringList, cc);
    QFETCH(QStringList, bcc);
    QFETCH(QByteArray, tail);
    MailContent m = sample();
    m.cc = cc;
    m.bcc = bcc;
    const auto mail = ComposeTagMail(m, Now);
    QVERIFY(mail);
    QCOMPARE(mail->header, QByteArray("Reply-To: me@example.jp\r\n"
                                      "X-Mailer: Pinboard\r\n"
                                      "MIME-Version: 1.0\r\n"
                                      "X-Mozilla-Status: 0001\r\n"
                                      "Date: 2024-05-01 09:59:59\r\n"
                                      "From: <me@example.jp>\r\n"
                                      "To: <a@example.jp>\r\n"
                                      "To: <b@example.jp>\r\n") +
                               tail);
}

void TestMailCompose::plainBody()
{
    MailContent m = sample();
    m.subject = QStringLiteral("件名");
    m.body = QStringLiteral("本文\r\n.\r\n.end");
    const QByteArray expected("Content-Type: text/plain; charset=iso-2022-jp\r\n"
                              "Content-Transfer-Encoding: 7bit\r\n"
                              "Subject: \x1b$B7oL>\x1b(J\r\n"
                              "\x1b$BK\\J8\x1b(J\r\n..\r\n.end\r\n.\r\n");
    const auto plain = ComposeTagMail(m, Now);
    QVERIFY(plain);
    QCOMPARE(plain->body, expected);
    // Direct text never attaches, so the file is not even looked at.
    m.attachmentPath = QStringLiteral("/nonexistent/a.pdf");
    m.directText = true;
    const auto direct = ComposeTagMail(m, Now);
    QVERIFY(direct);
    QCOMPARE(direct->body, expected);
}

void TestMailCompose::multipartBody()
{
    QTemporaryDir dir;
    // On this system a backslash is part of a name; the mail still names the part after it.
    MailContent m = sample();
    m.attachmentPath = dir.filePath(QStringLiteral("x\\a.txt"));
    QVERIFY(writeFile(m.attachmentPath, "hi"));
    const auto mail = ComposeTagMail(m, Now);
    QVERIFY(mail);
    QCOMPARE(mail->body,
             QByteArray("Subject: S\r\n"
                        "Content-Type: multipart/mixed; "
                        "boundary=\"boundary_36FC9E60-C465-11CF-8056-444553540000\"\r\n\r\n"
                        "This is a multi-part message in MIME format.\r\n\r\n"
                        "--boundary_36FC9E60-C465-11CF-8056-444553540000\r\n"
                        "Content-Type: text/plain; charset=iso-2022-jp\r\n"
                        "Content-Transfer-Encoding: 7bit\r\n\r\n"
                        "b\r\n\r\n"
                        "--boundary_36FC9E60-C465-11CF-8056-444553540000\r\n"
                        "Content-Type: text/plain; name=\"a.txt\"\r\n"
                        "Content-Transfer-Encoding: base64\r\n"
                        "Content-Disposition: inline; filename=\"a.txt\"\r\n\r\n"
                        "aGkA\r\n"
                        "\r\n--boundary_36FC9E60-C465-11CF-8056-444553540000--\r\n.\r\n"));
}

void TestMailCompose::refused_data()
{
    QTest::addColumn<QString>("field");
    QTest::addColumn<QString>("value");
    QTest::addColumn<QString>("error");
    const QString subject = QStringLiteral("件名に改行が含まれています。");
    const QString address = QStringLiteral("メールアドレスに改行が含まれています。");
    auto row = [&](const char *name, const char *field, const char *value, const QString &text) {
        QTest::newRow(name) << QString::fromUtf8(field) << QString::fromUtf8(value) << text;
    };
    row("subject CR LF", "subject", "x\r\nRCPT TO:<y@x.jp>", subject);
    row("subject LF", "subject", "x\n", subject);
    row("from", "from", "me@x.jp\r\n", address);
    row("to", "to", "a@x.jp\nbcc: <z@x.jp>", address);
    row("cc", "cc", "c@x.jp\r", address);
    row("bcc", "bcc", "\nd@x.jp", address);
    QTest::newRow("NUL in to") << QStringLiteral("to") << QStringLiteral("a@x.jp") + QChar(0)
                               << QStringLiteral("メールアドレスに制御文字が含まれています。");
    row("TAB in cc", "cc", "c@x\t.jp",
        QStringLiteral("メールアドレスに制御文字が含まれています。"));
    row("attachment", "attachment", "/nonexistent/a.pdf",
        QStringLiteral("添付ファイルを読み込めません: /nonexistent/a.pdf"));
}

void TestMailCompose::refused()
{
    QFETCH(QString, field);
    QFETCH(QString, value);
    QFETCH(QString, error);
    MailContent m = sample();
    if (field == QLatin1String("subject"))
        m.subject = value;
    else if (field == QLatin1String("from"))
        m.from = value;
    else if (field == QLatin1String("to"))
        m.to.append(value);
    else if (field == QLatin1String("cc"))
        m.cc.append(value);
    else if (field == QLatin1String("bcc"))
        m.bcc.append(value);
    else
        m.attachmentPath = value;
    QString why;
    QVERIFY(!ComposeTagMail(m, Now, &why));
    QCOMPARE(why, error);
}

void TestMailCompose::pythonReadsMultipart()
{
    if (QStandardPaths::findExecutable(QStringLiteral("python3")).isEmpty())
        QSKIP("python3 is not installed");
    QTemporaryDir dir;
    QByteArray file; // a length that is a multiple of 3 ends in "AA="
    for (int i = 0; i < 201; ++i)
        file += char(i * 7);
    MailContent m = sample();
    m.subject = QStringLiteral("会議の件");
    m.bcc = {QStringLiteral("d@example.jp")};
    m.body = QStringLiteral("本文です。\r\n.\r\n.end");
    m.attachmentPath = dir.filePath(QStringLiteral("報告書.pdf"));
    QVERIFY(writeFile(m.attachmentPath, file));
    const auto mail = ComposeTagMail(m, Now);
    QVERIFY(mail);
    const QJsonObject got = parsedByPython(*mail, dir.path());
    QVERIFY(!got.isEmpty());
    QCOMPARE(got[u"subject"].toString(), m.subject);
    QCOMPARE(got[u"to"].toArray(),
             QJsonArray({QStringLiteral("<a@example.jp>"), QStringLiteral("<b@example.jp>")}));
    QCOMPARE(got[u"bcc"].toArray(), QJsonArray({QStringLiteral("<d@example.jp>")}));
    QCOMPARE(got[u"date"].toString(), QStringLiteral("2024-05-01 09:59:59"));
    QCOMPARE(got[u"dateParses"].toBool(), false);
    QCOMPARE(got[u"defects"].toArray(), QJsonArray());
    // The lone dot arrives; a line that only begins with a dot loses it.
    QCOMPARE(got[u"text"].toString(), QStringLiteral("本文です。\r\n.\r\nend\r\n"));
    QCOMPARE(got[u"fileName"].toString(), QStringLiteral("報告書.pdf"));
    QCOMPARE(got[u"attachmentType"].toString(), QStringLiteral("application/pdf"));
    // The padding rule adds one zero byte to every attachment, and "AA=" lacks one "=".
    QCOMPARE(got[u"attachment"].toString().toLatin1(), (file + '\0').toHex());
    QCOMPARE(got[u"attachmentDefects"].toArray(),
             QJsonArray({QStringLiteral("InvalidBase64PaddingDefect")}));
}

QTEST_GUILESS_MAIN(TestMailCompose)
#include "tst_mailcompose.moc"
