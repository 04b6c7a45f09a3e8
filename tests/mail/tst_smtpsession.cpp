#include "commlog.h"
#include "cp932.h"
#include "mailsender.h"
#include "manualclock.h"
#include "scriptedprompt.h"
#include "smtpreplyreader.h"
#include "smtpserverprocess.h"
#include "smtpsession.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTcpServer>
#include <QTemporaryDir>

using namespace Qt::StringLiterals;
using Mode = SmtpSession::Mode;
using Replies = QList<QList<QByteArray>>;
Q_DECLARE_METATYPE(SmtpSession::Mode)

namespace {
const QString Send = u"メール送信に失敗しました。　"_s, Test = u"接続テストに失敗しました。　"_s;
const QString Stamp = u"2024/05/01 09:59:59"_s;
const QString Ehlo = u"EHLO pc01"_s, Helo = u"HELO pc01"_s, Data = u"DATA"_s, Quit = u"QUIT"_s;
const QStringList Envelope = {u"MAIL FROM:<sender@example.com>"_s, u"RCPT TO:<a@example.com>"_s,
                              u"RCPT TO:<b@example.com>"_s, u"RCPT TO:<c@example.com>"_s,
                              u"RCPT TO:<d@example.com>"_s};

quint16 closedPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

SmtpMail sampleMail(const QByteArray &message = "Subject: test\r\n\r\nline one\r\n..dot\r\n.\r\n")
{
    return {{u"a@example.com"_s, u"b@example.com"_s},
            {u"c@example.com"_s},
            {QString(), u"d@example.com"_s},
            message};
}

// Every reply the reader completes from the stream cut into these pieces.
Replies readAll(SmtpReplyReader &reader, const QList<QByteArrayView> &pieces)
{
    Replies replies;
    QList<QByteArray> reply;
    for (QByteArrayView piece : pieces)
        while (reader.read(piece, &reply))
            replies << reply;
    return replies;
}
} // namespace

