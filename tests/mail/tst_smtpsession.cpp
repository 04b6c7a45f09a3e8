#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "envrecord.h"
#include "mailsender.h"
#include "manualclock.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "smtpserverprocess.h"
#include "smtpsession.h"

#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QSysInfo>
#include <QTcpServer>
#include <QTemporaryDir>
#include <QTest>

using Mode = SmtpSession::Mode;
Q_DECLARE_METATYPE(SmtpSession::Mode)
Q_DECLARE_METATYPE(SmtpStep)
Q_DECLARE_METATYPE(SmtpFault)

namespace {
const QString Send = QStringLiteral("メール送信に失敗しました。　");
const QString Test = QStringLiteral("接続テストに失敗しました。　");
const QString Stamp = QStringLiteral("2024/05/01 09:59:59");

quint16 closedPort()
{
    QTcpServer server;
    server.listen(QHostAddress::LocalHost);
    return server.serverPort();
}

SmtpMail sampleMail()
{
    SmtpMail mail;
    mail.to = {QStringLiteral("a@example.com"), QStringLiteral("b@example.com")};
    mail.cc = {QStringLiteral("c@example.com")};
    mail.bcc = {QString(), QStringLiteral("d@example.com")};
    mail.message = "Subject: test\r\n\r\nline one\r\n..dot stuffed\r\n.\r\n";
    return mail;
}

const QString Ehlo = QStringLiteral("EHLO pc01"), Helo = QStringLiteral("HELO pc01"),
              Data = QStringLiteral("DATA"), Quit = QStringLiteral("QUIT");
const QStringList Envelope = {
    QStringLiteral("MAIL FROM:<sender@example.com>"), QStringLiteral("RCPT TO:<a@example.com>"),
    QStringLiteral("RCPT TO:<b@example.com>"), QStringLiteral("RCPT TO:<c@example.com>"),
    QStringLiteral("RCPT TO:<d@example.com>")};
} // namespace

class TestSmtpSession : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void failureTexts_data();
    void failureTexts();
    void dialogue_data();
    void dialogue();
    void oneTimerForTheWholeDialogue();
    void boundedBuffers_data();
    void boundedBuffers();
    void lineBreaksRefused_data();
    void lineBreaksRefused();
    void logLines();
    void messageLog_data();
    void messageLog();
    void failureReport_data();
    void failureReport();
    void queuedMails();

private:
    SmtpSettings settings(quint16 port, int limitMs = 10000) const
    {
        return {QStringLiteral("127.0.0.1"), port, QStringLiteral("sender@example.com"), limitMs};
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

void TestSmtpSession::init()
{
    m_server.reset();
    m_dir = std::make_unique<QTemporaryDir>();
    m_log = std::make_unique<CommLog>(m_dir->filePath(QStringLiteral("Pinboard.log")), m_clock);
    m_session = std::make_unique<SmtpSession>(*m_log, m_clock);
}

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
    if (!m_session->start(mode, s, QStringLiteral("pc01"), mail) ||
        m_session->start(mode, s, QStringLiteral("pc01"), mail))
        return false;
    if (!QTest::qWaitFor([&] { return !done.isEmpty(); }, limitMs + 5000))
        return false;
    m_elapsed = elapsed.elapsed();
    m_ok = done.first().at(0).toBool();
    m_detail = done.first().at(1).toString();
    return !m_session->isRunning();
}

