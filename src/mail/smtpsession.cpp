#include "smtpsession.h"

#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "envrecord.h"
#include "socketerrortext.h"

#include <QHostAddress>
#include <QNetworkProxy>
#include <QTcpSocket>

#include <algorithm>

namespace {

// The Windows Sockets code of a name that does not resolve.
constexpr int HostNotFound = 11001;
struct StepTexts
{
    const char16_t *sendError; // followed by the socket error text
    const char16_t *negative;  // nullptr: a refusal is no failure here
    const char16_t *timeOut;
};

// Indexed by SmtpStep.
constexpr StepTexts Texts[] = {
    {u"connect:", nullptr, u"ioctlsocket Request Time Out Error"},
    {u"ioctlsocket:", u"SMTP Server Error status Received (Connect)",
     u"ioctlsocket Request Time Out Error"},
    {u"EHLO SOL send:", nullptr, u"EHLO send Time Out Error"},
    {u"HELO SOL send:", u"SMTP Server Error status Received (HELO)", u"HELO send Time Out Error"},
    {u"MAIL FROM send:", u"SMTP Server Error status Received (MAIL FROM)",
     u"MAIL FROM send Time Out Error"},
    {u"RCPT TO send:", u"SMTP Server Error status Received (RCPT TO)",
     u"RCPT TO send Time Out Error"},
    {u"DATA send:", u"SMTP Server Error status Received (DATA)", u"DATA send Time Out Error"},
    {u"Body send:", u"SMTP Server Error status Received (Body)", u"Body send Time Out Error"},
    {u"QUIT send:", u"SMTP Server Error status Received (QUIT)", u"QUIT send Time Out Error"},
};
static_assert(std::size(Texts) == int(SmtpStep::Quit) + 1);

constexpr int MessageLogChars = 1000;

QString prefix(SmtpSession::Mode mode)
{
    return mode == SmtpSession::Mode::Send ? QStringLiteral("メール送信に失敗しました。　")
                                           : QStringLiteral("接続テストに失敗しました。　");
}

bool holdsLineBreak(const QString &text)
{
    return text.contains(u'\r') || text.contains(u'\n');
}
} // namespace

int smtpTimeLimitMs(int step)
{
    return (std::clamp(step, 0, 7) + 1) * 30000;
}

SmtpSettings smtpSettingsFrom(const EnvRecord &env)
{
    SmtpSettings s;
    s.server = env.text(Env::SmtpServer).trimmed();
    const qint32 port = env.longValue(Env::SmtpPort);
    s.port = port >= 0 && port <= 65535 ? quint16(port) : 0;
    s.from = env.text(Env::SmtpFrom);
    s.timeLimitMs = smtpTimeLimitMs(env.longValue(Env::SmtpTimeStep));
    return s;
}

QString smtpFailureText(SmtpSession::Mode mode, SmtpStep step, SmtpFault fault, int winsockError)
{
    const StepTexts &t = Texts[int(step)];
    switch (fault) {
    case SmtpFault::SendError:
        return prefix(mode) + QString::fromUtf16(t.sendError) + SocketErrorText(winsockError);
    case SmtpFault::Negative:
        return t.negative ? prefix(mode) + QString::fromUtf16(t.negative) : QString();
    case SmtpFault::TimeOut:
        // The connection test has always shown this one without its prefix.
        if (mode == SmtpSession::Mode::ConnectionTest && step == SmtpStep::Ehlo)
            return QString::fromUtf16(t.timeOut);
        return prefix(mode) + QString::fromUtf16(t.timeOut);
    }
    return {};
}

QString smtpLineBreakText()
{
    return prefix(SmtpSession::Mode::Send) +
           QStringLiteral("メールアドレスに改行文字が含まれています。");
}

SmtpSession::SmtpSession(CommLog &log, const Clock &clock, QObject *parent)
    : QObject(parent), m_log(log), m_clock(clock)
{
    m_timer.setSingleShot(true);
    connect(&m_timer, &QTimer::timeout, this, &SmtpSession::onTimeOut);
}