class TestSmtpSession : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_server.reset();
        m_dir = std::make_unique<QTemporaryDir>();
        m_log = std::make_unique<CommLog>(m_dir->filePath(u"Pinboard.log"_s), m_clock);
        m_log->setEnabled(true);
        m_session = std::make_unique<SmtpSession>(*m_log, m_clock);
    }
    void replyLimits()
    {
        SmtpReplyReader reader;
        const QByteArray longLine = "250 " + QByteArray(2 * SmtpReplyReader::MaxLineBytes, 'x');
        QCOMPARE(readAll(reader, {longLine, "\r\n"}),
                 Replies{{longLine.first(SmtpReplyReader::MaxLineBytes)}});
        const QByteArray line = "250-" + QByteArray(96, 'y') + "\r\n";
        QCOMPARE(readAll(reader, {line.repeated(2 * SmtpReplyReader::MaxReplyBytes / 100)}),
                 Replies{});
        QCOMPARE(reader.bufferedBytes(), SmtpReplyReader::MaxReplyBytes / 100 * 100);
        const Replies flooded = readAll(reader, {"250 end\r\n"});
        QCOMPARE(flooded[0].size(), SmtpReplyReader::MaxReplyBytes / 100 + 1);
        QCOMPARE(flooded[0].last(), "250 end"_ba);
    }
    void failureTexts()
    {
        QCOMPARE(smtpFailureText(Mode::ConnectionTest, SmtpStep::Helo, SmtpFault::SendError, 10093),
                 Test + u"HELO SOL send:WSAStartup関数を呼び出していないか、失敗しています。"_s);
        QCOMPARE(smtpFailureText(Mode::Send, SmtpStep::MailFrom, SmtpFault::SendError, 10059),
                 Send + u"MAIL FROM send:(10059)"_s);
        // The connection test has always shown this one without its prefix.
        QCOMPARE(smtpFailureText(Mode::ConnectionTest, SmtpStep::Ehlo, SmtpFault::TimeOut, 0),
                 u"EHLO send Time Out Error"_s);
        // A refused EHLO falls back to HELO.
        QCOMPARE(smtpFailureText(Mode::Send, SmtpStep::Ehlo, SmtpFault::Negative, 0), QString());
    }
    void dialogue_data()
    {
        QTest::addColumn<QString>("modes");
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<int>("limitMs");
        QTest::addColumn<QString>("detail"); // empty: success
        QTest::addColumn<QStringList>("commands");
        QTest::addColumn<bool>("delivered");
        const QStringList toData = QStringList{Ehlo} + Envelope + QStringList{Data};
        const QStringList full = toData + QStringList{Quit};
        const auto refused = [](const QString &prefix, const char *step) {
            return prefix + u"SMTP Server Error status Received ("_s + QLatin1String(step) + u')';
        };
        const auto timeOut = [](const QString &prefix, const char *step) {
            return prefix + QLatin1String(step) + u" Time Out Error"_s;
        };
        const auto row = [](const char *modes, Mode mode, int limitMs, const QString &detail,
                            const QStringList &commands, bool delivered) {
            QTest::addRow("%s %d", modes, int(mode))
                << QString::fromLatin1(modes) << mode << limitMs << detail << commands << delivered;
        };
        const Mode S = Mode::Send, T = Mode::ConnectionTest;
        row("normal", S, 10000, {}, full, true);
        row("ehlo-5xx", S, 10000, {}, QStringList{Ehlo, Helo} + full.mid(1), true);
        row("ehlo-and-helo-5xx", S, 10000, refused(Send, "HELO"), {Ehlo, Helo}, false);
        row("reject-GREETING", S, 10000, refused(Send, "Connect"), {}, false);
        row("reject-MAIL", S, 10000, refused(Send, "MAIL FROM"), {Ehlo, Envelope[0]}, false);
        row("rcpt-4xx", S, 10000, refused(Send, "RCPT TO"), toData.mid(0, 4), false);
        row("reject-DATA", S, 10000, refused(Send, "DATA"), toData, false);
        row("reject-BODY", S, 10000, refused(Send, "Body"), toData, true);
        row("reject-QUIT", S, 10000, refused(Send, "QUIT"), full, true);
        row("hangup-EHLO", S, 10000, Send + u"EHLO SOL send:リモートホストから切断された。"_s,
            {Ehlo}, false);
        row("normal", T, 10000, {}, {Ehlo, Quit}, false);
        row("no-greeting", S, 800, timeOut(Send, "ioctlsocket Request"), {}, false);
        row("stall-RCPT", S, 800, timeOut(Send, "RCPT TO send"), toData.mid(0, 3), false);
        row("stall-BODY", S, 800, timeOut(Send, "Body send"), toData, true);
        row("stall-QUIT", T, 800, timeOut(Test, "QUIT send"), {Ehlo, Quit}, false);
    }
    void dialogue()
    {
        QFETCH(QString, modes);
        QFETCH(Mode, mode);
        QFETCH(int, limitMs);
        QFETCH(QString, detail);
        QFETCH(QStringList, commands);
        QFETCH(bool, delivered);
        QVERIFY(run(modes, mode, sampleMail(), limitMs));
        QCOMPARE(m_ok, detail.isEmpty());
        QCOMPARE(m_detail, detail);
        if (detail.endsWith(u"Time Out Error"))
            QVERIFY(m_elapsed >= limitMs * 94 / 100); // a coarse timer may fire 5 % early
        QTRY_VERIFY(m_server->sawClose());
        QCOMPARE(m_server->commands(), commands);
        QVERIFY(!m_server->events().contains("EARLY"));
        QCOMPARE(m_server->message(1), delivered ? sampleMail().message : QByteArray());
        QCOMPARE(logText().contains(u"SMTP-[Closed]"_s), modes.startsWith(u"hangup"));
    }
    void oneTimerForTheWholeDialogue()
    {
        // Every reply comes well within the limit, but together they take longer.
        QVERIFY(run(u"slow"_s, Mode::Send, sampleMail(), 1000));
        QVERIFY(m_detail.endsWith(u" Time Out Error"_s));
        QVERIFY(m_server->commands().size() >= 2);
    }
    void logLines()
    {
        QVERIFY(run(u"midline-split,multiline-split"_s, Mode::ConnectionTest));
        const QString at = Stamp + u" 127.0.0.1 SMTP-["_s;
        QCOMPARE(logText().split(u"\r\n"_s),
                 QStringList({at + u"Connected]"_s, at + u"Send Enabled]"_s, at + u"Received]"_s,
                              u"220 pinboard ESMTP ready"_s, at + u"Send Data:EHLO pc01]"_s,
                              at + u"Received]"_s, u"250-localhost"_s, u"250-SIZE 1000000"_s,
                              u"250 HELP"_s, at + u"Send Data:QUIT]"_s, at + u"Received]"_s,
                              u"221 2.0.0 Bye"_s, QString()}));
    }
    // The log shows the mail's first 1000 characters; the server gets all of it.
    void messageLog()
    {
        const QByteArray head = "Subject: s\r\n\r\n", tail = "\r\n.\r\n";
        const QByteArray exact = head + QByteArray(1000 - head.size() - tail.size(), 'a') + tail;
        const QByteArray longer = head + QByteArray(2000, 'b') + tail;
        const QString wide(1200, QChar(u'あ')), cut = u"\r\nSize(%1Byte) が大きいので以下省略]"_s;
        const QList<std::pair<QByteArray, QString>> cases = {
            {exact, QString::fromLatin1(exact.chopped(2)) + u']'},
            {longer, QString::fromLatin1(longer.left(1000)) + cut.arg(2019)},
            {head + Cp932::encode(wide) + tail, // cut by characters, sized in bytes
             QString::fromLatin1(head) + wide.left(1000 - head.size()) + cut.arg(2419)}};
        for (const auto &[message, label] : cases) {
            QVERIFY(run(u"normal"_s, Mode::Send, sampleMail(message)));
            QVERIFY(m_ok);
            QVERIFY(
                logText().contains(Stamp + u" 127.0.0.1 SMTP-[Send Data:"_s + label + u"\r\n"_s));
            QCOMPARE(m_server->message(1), message);
        }
    }
    // Through the sender that reports to the user; the port refuses any connection.
    void refusedBeforeConnecting()
    {
        const QString failed = u"E-Mailの送信に失敗しました。"_s;
        const QString seeLog = failed + u"詳細はログファイルを参照して下さい。"_s;
        const QString refused = Send + u"connect:接続が拒否された。"_s;
        refuse(u"127.0.0.1"_s, u"me@x.jp\r\nRCPT TO:<x@x.jp>"_s, true,
               Send + u"メールアドレスに改行文字が含まれています。"_s, seeLog);
        refuse(QStringLiteral(UNRESOLVABLE_HOST), u"me@x.jp"_s, true,
               Send + u"connect:ホストが見つからない。"_s, seeLog);
        refuse(u"127.0.0.1"_s, u"me@x.jp"_s, false, refused,
               failed + u'(' + refused +
                   u") 詳細はログファイルを記録する設定にして参照して下さい。"_s);
    }
    // One session after the other, never overlapping.
    void queuedMails()
    {
        ServerProcess server(m_dir->path());
        QVERIFY(server.start(u"multiline-split"_s));
        ScriptedPrompt prompt;
        MailSender sender(*m_log, m_clock, prompt);
        QSignalSpy sent(&sender, &MailSender::sent);
        QSignalSpy tested(&sender, &MailSender::testFinished);
        const SmtpMail second{
            {u"e@example.com"_s}, {}, {}, "Subject: second\r\n\r\nagain\r\n.\r\n"};
        sender.send(settings(server.port), sampleMail());
        sender.send(settings(server.port), second);
        sender.runConnectionTest(settings(server.port));
        QVERIFY(sender.isBusy());
        QTRY_COMPARE_WITH_TIMEOUT(tested.size(), 1, 10000);
        QCOMPARE(sent, QList<QVariantList>({{true, QString()}, {true, QString()}}));
        QCOMPARE(prompt.shown, QStringList{u"接続テストに成功しました。"_s});
        QVERIFY(!sender.isBusy());
        QCOMPARE(server.message(1), sampleMail().message);
        QCOMPARE(server.message(2), second.message);
        QTRY_COMPARE(server.events().count("CLOSED"), 3);
        const QString ehlo = u"EHLO "_s + QSysInfo::machineHostName().left(32);
        QCOMPARE(server.commands(),
                 (QStringList{ehlo} + Envelope +
                  QStringList{Data, Quit, ehlo, Envelope[0], u"RCPT TO:<e@example.com>"_s, Data,
                              Quit, ehlo, Quit}));
        QByteArray order;
        for (const QByteArray &e : server.events())
            order += e == "OPEN" ? "(" : e == "CLOSED" ? ")" : "";
        QCOMPARE(order, "()()()"_ba);
    }

