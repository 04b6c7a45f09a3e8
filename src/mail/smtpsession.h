#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QTimer>

#include "smtpreplyreader.h"

class Clock;
class CommLog;
class EnvRecord;
class QTcpSocket;

struct SmtpSettings
{
    QString server; // host name or dotted IPv4 address
    quint16 port = 25;
    QString from;
    int timeLimitMs = 60000; // bounds the whole dialogue, connect to QUIT
};

// The session time limit of a time step 0-7: (step + 1) x 30 s.
int smtpTimeLimitMs(int step);
SmtpSettings smtpSettingsFrom(const EnvRecord &env);

struct SmtpMail
{
    QStringList to, cc, bcc;
    QByteArray message; // header block + body block, ends "\r\n.\r\n"
};

// Where a session stands; each step has its own failure texts.
enum class SmtpStep
{
    Connect,
    Greeting,
    Ehlo,
    Helo,
    MailFrom,
    RcptTo,
    Data,
    Body,
    Quit
};
enum class SmtpFault
{
    SendError,
    Negative,
    TimeOut
};

// One SMTP dialogue on a plain TCP socket, driven by socket signals and one
// session timer: connect, greeting, EHLO (HELO when refused), MAIL FROM, RCPT TO
// for every To, Cc and Bcc address, DATA, the message, QUIT. A connection test
// stops after EHLO/HELO and sends QUIT. No authentication, no TLS, no pipelining.
class SmtpSession : public QObject
{
    Q_OBJECT
public:
    enum class Mode
    {
        Send,
        ConnectionTest
    };

    static constexpr qsizetype MaxLineBytes = SmtpReplyReader::MaxLineBytes;
    static constexpr qsizetype MaxReplyBytes = SmtpReplyReader::MaxReplyBytes;

    SmtpSession(CommLog &log, const Clock &clock, QObject *parent = nullptr);
    ~SmtpSession() override;

    // false while a session runs.
    bool start(Mode mode, const SmtpSettings &settings, const QString &computerName,
               const SmtpMail &mail = {});
    bool isRunning() const { return m_running; }

    // Reply bytes held now (partial line and lines of an unfinished reply) and all
    // bytes received in this session: a flooding server cannot grow the first.
    qsizetype bufferedReplyBytes() const;
    qint64 bytesReceived() const { return m_received; }

Q_SIGNALS:
    // detail is empty on success; the socket is closed by then.
    void finished(bool ok, const QString &detail);

private:
    void onConnected();
    void onReadyRead();
    void onSocketError(int winsockError, bool closedByServer);
    void onTimeOut();
    void onReply(const QList<QByteArray> &lines);
    void afterHello();
    void nextRecipient();
    void sendCommand(SmtpStep step, const QString &command);
    void sendBody();
    void fail(SmtpFault fault, int winsockError = 0);
    void finish(bool ok, const QString &detail);
    void logLabel(const QString &label);

    CommLog &m_log;
    const Clock &m_clock;
    QTimer m_timer;
    QPointer<QTcpSocket> m_socket;
    bool m_running = false;
    quint64 m_generation = 0;

    Mode m_mode = Mode::Send;
    SmtpSettings m_settings;
    QString m_computerName;
    SmtpMail m_mail;
    QStringList m_recipients;
    qsizetype m_nextRecipient = 0;
    SmtpStep m_step = SmtpStep::Connect;
    QString m_peer;

    SmtpReplyReader m_reader;
    qint64 m_received = 0;
};

// The detail text of a failed step; empty for what is no failure (a refused EHLO
// falls back to HELO).
QString smtpFailureText(SmtpSession::Mode mode, SmtpStep step, SmtpFault fault,
                        int winsockError = 0);
// The detail of a mail whose sender or recipient holds a line break.
QString smtpLineBreakText();