void TestSmtpSession::failureTexts_data()
{
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<SmtpStep>("step");
    QTest::addColumn<SmtpFault>("fault");
    QTest::addColumn<int>("code");
    QTest::addColumn<QString>("text");
    using S = SmtpStep;
    using F = SmtpFault;
    const auto row = [](const char *name, Mode m, S s, F f, int code, const char *text) {
        QTest::newRow(name) << m << s << f << code
                            << (m == Mode::Send ? Send : Test) + QString::fromUtf8(text);
    };
    row("connect time-out", Mode::Send, S::Connect, F::TimeOut, 0,
        "ioctlsocket Request Time Out Error");
    row("greeting", Mode::Send, S::Greeting, F::SendError, 10004,
        "ioctlsocket:呼び出しが取り消された。");
    row("greeting refused", Mode::ConnectionTest, S::Greeting, F::Negative, 0,
        "SMTP Server Error status Received (Connect)");
    row("HELO", Mode::ConnectionTest, S::Helo, F::SendError, 10093,
        "HELO SOL send:WSAStartup関数を呼び出していないか、失敗しています。");
    row("MAIL", Mode::Send, S::MailFrom, F::SendError, 10059, "MAIL FROM send:(10059)");
    row("DATA", Mode::Send, S::Data, F::SendError, -1, "DATA send:(-1)");
    row("QUIT", Mode::ConnectionTest, S::Quit, F::SendError, 10060,
        "QUIT send:接続処理タイムアウト。");
    QTest::newRow("EHLO refused falls back")
        << Mode::Send << S::Ehlo << F::Negative << 0 << QString();
}

void TestSmtpSession::failureTexts()
{
    QFETCH(Mode, mode);
    QFETCH(SmtpStep, step);
    QFETCH(SmtpFault, fault);
    QFETCH(int, code);
    QFETCH(QString, text);
    QCOMPARE(smtpFailureText(mode, step, fault, code), text);
}

void TestSmtpSession::dialogue_data()
{
    QTest::addColumn<QString>("modes");
    QTest::addColumn<Mode>("mode");
    QTest::addColumn<int>("limitMs");
    QTest::addColumn<QString>("detail"); // empty: success
    QTest::addColumn<QStringList>("commands");
    QTest::addColumn<bool>("delivered");
    const QStringList full = QStringList{Ehlo} + Envelope + QStringList{Data, Quit};
    const QStringList toData = QStringList{Ehlo} + Envelope + QStringList{Data};
    const auto refused = [](const QString &prefix, const char *step) {
        return prefix + QStringLiteral("SMTP Server Error status Received (") +
               QLatin1String(step) + u')';
    };
    const auto timeOut = [](const QString &prefix, const char *step) {
        return prefix + QLatin1String(step) + QStringLiteral(" Time Out Error");
    };
    const auto row = [](const char *name, const char *modes, Mode mode, int limitMs,
                        const QString &detail, const QStringList &commands, bool delivered) {
        QTest::newRow(name) << QString::fromLatin1(modes) << mode << limitMs << detail << commands
                            << delivered;
    };
    row("send", "normal", Mode::Send, 10000, {}, full, true);
    row("EHLO refused, HELO taken", "ehlo-5xx", Mode::Send, 10000, {},
        QStringList{Ehlo, Helo} + Envelope + QStringList{Data, Quit}, true);
    row("EHLO and HELO refused", "ehlo-and-helo-5xx", Mode::Send, 10000, refused(Send, "HELO"),
        {Ehlo, Helo}, false);
    row("greeting refused", "reject-GREETING", Mode::Send, 10000, refused(Send, "Connect"), {},
        false);
    row("sender refused", "reject-MAIL", Mode::Send, 10000, refused(Send, "MAIL FROM"),
        {Ehlo, Envelope[0]}, false);
    row("second recipient busy", "rcpt-4xx", Mode::Send, 10000, refused(Send, "RCPT TO"),
        QStringList{Ehlo} + Envelope.mid(0, 3), false);
    row("DATA refused", "reject-DATA", Mode::Send, 10000, refused(Send, "DATA"), toData, false);
    row("message refused", "reject-BODY", Mode::Send, 10000, refused(Send, "Body"), toData, true);
    row("QUIT refused", "reject-QUIT", Mode::Send, 10000, refused(Send, "QUIT"), full, true);
    row("server hangs up", "hangup-EHLO", Mode::Send, 10000,
        Send + QStringLiteral("EHLO SOL send:リモートホストから切断された。"), {Ehlo}, false);
    row("test", "normal", Mode::ConnectionTest, 10000, {}, {Ehlo, Quit}, false);
    row("test, EHLO refused", "ehlo-5xx", Mode::ConnectionTest, 10000, {}, {Ehlo, Helo, Quit},
        false);
    row("no greeting", "no-greeting", Mode::Send, 800, timeOut(Send, "ioctlsocket Request"), {},
        false);
    row("EHLO unanswered", "stall-EHLO", Mode::Send, 800, timeOut(Send, "EHLO send"), {Ehlo},
        false);
    row("RCPT unanswered", "stall-RCPT", Mode::Send, 800, timeOut(Send, "RCPT TO send"),
        {Ehlo, Envelope[0], Envelope[1]}, false);
    row("message unanswered", "stall-BODY", Mode::Send, 800, timeOut(Send, "Body send"), toData,
        true);
    row("test, QUIT unanswered", "stall-QUIT", Mode::ConnectionTest, 800,
        timeOut(Test, "QUIT send"), {Ehlo, Quit}, false);
}