SmtpSession::~SmtpSession()
{
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
    }
}

bool SmtpSession::start(Mode mode, const SmtpSettings &settings, const QString &computerName,
                        const SmtpMail &mail)
{
    if (m_running)
        return false;
    m_running = true;
    const quint64 generation = ++m_generation;
    m_mode = mode;
    m_settings = settings;
    m_computerName = computerName;
    m_mail = mode == Mode::Send ? mail : SmtpMail();
    m_recipients.clear();
    bool lineBreak = mode == Mode::Send && holdsLineBreak(settings.from);
    for (const QStringList *list : {&m_mail.to, &m_mail.cc, &m_mail.bcc}) {
        for (const QString &address : *list) {
            lineBreak = lineBreak || holdsLineBreak(address);
            if (!address.trimmed().isEmpty())
                m_recipients << address.trimmed();
        }
    }
    m_nextRecipient = 0;
    m_step = SmtpStep::Connect;
    m_peer.clear();
    m_reader.clear();
    m_received = 0;
    m_timer.start(settings.timeLimitMs);

    // Everything else happens from the event loop, so finished() never comes
    // from inside start().
    if (lineBreak) {
        QTimer::singleShot(0, this, [this, generation] {
            if (generation == m_generation)
                finish(false, smtpLineBreakText());
        });
        return true;
    }
    auto *socket = new QTcpSocket(this);
    m_socket = socket;
    socket->setProxy(QNetworkProxy::NoProxy);
    // Qt stops reading from the system once this much waits, so a flooding
    // server is held back by TCP instead of filling memory.
    socket->setReadBufferSize(MaxReplyBytes);
    connect(socket, &QTcpSocket::connected, this, &SmtpSession::onConnected);
    connect(socket, &QTcpSocket::readyRead, this, &SmtpSession::onReadyRead);
    connect(socket, &QTcpSocket::errorOccurred, this, [this](QAbstractSocket::SocketError e) {
        onSocketError(winsockCode(e), e == QAbstractSocket::RemoteHostClosedError);
    });
    ResolveHost(settings.server, this, [this, generation](quint32 address) {
        if (generation != m_generation || !m_socket)
            return;
        if (address == InaddrNone)
            return fail(SmtpFault::SendError, HostNotFound);
        m_socket->connectToHost(QHostAddress(address), m_settings.port);
    });
    return true;
}

qsizetype SmtpSession::bufferedReplyBytes() const
{
    return m_reader.bufferedBytes();
}

void SmtpSession::onConnected()
{
    bool v4 = false;
    const quint32 address = m_socket->peerAddress().toIPv4Address(&v4);
    m_peer = v4 ? QHostAddress(address).toString() : m_socket->peerAddress().toString();
    logLabel(QStringLiteral("SMTP-[Connected]"));
    // A connected socket is writable at once.
    logLabel(QStringLiteral("SMTP-[Send Enabled]"));
    m_step = SmtpStep::Greeting;
}

void SmtpSession::onReadyRead()
{
    const quint64 generation = m_generation;
    const QByteArray chunk = m_socket->readAll();
    m_received += chunk.size();
    QByteArrayView rest(chunk);
    QList<QByteArray> reply;
    // A reply may end a session (or finish it and let the next one start), so
    // stop as soon as this session is over.
    while (generation == m_generation && m_reader.read(rest, &reply))
        onReply(reply);
}