private:
    SmtpSettings settings(quint16 port, int limitMs = 10000) const
    {
        return {u"127.0.0.1"_s, port, u"sender@example.com"_s, limitMs};
    }
    // One session against a fresh server, until it has finished.
    bool run(const QString &modes, Mode mode, const SmtpMail &mail = sampleMail(),
             int limitMs = 10000);
    void refuse(const QString &host, const QString &from, bool logging, const QString &detail,
                const QString &shown)
    {
        ScriptedPrompt prompt;
        MailSender sender(*m_log, m_clock, prompt);
        m_log->setEnabled(logging);
        QFile::remove(m_log->path());
        QSignalSpy sent(&sender, &MailSender::sent);
        sender.send({host, closedPort(), from, 10000}, sampleMail());
        QTRY_COMPARE(sent.size(), 1);
        QCOMPARE(sent.first(), QVariantList({false, detail}));
        QCOMPARE(prompt.shown, QStringList{shown});
        QCOMPARE(logText(), logging ? Stamp + u' ' + detail + u"\r\n"_s : QString());
    }
    QString logText() const { return Cp932::decode(fileBytes(m_log->path())); }

    std::unique_ptr<QTemporaryDir> m_dir;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59))};
    std::unique_ptr<CommLog> m_log;
    std::unique_ptr<SmtpSession> m_session;
    std::unique_ptr<ServerProcess> m_server;
    bool m_ok = false;
    QString m_detail;
    qint64 m_elapsed = 0;
};

bool TestSmtpSession::run(const QString &modes, Mode mode, const SmtpMail &mail, int limitMs)
{
    m_server = std::make_unique<ServerProcess>(m_dir->path());
    if (!m_server->start(modes))
        return false;
    QSignalSpy done(m_session.get(), &SmtpSession::finished);
    QElapsedTimer elapsed;
    elapsed.start();
    const SmtpSettings s = settings(m_server->port, limitMs);
    // A second start while one runs is refused.
    if (!m_session->start(mode, s, u"pc01"_s, mail) || m_session->start(mode, s, u"pc01"_s, mail))
        return false;
    if (!QTest::qWaitFor([&] { return !done.isEmpty(); }, limitMs + 5000))
        return false;
    m_elapsed = elapsed.elapsed();
    m_ok = done.first().at(0).toBool();
    m_detail = done.first().at(1).toString();
    return !m_session->isRunning();
}

QTEST_GUILESS_MAIN(TestSmtpSession)
#include "tst_smtpsession.moc"
