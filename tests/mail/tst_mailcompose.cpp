#include "mailcompose.h"
#include "testfiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {
const QDateTime Now(QDate(2024, 5, 1), QTime(9, 59, 59));

MailContent sample()
{
    MailContent m;
    m.from = u"me@example.jp"_s;
    m.to = {u"a@example.jp"_s, QString(), u"b@example.jp"_s};
    m.subject = u"S"_s;
    m.body = u"b"_s;
    return m;
}

const QByteArray Boundary = "--boundary_36FC9E60-C465-11CF-8056-444553540000";
} // namespace

class TestMailCompose : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void sjisToJis_data()
    {
        QTest::addColumn<QByteArray>("sjis");
        QTest::addColumn<QByteArray>("jis");
        QTest::newRow("ascii") << QByteArray("a b\r\n") << QByteArray("a b\r\n");
        // 亜唖 = 889F 88A0 -> 3021 3022, ending inside kanji
        QTest::newRow("kanji") << QByteArray("\x88\x9f\x88\xa0") << QByteArray("\x1b$B0!0\"\x1b(J");
        QTest::newRow("kana") << QByteArray("\xb1\xb2") << QByteArray("\x1b(I12\x1b(J");
        QTest::newRow("mixed") << QByteArray("a\xb1\x88\x9f\x62\x81\x40")
                               << QByteArray("a\x1b(I1\x1b$B0!\x1b(Jb\x1b$B!!\x1b(J");
        QTest::newRow("line break")
            << QByteArray("\x88\x9f\r\n\x88\x9f") << QByteArray("\x1b$B0!\x1b(J\r\n\x1b$B0!\x1b(J");
        // "&h9" sorts between "&h81" and "&h9F": a TAB is taken as kanji 0009 -> 1FEA.
        QTest::newRow("tab") << QByteArray("a\tb") << QByteArray("a\x1b$B\x1f\xea\x1b(Jb");
        // "&hFC4B" sorts past "&hFC": sent as it is.
        QTest::newRow("FC lead") << QByteArray("\x88\x9f\xfc\x4b")
                                 << QByteArray("\x1b$B0!\x1b(J\xfc\x4b");
        // A lead byte cut off at the end is one character "88" -> 0088 -> 1F68.
        QTest::newRow("cut lead") << QByteArray("a\x88") << QByteArray("a\x1b$B\x1f\x68\x1b(J");
    }
    void sjisToJis()
    {
        QFETCH(QByteArray, sjis);
        QFETCH(QByteArray, jis);
        QCOMPARE(SjisToJis(sjis), jis);
    }
    void texts_data()
    {
        QTest::addColumn<char>("function"); // c: SjisCodeToJis, t: ContentTypeOf, d: DoubleLoneDots
        QTest::addColumn<QString>("in");
        QTest::addColumn<QString>("out");
        const auto row = [](char f, const QString &in, const QString &out) {
            QTest::addRow("%c %s", f, qPrintable(in)) << f << in << out;
        };
        row('c', u"889F"_s, u"3021"_s); // 亜
        row('c', u"9FFC"_s, u"5E7E"_s); // 滌
        row('c', u"E040"_s, u"5F21"_s); // 漾
        row('c', u"815b"_s, u"213C"_s); // ー, 80 trail
        row('c', u"9"_s, u"1FEA"_s);
        row('c', u"zz"_s, u"1FE1"_s); // not hex
        const QString other = u"application/octet-stream"_s;
        row('t', u"photo.JPG"_s, u"image/jpeg"_s);
        row('t', u"archive.tar.gz"_s, other); // from the first dot
        row('t', u"noext"_s, other);
        row('t', u"報告書.pdf"_s, u"application/pdf"_s);
        row('t', u"x.jar"_s, u"application/java-archiver"_s); // misspelt as always sent
        row('t', u"x.avi"_s, u"vide/x-msvideo"_s);
        row('d', u"a\r\n.\r\nb"_s, u"a\r\n..\r\nb"_s);
        row('d', u".\r\nb"_s, u"..\r\nb"_s);
        row('d', u"a\r\n."_s, u"a\r\n.."_s);
        row('d', u".a\r\n..\r\n"_s, u".a\r\n..\r\n"_s);
        row('d', u"a\n.\nb"_s, u"a\r\n..\r\nb"_s); // bare LF
    }
    void texts()
    {
        QFETCH(char, function);
        QFETCH(QString, in);
        QFETCH(QString, out);
        QCOMPARE(function == 'c'   ? SjisCodeToJis(in)
                 : function == 't' ? ContentTypeOf(in)
                                   : DoubleLoneDots(in),
                 out);
    }
    void base64_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("expected");
        const QByteArray word("Pinboard");
        const QList<QByteArray> expected = {"AA=", "UAA=", "UGkA", "UGluAA="};
        for (int n = 0; n < expected.size(); ++n)
            QTest::addRow("n=%d", n) << word.first(n) << expected[n] + "\r\n";
        QByteArray hundred;
        for (int i = 0; i < 100; ++i)
            hundred += char(i);
        QTest::newRow("100 bytes")
            << hundred
            << "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1\r\n"
               "Njc4OTo7PD0+P0BBQkNERUZHSElKS0xNTk9QUVJTVFVWV1hZWltcXV5fYGFiYwA=\r\n"_ba;
        const QByteArray xs72 = QByteArray("eHh4").repeated(18);
        QTest::newRow("exactly one line") << QByteArray(53, 'x') << xs72.first(68) + "eHgA\r\n";
        QTest::newRow("AA= on its own line") << QByteArray(54, 'x') << xs72 + "\r\nAA=\r\n";
    }
    void base64()
    {
        QFETCH(QByteArray, content);
        QFETCH(QByteArray, expected);
        QTemporaryDir dir;
        const QString path = dir.filePath(u"f.bin"_s);
        QVERIFY(writeFile(path, content));
        bool ok = false;
        QCOMPARE(Base64EncodeFile(path, &ok), expected);
        QVERIFY(ok);
    }
    void headerBlock_data()
    {
        QTest::addColumn<QStringList>("cc");
        QTest::addColumn<QStringList>("bcc");
        QTest::addColumn<QByteArray>("tail");
        QTest::newRow("empty entries only")
            << QStringList{QString()} << QStringList{QString(), QString()} << QByteArray();
        QTest::newRow("cc") << QStringList{u"c1@x.jp"_s, QString(), u"c2@x.jp"_s} << QStringList()
                            << QByteArray("cc: <c1@x.jp>\r\ncc: <c2@x.jp>\r\n");
        QTest::newRow("cc and bcc, trimmed, once each")
            << QStringList{u" c@x.jp"_s, u"A@example.jp"_s} << QStringList{QString(), u"d@x.jp"_s}
            << QByteArray("cc: <c@x.jp>\r\nbcc: <d@x.jp>\r\n");
    }
    void headerBlock()
    {
        QFETCH(QStringList, cc);
        QFETCH(QStringList, bcc);
        QFETCH(QByteArray, tail);
        MailContent m = sample();
        m.cc = cc;
        m.bcc = bcc;
        const auto mail = ComposeTagMail(m, Now);
        QVERIFY(mail);
        QCOMPARE(mail->header,
                 "Reply-To: me@example.jp\r\nX-Mailer: Pinboard\r\nMIME-Version: 1.0\r\n"
                 "X-Mozilla-Status: 0001\r\nDate: 2024-05-01 09:59:59\r\n"
                 "From: <me@example.jp>\r\nTo: <a@example.jp>\r\nTo: <b@example.jp>\r\n" +
                     tail);
    }
    void body_data()
    {
        QTest::addColumn<QString>("attachment"); // a file of "hi" by this name, when not empty
        QTest::addColumn<bool>("directText");
        QTest::addColumn<QByteArray>("body");
        const QByteArray plain("Content-Type: text/plain; charset=iso-2022-jp\r\n"
                               "Content-Transfer-Encoding: 7bit\r\n");
        const QByteArray subject("Subject: \x1b$B7oL>\x1b(J\r\n"); // 件名
        const QByteArray text("\x1b$BK\\J8\x1b(J\r\n..\r\n.end");  // 本文, a lone dot doubled
        QTest::newRow("plain") << QString() << false << plain + subject + text + "\r\n.\r\n";
        // Direct text never attaches, so the file is not even looked at.
        QTest::newRow("direct text")
            << u"/nonexistent/a.pdf"_s << true << plain + subject + text + "\r\n.\r\n";
        // On this system a backslash is part of a name; the mail names the part after it.
        const QByteArray name("\x1b$BJs9p\x1b(J.pdf"); // 報告.pdf
        QTest::newRow("attached")
            << u"x\\報告.pdf"_s << false
            << subject + "Content-Type: multipart/mixed; boundary=\"" + Boundary.mid(2) +
                   "\"\r\n\r\nThis is a multi-part message in MIME format.\r\n\r\n" + Boundary +
                   "\r\n" + plain + "\r\n" + text + "\r\n\r\n" + Boundary +
                   "\r\nContent-Type: application/pdf; name=\"" + name +
                   "\"\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: inline; "
                   "filename=\"" +
                   name + "\"\r\n\r\naGkA\r\n\r\n" + Boundary + "--\r\n.\r\n";
    }
    void body()
    {
        QFETCH(QString, attachment);
        QFETCH(bool, directText);
        QFETCH(QByteArray, body);
        QTemporaryDir dir;
        MailContent m = sample();
        m.subject = u"件名"_s;
        m.body = u"本文\r\n.\r\n.end"_s;
        m.directText = directText;
        if (!attachment.isEmpty())
            m.attachmentPath = directText ? attachment : dir.filePath(attachment);
        QVERIFY(directText || attachment.isEmpty() || writeFile(m.attachmentPath, "hi"));
        const auto mail = ComposeTagMail(m, Now);
        QVERIFY(mail);
        QCOMPARE(mail->body, body);
    }
    void refused_data()
    {
        QTest::addColumn<QString>("field");
        QTest::addColumn<QString>("value");
        QTest::addColumn<QString>("error");
        const QString subject = u"件名に改行が含まれています。"_s;
        const QString address = u"メールアドレスに改行が含まれています。"_s;
        const QString control = u"メールアドレスに制御文字が含まれています。"_s;
        QTest::newRow("subject CR LF") << u"subject"_s << u"x\r\nRCPT TO:<y@x.jp>"_s << subject;
        QTest::newRow("from") << u"from"_s << u"me@x.jp\r\n"_s << address;
        QTest::newRow("to") << u"to"_s << u"a@x.jp\nbcc: <z@x.jp>"_s << address;
        QTest::newRow("NUL in to") << u"to"_s << u"a@x.jp"_s + QChar(0) << control;
        QTest::newRow("attachment") << u"attachment"_s << u"/nonexistent/a.pdf"_s
                                    << u"添付ファイルを読み込めません: /nonexistent/a.pdf"_s;
    }
    void refused()
    {
        QFETCH(QString, field);
        QFETCH(QString, value);
        QFETCH(QString, error);
        MailContent m = sample();
        const std::map<QString, QString *> texts = {
            {u"subject"_s, &m.subject}, {u"from"_s, &m.from}, {u"attachment"_s, &m.attachmentPath}};
        const std::map<QString, QStringList *> lists = {
            {u"to"_s, &m.to}, {u"cc"_s, &m.cc}, {u"bcc"_s, &m.bcc}};
        if (texts.count(field))
            *texts.at(field) = value;
        else
            lists.at(field)->append(value);
        QString why;
        QVERIFY(!ComposeTagMail(m, Now, &why));
        QCOMPARE(why, error);
    }
};
QTEST_GUILESS_MAIN(TestMailCompose)
#include "tst_mailcompose.moc"
