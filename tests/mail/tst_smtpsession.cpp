#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "mailsender.h"
#include "manualclock.h"
#include "scriptedprompt.h"
#include "smtpserverprocess.h"
#include "smtpsession.h"

#include <QElapsedTimer>
#include <QSignalSpy>
#include <QSysInfo>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using Mode = SmtpSession::Mode;
Q_DECLARE_METATYPE(SmtpSession::Mode)
Q_DECLARE_METATYPE(SmtpStep)
Q_DECLARE_METATYPE(SmtpFault)

namespace {
const QString Send = u"メール送信に失敗しました。　"_s;
const QString Test = u"接続テストに失敗しました。　"_s;
const QString Stamp = u"2024/05/01 09:59:59"_s;

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

const QString Ehlo = u"EHLO pc01"_s, Helo = u"HELO pc01"_s, Data = u"DATA"_s, Quit = u"QUIT"_s;
const QStringList Envelope = {u"MAIL FROM:<sender@example.com>"_s, u"RCPT TO:<a@example.com>"_s,
                              u"RCPT TO:<b@example.com>"_s, u"RCPT TO:<c@example.com>"_s,
                              u"RCPT TO:<d@example.com>"_s};
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
    void failureTexts_data()
    {
        QTest::addColumn<Mode>("mode");
        QTest::addColumn<SmtpStep>("step");
        QTest::addColumn<SmtpFault>("fault");
        QTest::addColumn<int>("code");
        QTest::addColumn<QString>("text");
        using S = SmtpStep;
        using F = SmtpFault;
        const auto row = [](Mode m, S s, F f, int code, const QString &text) {
            QTest::addRow("%d %d %d %d", int(m), int(s), int(f), code)
                << m << s << f << code
                << (text.isEmpty() ? text : (m == Mode::Send ? Send : Test) + text);
        };
        row(Mode::Send, S::Connect, F::TimeOut, 0, u"ioctlsocket Request Time Out Error"_s);
        row(Mode::Send, S::Greeting, F::SendError, 10004,
            u"ioctlsocket:呼び出しが取り消された。"_s);
        row(Mode::ConnectionTest, S::Greeting, F::Negative, 0,
            u"SMTP Server Error status Received (Connect)"_s);
        row(Mode::ConnectionTest, S::Helo, F::SendError, 10093,
            u"HELO SOL send:WSAStartup関数を呼び出していないか、失敗しています。"_s);
        row(Mode::Send, S::MailFrom, F::SendError, 10059, u"MAIL FROM send:(10059)"_s);
        row(Mode::Send, S::Data, F::SendError, -1, u"DATA send:(-1)"_s);
        row(Mode::ConnectionTest, S::Quit, F::SendError, 10060,
            u"QUIT send:接続処理タイムアウト。"_s);
        row(Mode::Send, S::Ehlo, F::Negative, 0, QString()); // falls back to HELO
    }
    void failureTexts()
    {
        QFETCH(Mode, mode);
        QFETCH(SmtpStep, step);
        QFETCH(SmtpFault, fault);
        QFETCH(int, code);
        QFETCH(QString, text);
        QCOMPARE(smtpFailureText(mode, step, fault, code), text);
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
        row("ehlo-5xx", T, 10000, {}, {Ehlo, Helo, Quit}, false);
        row("no-greeting", S, 800, timeOut(Send, "ioctlsocket Request"), {}, false);
        row("stall-EHLO", S, 800, timeOut(Send, "EHLO send"), {Ehlo}, false);
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
    void boundedBuffers_data()
    {
        QTest::addColumn<QString>("modes");
        QTest::addColumn<qint64>("received");
        QTest::addColumn<qsizetype>("least");
        QTest::addColumn<qsizetype>("most");
        QTest::newRow("line over 4 KiB") << u"long-line"_s << qint64(10004)
                                         << SmtpSession::MaxLineBytes << SmtpSession::MaxLineBytes;
        QTest::newRow("flood of continuation lines")
            << u"flood"_s << qint64(8 << 20) << SmtpSession::MaxReplyBytes - 200
            << SmtpSession::MaxReplyBytes + SmtpSession::MaxLineBytes;
    }
    void boundedBuffers()
    {
        QFETCH(QString, modes);
        QFETCH(qint64, received);
        QFETCH(qsizetype, least);
        QFETCH(qsizetype, most);
        ServerProcess server(m_dir->path());
        QVERIFY(server.start(modes));
        QSignalSpy done(m_session.get(), &SmtpSession::finished);
        m_session->start(Mode::ConnectionTest, settings(server.port, 2500), u"pc01"_s);
        QTRY_VERIFY_WITH_TIMEOUT(m_session->bytesReceived() >= received, 2400);
        QVERIFY(m_session->bufferedReplyBytes() >= least);
        QVERIFY(m_session->bufferedReplyBytes() <= most);
        QTRY_COMPARE(done.size(), 1);
        // The connection test has always shown this one without its prefix.
        QCOMPARE(done.first().at(1).toString(), u"EHLO send Time Out Error"_s);
        QTRY_VERIFY(server.sawClose());
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
    void messageLog_data()
    {
        QTest::addColumn<QByteArray>("message");
        QTest::addColumn<QString>("label");
        const QByteArray head = "Subject: s\r\n\r\n", tail = "\r\n.\r\n";
        const QByteArray exact = head + QByteArray(1000 - head.size() - tail.size(), 'a') + tail;
        const QString cut = u"\r\nSize(%1Byte) が大きいので以下省略]"_s;
        QTest::newRow("1000 characters whole")
            << exact << QString::fromLatin1(exact.chopped(2)) + u']';
        const QByteArray longer = head + QByteArray(2000, 'b') + tail;
        QTest::newRow("longer cut")
            << longer << QString::fromLatin1(longer.left(1000)) + cut.arg(2019);
        const QString wide = QString(1200, QChar(u'あ'));
        QTest::newRow("cut by characters, sized in bytes")
            << head + Cp932::encode(wide) + tail
            << QString::fromLatin1(head) + wide.left(1000 - head.size()) + cut.arg(2419);
    }
    void messageLog()
    {
        QFETCH(QByteArray, message);
        QFETCH(QString, label);
        QVERIFY(run(u"normal"_s, Mode::Send, sampleMail(message)));
        QVERIFY(m_ok);
        QVERIFY(logText().contains(Stamp + u" 127.0.0.1 SMTP-[Send Data:"_s + label + u"\r\n"_s));
        QCOMPARE(m_server->message(1), message); // the mail itself goes whole
    }
    void refusedBeforeConnecting_data()
    {
        QTest::addColumn<QString>("host");
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("bcc");
        QTest::addColumn<bool>("logging");
        QTest::addColumn<QString>("detail");
        QTest::addColumn<QString>("shown");
        const QString me = u"me@example.com"_s, local = u"127.0.0.1"_s;
        const QString lineBreak = Send + u"メールアドレスに改行文字が含まれています。"_s;
        const QString refused = Send + u"connect:接続が拒否された。"_s;
        const QString failed = u"E-Mailの送信に失敗しました。"_s;
        const QString seeLog = failed + u"詳細はログファイルを参照して下さい。"_s;
        const QString turnOnLog = u") 詳細はログファイルを記録する設定にして参照して下さい。"_s;
        QTest::newRow("line break in the sender") << local << me + u"\r\nRCPT TO:<x@example.com>"_s
                                                  << QString() << true << lineBreak << seeLog;
        QTest::newRow("line break in a recipient")
            << local << me << u"x@example.com\n"_s << true << lineBreak << seeLog;
        QTest::newRow("logging on, host not found")
            << QStringLiteral(UNRESOLVABLE_HOST) << me << QString() << true
            << Send + u"connect:ホストが見つからない。"_s << seeLog;
        QTest::newRow("logging off, refused")
            << local << me << QString() << false << refused << failed + u'(' + refused + turnOnLog;
    }
    // Through the sender that reports to the user; the port refuses any connection.
    void refusedBeforeConnecting()
    {
        QFETCH(QString, host);
        QFETCH(QString, from);
        QFETCH(QString, bcc);
        QFETCH(bool, logging);
        QFETCH(QString, detail);
        QFETCH(QString, shown);
        ScriptedPrompt prompt;
        MailSender sender(*m_log, m_clock, prompt);
        m_log->setEnabled(logging);
        QSignalSpy sent(&sender, &MailSender::sent);
        SmtpMail mail = sampleMail();
        mail.bcc << bcc;
        sender.send({host, closedPort(), from, 10000}, mail);
        QTRY_COMPARE(sent.size(), 1);
        QCOMPARE(sent.first(), QVariantList({false, detail}));
        QCOMPARE(prompt.shown, QStringList{shown});
        QCOMPARE(logText(), logging ? Stamp + u' ' + detail + u"\r\n"_s : QString());
    }
    void queuedMails()
    {
        ServerProcess server(m_dir->path());
        QVERIFY(server.start(u"multiline-split"_s));
        ScriptedPrompt prompt;
        MailSender sender(*m_log, m_clock, prompt);
        QSignalSpy sent(&sender, &MailSender::sent);
        QSignalSpy tested(&sender, &MailSender::testFinished);
        const SmtpMail first = sampleMail();
        const SmtpMail second{
            {u"e@example.com"_s}, {}, {}, "Subject: second\r\n\r\nagain\r\n.\r\n"};
        sender.send(settings(server.port), first);
        sender.send(settings(server.port), second);
        sender.runConnectionTest(settings(server.port));
        QVERIFY(sender.isBusy());
        QTRY_COMPARE_WITH_TIMEOUT(tested.size(), 1, 10000);
        QCOMPARE(sent, QList<QVariantList>({{true, QString()}, {true, QString()}}));
        QCOMPARE(prompt.shown, QStringList{u"接続テストに成功しました。"_s});
        QVERIFY(!sender.isBusy());
        QCOMPARE(server.message(1), first.message);
        QCOMPARE(server.message(2), second.message);
        // One session after the other, never overlapping.
        QTRY_COMPARE(server.events().count("CLOSED"), 3);
        const QString ehlo = u"EHLO "_s + QSysInfo::machineHostName().left(32);
        QCOMPARE(server.commands(),
                 (QStringList{ehlo} + Envelope +
                  QStringList{Data, Quit, ehlo, Envelope[0], u"RCPT TO:<e@example.com>"_s, Data,
                              Quit, ehlo, Quit}));
        QList<QByteArray> opens;
        for (const QByteArray &e : server.events())
            if (e == "OPEN" || e == "CLOSED")
                opens << e;
        QCOMPARE(opens, QList<QByteArray>({"OPEN", "CLOSED", "OPEN", "CLOSED", "OPEN", "CLOSED"}));
    }

private:
    SmtpSettings settings(quint16 port, int limitMs = 10000) const
    {
        return {u"127.0.0.1"_s, port, u"sender@example.com"_s, limitMs};
    }
    // One session against a fresh server, until it has finished.
    bool run(const QString &modes, Mode mode, const SmtpMail &mail = sampleMail(),
             int limitMs = 10000);
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
