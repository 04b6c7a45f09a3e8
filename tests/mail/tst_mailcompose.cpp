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
    void sjisToJis()
    {
        QCOMPARE(SjisToJis("a b\r\n"), "a b\r\n"_ba);
        // 亜唖 = 889F 88A0 -> 3021 3022, ending inside kanji
        QCOMPARE(SjisToJis("\x88\x9f\x88\xa0"), "\x1b$B0!0\"\x1b(J"_ba);
        QCOMPARE(SjisToJis("\xb1\xb2"), "\x1b(I12\x1b(J"_ba);
        QCOMPARE(SjisToJis("a\xb1\x88\x9f\x62\x81\x40"),
                 "a\x1b(I1\x1b$B0!\x1b(Jb\x1b$B!!\x1b(J"_ba);
        QCOMPARE(SjisToJis("\x88\x9f\r\n\x88\x9f"), "\x1b$B0!\x1b(J\r\n\x1b$B0!\x1b(J"_ba);
        // "&h9" sorts between "&h81" and "&h9F": a TAB is taken as kanji 0009 -> 1FEA.
        QCOMPARE(SjisToJis("a\tb"), "a\x1b$B\x1f\xea\x1b(Jb"_ba);
        // "&hFC4B" sorts past "&hFC": sent as it is.
        QCOMPARE(SjisToJis("\x88\x9f\xfc\x4b"), "\x1b$B0!\x1b(J\xfc\x4b"_ba);
        // A lead byte cut off at the end is one character "88" -> 0088 -> 1F68.
        QCOMPARE(SjisToJis("a\x88"), "a\x1b$B\x1f\x68\x1b(J"_ba);
    }
    void texts_data()
    {
        QTest::addColumn<char>("function"); // c: SjisCodeToJis, t: ContentTypeOf, d: DoubleLoneDots
        QTest::addColumn<QString>("in");
        QTest::addColumn<QString>("out");
        const auto row = [](char f, const QString &in, const QString &out) {
            QTest::addRow("%c %s", f, qPrintable(in)) << f << in << out;
        };
        row('c', u"9FFC"_s, u"5E7E"_s); // 滌
        row('c', u"E040"_s, u"5F21"_s); // 漾
        row('c', u"815b"_s, u"213C"_s); // ー
        row('c', u"9"_s, u"1FEA"_s);
        row('c', u"zz"_s, u"1FE1"_s); // not hex
        const QString other = u"application/octet-stream"_s;
        row('t', u"photo.JPG"_s, u"image/jpeg"_s);
        row('t', u"archive.tar.gz"_s, other); // from the first dot
        row('t', u"noext"_s, other);
        row('t', u"報告書.pdf"_s, u"application/pdf"_s);
        row('t', u"x.jar"_s, u"application/java-archiver"_s); // misspelt as always sent
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
    void base64()
    {
        QTemporaryDir dir;
        const auto encoded = [&](const QByteArray &content) {
            bool ok = writeFile(dir.filePath(u"f.bin"_s), content);
            const QByteArray out = Base64EncodeFile(dir.filePath(u"f.bin"_s), &ok);
            return ok ? out : "not read"_ba;
        };
        const QByteArray word("Pinboard");
        const QList<QByteArray> expected = {"AA=", "UAA=", "UGkA", "UGluAA="};
        for (int n = 0; n < expected.size(); ++n)
            QCOMPARE(encoded(word.first(n)), expected[n] + "\r\n");
        QByteArray hundred;
        for (int i = 0; i < 100; ++i)
            hundred += char(i);
        QCOMPARE(encoded(hundred),
                 "AAECAwQFBgcICQoLDA0ODxAREhMUFRYXGBkaGxwdHh8gISIjJCUmJygpKissLS4vMDEyMzQ1\r\n"
                 "Njc4OTo7PD0+P0BBQkNERUZHSElKS0xNTk9QUVJTVFVWV1hZWltcXV5fYGFiYwA=\r\n"_ba);
        const QByteArray xs72 = QByteArray("eHh4").repeated(18);
        QCOMPARE(encoded(QByteArray(53, 'x')), xs72.first(68) + "eHgA\r\n"); // one line exactly
        QCOMPARE(encoded(QByteArray(54, 'x')), xs72 + "\r\nAA=\r\n");
    }
    void headerBlock()
    {
        const auto header = [](const QStringList &cc, const QStringList &bcc) {
            MailContent m = sample();
            m.cc = cc;
            m.bcc = bcc;
            const auto mail = ComposeTagMail(m, Now);
            return mail ? mail->header : "refused"_ba;
        };
        const QByteArray head =
            "Reply-To: me@example.jp\r\nX-Mailer: Pinboard\r\nMIME-Version: 1.0\r\n"
            "X-Mozilla-Status: 0001\r\nDate: 2024-05-01 09:59:59\r\n"
            "From: <me@example.jp>\r\nTo: <a@example.jp>\r\nTo: <b@example.jp>\r\n";
        QCOMPARE(header({QString()}, {QString(), QString()}), head);
        QCOMPARE(header({u"c1@x.jp"_s, QString(), u"c2@x.jp"_s}, {}),
                 head + "cc: <c1@x.jp>\r\ncc: <c2@x.jp>\r\n");
        // Trimmed, and once each across To, Cc and Bcc.
        QCOMPARE(header({u" c@x.jp"_s, u"A@example.jp"_s}, {QString(), u"d@x.jp"_s}),
                 head + "cc: <c@x.jp>\r\nbcc: <d@x.jp>\r\n");
    }
    void body()
    {
        QTemporaryDir dir;
        const auto body = [&](const QString &attachment, bool directText) {
            MailContent m = sample();
            m.subject = u"件名"_s;
            m.body = u"本文\r\n.\r\n.end"_s;
            m.directText = directText;
            m.attachmentPath = attachment;
            const auto mail = ComposeTagMail(m, Now);
            return mail ? mail->body : "refused"_ba;
        };
        const QByteArray plain("Content-Type: text/plain; charset=iso-2022-jp\r\n"
                               "Content-Transfer-Encoding: 7bit\r\n");
        const QByteArray subject("Subject: \x1b$B7oL>\x1b(J\r\n"); // 件名
        const QByteArray text("\x1b$BK\\J8\x1b(J\r\n..\r\n.end");  // 本文, a lone dot doubled
        QCOMPARE(body({}, false), plain + subject + text + "\r\n.\r\n");
        // Direct text never attaches, so the file is not even looked at.
        QCOMPARE(body(u"/nonexistent/a.pdf"_s, true), plain + subject + text + "\r\n.\r\n");
        // On this system a backslash is part of a name; the mail names the part after it.
        QVERIFY(writeFile(dir.filePath(u"x\\報告.pdf"_s), "hi"));
        const QByteArray name("\x1b$BJs9p\x1b(J.pdf"); // 報告.pdf
        QCOMPARE(body(dir.filePath(u"x\\報告.pdf"_s), false),
                 subject + "Content-Type: multipart/mixed; boundary=\"" + Boundary.mid(2) +
                     "\"\r\n\r\nThis is a multi-part message in MIME format.\r\n\r\n" + Boundary +
                     "\r\n" + plain + "\r\n" + text + "\r\n\r\n" + Boundary +
                     "\r\nContent-Type: application/pdf; name=\"" + name +
                     "\"\r\nContent-Transfer-Encoding: base64\r\nContent-Disposition: inline; "
                     "filename=\"" +
                     name + "\"\r\n\r\naGkA\r\n\r\n" + Boundary + "--\r\n.\r\n");
    }
    void refused()
    {
        const auto why = [](void (*edit)(MailContent &)) {
            MailContent m = sample();
            edit(m);
            QString error;
            return ComposeTagMail(m, Now, &error) ? u"composed"_s : error;
        };
        const QString address = u"メールアドレスに改行が含まれています。"_s;
        QCOMPARE(why([](MailContent &m) { m.subject = u"x\r\nRCPT TO:<y@x.jp>"_s; }),
                 u"件名に改行が含まれています。"_s);
        QCOMPARE(why([](MailContent &m) { m.from = u"me@x.jp\r\n"_s; }), address);
        QCOMPARE(why([](MailContent &m) { m.bcc << u"\nd@x.jp"_s; }), address);
        QCOMPARE(why([](MailContent &m) { m.to << u"a@x.jp"_s + QChar(0); }),
                 u"メールアドレスに制御文字が含まれています。"_s);
        QCOMPARE(why([](MailContent &m) { m.attachmentPath = u"/nonexistent/a.pdf"_s; }),
                 u"添付ファイルを読み込めません: /nonexistent/a.pdf"_s);
    }
};
QTEST_GUILESS_MAIN(TestMailCompose)
#include "tst_mailcompose.moc"