void TestSmtpSession::dialogue()
{
    QFETCH(QString, modes);
    QFETCH(Mode, mode);
    QFETCH(int, limitMs);
    QFETCH(QString, detail);
    QFETCH(QStringList, commands);
    QFETCH(bool, delivered);
    m_log->setEnabled(true);
    QVERIFY(run(modes, mode, sampleMail(), limitMs));
    QCOMPARE(m_ok, detail.isEmpty());
    QCOMPARE(m_detail, detail);
    if (detail.endsWith(u"Time Out Error"))
        QVERIFY(m_elapsed >= limitMs * 94 / 100); // a coarse timer may fire 5 % early
    QTRY_VERIFY(m_server->sawClose());
    QCOMPARE(m_server->commands(), commands);
    QVERIFY(!m_server->events().contains("EARLY"));
    QCOMPARE(m_server->message(1), delivered ? sampleMail().message : QByteArray());
    QCOMPARE(logText().contains(QStringLiteral("SMTP-[Closed]")), modes.startsWith(u"hangup"));
}

void TestSmtpSession::oneTimerForTheWholeDialogue()
{
    // Every reply comes well within the limit, but together they take longer.
    QVERIFY(run(QStringLiteral("slow"), Mode::Send, sampleMail(), 1000));
    QVERIFY(m_detail.endsWith(QStringLiteral(" Time Out Error")));
    QVERIFY(m_server->commands().size() >= 2);
}

void TestSmtpSession::boundedBuffers_data()
{
    QTest::addColumn<QString>("modes");
    QTest::addColumn<qint64>("received");
    QTest::addColumn<qsizetype>("least");
    QTest::addColumn<qsizetype>("most");
    QTest::newRow("line over 4 KiB") << QStringLiteral("long-line") << qint64(10004)
                                     << SmtpSession::MaxLineBytes << SmtpSession::MaxLineBytes;
    QTest::newRow("flood of continuation lines")
        << QStringLiteral("flood") << qint64(8 << 20) << SmtpSession::MaxReplyBytes - 200
        << SmtpSession::MaxReplyBytes + SmtpSession::MaxLineBytes;
}

void TestSmtpSession::boundedBuffers()
{
    QFETCH(QString, modes);
    QFETCH(qint64, received);
    QFETCH(qsizetype, least);
    QFETCH(qsizetype, most);
    ServerProcess server(m_dir->path());
    QVERIFY(server.start(modes));
    QSignalSpy done(m_session.get(), &SmtpSession::finished);
    m_session->start(Mode::ConnectionTest, settings(server.port, 2500), QStringLiteral("pc01"));
    QTRY_VERIFY_WITH_TIMEOUT(m_session->bytesReceived() >= received, 2400);
    QVERIFY(m_session->bufferedReplyBytes() >= least);
    QVERIFY(m_session->bufferedReplyBytes() <= most);
    QTRY_COMPARE(done.size(), 1);
    // The connection test has always shown this one without its prefix.
    QCOMPARE(done.first().at(1).toString(), QStringLiteral("EHLO send Time Out Error"));
    QTRY_VERIFY(server.sawClose());
}