void SmtpSession::onReply(const QList<QByteArray> &lines)
{
    if (m_log.isEnabled()) {
        logLabel(QStringLiteral("SMTP-[Received]"));
        for (const QByteArray &line : lines)
            m_log.writeLine(Cp932::decode(line));
    }
    const char first = lines.isEmpty() || lines.first().isEmpty() ? '\0' : lines.first().at(0);
    const bool positive = first == '2' || first == '3';
    if (!positive && m_step != SmtpStep::Ehlo) {
        fail(SmtpFault::Negative);
        return;
    }
    switch (m_step) {
    case SmtpStep::Connect:
        break;
    case SmtpStep::Greeting:
        sendCommand(SmtpStep::Ehlo, QStringLiteral("EHLO ") + m_computerName);
        break;
    case SmtpStep::Ehlo:
        if (positive)
            afterHello();
        else
            sendCommand(SmtpStep::Helo, QStringLiteral("HELO ") + m_computerName);
        break;
    case SmtpStep::Helo:
        afterHello();
        break;
    case SmtpStep::MailFrom:
    case SmtpStep::RcptTo:
        nextRecipient();
        break;
    case SmtpStep::Data:
        sendBody();
        break;
    case SmtpStep::Body:
        sendCommand(SmtpStep::Quit, QStringLiteral("QUIT"));
        break;
    case SmtpStep::Quit:
        finish(true, {});
        break;
    }
}

void SmtpSession::afterHello()
{
    if (m_mode == Mode::ConnectionTest)
        sendCommand(SmtpStep::Quit, QStringLiteral("QUIT"));
    else
        sendCommand(SmtpStep::MailFrom, QStringLiteral("MAIL FROM:<") + m_settings.from + u'>');
}

void SmtpSession::nextRecipient()
{
    if (m_nextRecipient < m_recipients.size())
        sendCommand(SmtpStep::RcptTo,
                    QStringLiteral("RCPT TO:<") + m_recipients.at(m_nextRecipient++) + u'>');
    else
        sendCommand(SmtpStep::Data, QStringLiteral("DATA"));
}

void SmtpSession::sendCommand(SmtpStep step, const QString &command)
{
    m_step = step;
    logLabel(QStringLiteral("SMTP-[Send Data:") + command + u']');
    const QByteArray bytes = Cp932::encode(command) + "\r\n";
    if (m_socket->write(bytes) != bytes.size())
        fail(SmtpFault::SendError, winsockCode(m_socket->error()));
}

void SmtpSession::sendBody()
{
    m_step = SmtpStep::Body;
    if (m_log.isEnabled()) {
        QString text = Cp932::decode(m_mail.message);
        if (text.size() <= MessageLogChars) {
            if (text.endsWith(u"\r\n"))
                text.chop(2);
            logLabel(QStringLiteral("SMTP-[Send Data:") + text + u']');
        } else {
            logLabel(QStringLiteral("SMTP-[Send Data:") + text.left(MessageLogChars) +
                     QStringLiteral("\r\nSize(") + QString::number(m_mail.message.size()) +
                     QStringLiteral("Byte) が大きいので以下省略]"));
        }
    }
    if (m_socket->write(m_mail.message) != m_mail.message.size())
        fail(SmtpFault::SendError, winsockCode(m_socket->error()));
}

void SmtpSession::onSocketError(int winsockError, bool closedByServer)
{
    if (closedByServer)
        logLabel(QStringLiteral("SMTP-[Closed]"));
    fail(SmtpFault::SendError, winsockError);
}

void SmtpSession::onTimeOut()
{
    if (m_running)
        fail(SmtpFault::TimeOut);
}

void SmtpSession::fail(SmtpFault fault, int winsockError)
{
    finish(false, smtpFailureText(m_mode, m_step, fault, winsockError));
}

void SmtpSession::finish(bool ok, const QString &detail)
{
    m_timer.stop();
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->abort();
        m_socket->deleteLater();
        m_socket = nullptr;
    }
    m_running = false;
    ++m_generation;
    m_reader.clear();
    m_mail = {};
    Q_EMIT finished(ok, detail);
}

void SmtpSession::logLabel(const QString &label)
{
    if (m_log.isEnabled())
        m_log.writeLine(CommLog::stamp(m_clock.now()) + u' ' + m_peer + u' ' + label);
}