void TestSmtpSession::lineBreaksRefused_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("bcc");
    QTest::newRow("sender") << QStringLiteral("me@example.com\r\nRCPT TO:<x@example.com>")
                            << QString();
    QTest::newRow("recipient") << QStringLiteral("me@example.com")
                               << QStringLiteral("x@example.com\n");
}

void TestSmtpSession::lineBreaksRefused()
{
    QFETCH(QString, from);
    QFETCH(QString, bcc);
    QSignalSpy done(m_session.get(), &SmtpSession::finished);
    SmtpSettings s = settings(closedPort()); // a connection would be refused
    s.from = from;
    SmtpMail mail = sampleMail();
    mail.bcc << bcc;
    m_session->start(Mode::Send, s, QStringLiteral("pc01"), mail);
    QTRY_COMPARE(done.size(), 1);
    QCOMPARE(done.first().at(1).toString(),
             Send + QStringLiteral("メールアドレスに改行文字が含まれています。"));
}

void TestSmtpSession::logLines()
{
    m_log->setEnabled(true);
    QVERIFY(run(QStringLiteral("midline-split,multiline-split"), Mode::ConnectionTest));
    const QString at = Stamp + QStringLiteral(" 127.0.0.1 ");
    const QStringList expected = {at + QStringLiteral("SMTP-[Connected]"),
                                  at + QStringLiteral("SMTP-[Send Enabled]"),
                                  at + QStringLiteral("SMTP-[Received]"),
                                  QStringLiteral("220 pinboard ESMTP ready"),
                                  at + QStringLiteral("SMTP-[Send Data:EHLO pc01]"),
                                  at + QStringLiteral("SMTP-[Received]"),
                                  QStringLiteral("250-localhost"),
                                  QStringLiteral("250-SIZE 1000000"),
                                  QStringLiteral("250 HELP"),
                                  at + QStringLiteral("SMTP-[Send Data:QUIT]"),
                                  at + QStringLiteral("SMTP-[Received]"),
                                  QStringLiteral("221 2.0.0 Bye"),
                                  QString()};
    QCOMPARE(logText().split(QStringLiteral("\r\n")), expected);
}

void TestSmtpSession::messageLog_data()
{
    QTest::addColumn<QByteArray>("message");
    QTest::addColumn<QString>("label");
    const QByteArray head = "Subject: s\r\n\r\n", tail = "\r\n.\r\n";
    const QByteArray exact = head + QByteArray(1000 - head.size() - tail.size(), 'a') + tail;
    const QString cut = QStringLiteral("\r\nSize(%1Byte) が大きいので以下省略]");
    QTest::newRow("1000 characters whole") << exact << QString::fromLatin1(exact.chopped(2)) + u']';
    const QByteArray longer = head + QByteArray(2000, 'b') + tail;
    QTest::newRow("longer cut") << longer << QString::fromLatin1(longer.left(1000)) + cut.arg(2019);
    const QString wide = QString(1200, QChar(u'あ'));
    QTest::newRow("cut by characters, sized in bytes")
        << head + Cp932::encode(wide) + tail
        << QString::fromLatin1(head) + wide.left(1000 - head.size()) + cut.arg(2419);
}

void TestSmtpSession::messageLog()
{
    QFETCH(QByteArray, message);
    QFETCH(QString, label);
    m_log->setEnabled(true);
    SmtpMail mail = sampleMail();
    mail.message = message;
    QVERIFY(run(QStringLiteral("normal"), Mode::Send, mail));
    QVERIFY(m_ok);
    QVERIFY(logText().contains(Stamp + QStringLiteral(" 127.0.0.1 SMTP-[Send Data:") + label +
                               QStringLiteral("\r\n")));
    QCOMPARE(m_server->message(1), message); // the mail itself goes whole
}

void TestSmtpSession::failureReport_data()
{
    QTest::addColumn<QString>("host");
    QTest::addColumn<bool>("logging");
    QTest::addColumn<QString>("detail");
    QTest::addColumn<QString>("shown");
    QTest::newRow("logging on, host not found")
        << QStringLiteral(UNRESOLVABLE_HOST) << true
        << Send + QStringLiteral("connect:ホストが見つからない。")
        << QStringLiteral("E-Mailの送信に失敗しました。詳細はログファイルを参照して下さい。");
    const QString refused = Send + QStringLiteral("connect:接続が拒否された。");
    QTest::newRow("logging off, refused")
        << QStringLiteral("127.0.0.1") << false << refused
        << QStringLiteral("E-Mailの送信に失敗しました。(") + refused +
               QStringLiteral(") 詳細はログファイルを記録する設定にして参照して下さい。");
}

void TestSmtpSession::failureReport()
{
    QFETCH(QString, host);
    QFETCH(bool, logging);
    QFETCH(QString, detail);
    QFETCH(QString, shown);
    ScriptedPrompt prompt;
    MailSender sender(*m_log, m_clock, prompt);
    m_log->setEnabled(logging);
    QSignalSpy sent(&sender, &MailSender::sent);
    SmtpSettings s = settings(closedPort());
    s.server = host;
    sender.send(s, sampleMail());
    QTRY_COMPARE(sent.size(), 1);
    QCOMPARE(sent.first(), QVariantList({false, detail}));
    QCOMPARE(prompt.shown, QStringList{shown});
    QCOMPARE(fileBytes(m_log->path()),
             logging ? Cp932::encode(QString(Stamp + u' ' + detail + QStringLiteral("\r\n")))
                     : QByteArray());
}

void TestSmtpSession::queuedMails()
{
    ServerProcess server(m_dir->path());
    QVERIFY(server.start(QStringLiteral("multiline-split")));
    ScriptedPrompt prompt;
    MailSender sender(*m_log, m_clock, prompt);
    QSignalSpy sent(&sender, &MailSender::sent);
    QSignalSpy tested(&sender, &MailSender::testFinished);
    SmtpMail first = sampleMail(), second;
    second.to = QStringList{QStringLiteral("e@example.com")};
    second.message = "Subject: second\r\n\r\nagain\r\n.\r\n";
    sender.send(settings(server.port), first);
    sender.send(settings(server.port), second);
    sender.runConnectionTest(settings(server.port));
    QVERIFY(sender.isBusy());
    QTRY_COMPARE_WITH_TIMEOUT(tested.size(), 1, 10000);
    QCOMPARE(sent, QList<QVariantList>({{true, QString()}, {true, QString()}}));
    QCOMPARE(prompt.shown, QStringList{QStringLiteral("接続テストに成功しました。")});
    QVERIFY(!sender.isBusy());
    QCOMPARE(server.message(1), first.message);
    QCOMPARE(server.message(2), second.message);
    // One session after the other, never overlapping.
    QTRY_COMPARE(server.events().count("CLOSED"), 3);
    const QString ehlo = QStringLiteral("EHLO ") + QSysInfo::machineHostName().left(32);
    QStringList expected = QStringList{ehlo} + Envelope + QStringList{Data, Quit, ehlo};
    expected << Envelope[0] << QStringLiteral("RCPT TO:<e@example.com>") << Data << Quit << ehlo
             << Quit;
    QCOMPARE(server.commands(), expected);
    QList<QByteArray> opens;
    for (const QByteArray &e : server.events())
        if (e == "OPEN" || e == "CLOSED")
            opens << e;
    QCOMPARE(opens, QList<QByteArray>({"OPEN", "CLOSED", "OPEN", "CLOSED", "OPEN", "CLOSED"}));
}

QTEST_GUILESS_MAIN(TestSmtpSession)
#include "tst_smtpsession.moc"
