#include "netcommand.h"

#include "consoleprompt.h"

#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "datagram.h"
#include "fileset.h"
#include "netendpoint.h"
#include "netlog.h"
#include "prompt.h"
#include "tagsender.h"
#include "tagstore.h"
#include "tagwire.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QTimer>
#include <QUdpSocket>

namespace Cli {

namespace {
constexpr const char *Usage =
    "usage: pinboard-cli net-send [DIR] --to ADDR --type N|tag [--text T] [--port P] [--bind ADDR]"
    " | net-listen [DIR] [--seconds S] [--port P] [--bind ADDR]"
    " | net-tag DIR --to ADDR[,ADDR...] --text T [--seconds S] [--bind ADDR]";

QString faultText(Net::Fault f)
{
    switch (f) {
    case Net::Fault::None:
        return {};
    case Net::Fault::Empty:
        return QStringLiteral("empty");
    case Net::Fault::TooShort:
        return QStringLiteral("too short");
    case Net::Fault::TooLong:
        return QStringLiteral("too long");
    case Net::Fault::BadText:
        return QStringLiteral("not CP932");
    case Net::Fault::NoName:
        return QStringLiteral("no name");
    }
    return {};
}

// Takes "--name value" out of args; nullopt when absent, an empty string when
// the value is missing.
std::optional<QString> take(QStringList &args, const char *name)
{
    const qsizetype at = args.indexOf(QLatin1String(name));
    if (at < 0)
        return std::nullopt;
    const QString value = args.value(at + 1);
    args.remove(at, at + 1 < args.size() ? 2 : 1);
    return value;
}
} // namespace

QString describeDatagram(quint32 from, const QByteArray &bytes)
{
    const Net::Code code = bytes.isEmpty() ? Net::TagData : Net::codeOf(uchar(bytes.at(0)));
    QString line = NetLog::AddrToText(from) + u' ' +
                   QStringLiteral("0x%1 ").arg(bytes.isEmpty() ? 0 : uchar(bytes.at(0)), 2, 16,
                                               QLatin1Char('0')) +
                   Net::label(code) + QStringLiteral("%1 bytes").arg(bytes.size());
    const Net::Decoded d = Net::decode(bytes);
    if (!d.message)
        return line + QStringLiteral(" dropped: ") + faultText(d.fault);
    const Net::Message &m = *d.message;
    if (!m.name.isEmpty())
        line += QStringLiteral(" name=") + m.name;
    if (code == Net::StartRequest || code == Net::StartAnswer)
        line += QStringLiteral(" version=") + m.version;
    if (!m.text.isEmpty())
        line +=
            QStringLiteral(" text=") + QString(m.text).replace(u'\r', u' ').replace(u'\n', u' ');
    if (code == Net::TagData) {
        Net::TagDatagram record;
        record.setBytes(m.record);
        line +=
            QStringLiteral(" sealed=%1 from=%2 message=%3")
                .arg(record.text(Net::TagWire::Sealed), record.text(Net::TagWire::SenderIp),
                     record.text(Net::TagWire::Message).replace(u'\r', u' ').replace(u'\n', u' '));
    }
    return line;
}

NetCommand::NetCommand(QIODevice &out, QIODevice &err, QObject *parent)
    : AsyncCommand(out, err, 2, parent)
{
}

NetCommand::~NetCommand()
{
    m_sender.reset();
    m_endpoint.reset();
}

bool NetCommand::handles(const QStringList &args)
{
    return !args.isEmpty() && (args.first() == QLatin1String("net-send") ||
                               args.first() == QLatin1String("net-listen") ||
                               args.first() == QLatin1String("net-tag"));
}

std::optional<int> NetCommand::start(const QStringList &args, const QString &defaultDir)
{
    const bool listen = args.first() == QLatin1String("net-listen");
    QStringList rest = args.mid(1);
    const auto port = take(rest, "--port");
    const auto bind = take(rest, "--bind");
    const auto to = take(rest, "--to");
    const auto type = take(rest, "--type");
    const auto text = take(rest, "--text");
    const auto seconds = take(rest, "--seconds");
    if (args.first() == QLatin1String("net-tag")) {
        if (rest.size() != 1 || !to || !text || type || port)
            return failWith(QString::fromLatin1(Usage));
        if (bind && !m_bind.setAddress(*bind))
            return failWith(QStringLiteral("--bind: not an address"));
        return sendTag(rest.first(), *to, *text, seconds ? seconds->toDouble() : 5.0);
    }
    if (rest.size() > 1 || (rest.size() == 1 && rest.first().startsWith(QLatin1String("--"))))
        return failWith(QString::fromLatin1(Usage));
    if (listen ? (to || type || text) : (seconds || !to || !type))
        return failWith(QString::fromLatin1(Usage));

    const QString dir = rest.isEmpty() ? defaultDir : rest.first();
    const FileSet files = FileSet::forDirectory(QDir::toNativeSeparators(dir));
    if (QFileInfo(files.dt1).isFile()) {
        QString why;
        const auto env = TagStore(files.dt1).readEnv(&why);
        if (!env)
            return failWith(files.dt1 + QStringLiteral(": ") + why);
        m_port = env->portNo();
        m_userName = env->userName();
    }
    if (m_userName.isEmpty())
        m_userName = QStringLiteral("pinboard-cli");
    if (port) {
        bool ok = false;
        m_port = quint16(port->toUShort(&ok));
        if (!ok || m_port == 0)
            return failWith(QStringLiteral("--port: expected 1-65535"));
    }
    if (m_port == 0)
        return failWith(QStringLiteral("no port: give --port or a DIR with stored settings"));
    if (bind && !m_bind.setAddress(*bind))
        return failWith(QStringLiteral("--bind: not an address"));

    m_socket = std::make_unique<QUdpSocket>();
    if (!m_socket->bind(m_bind, listen ? m_port : 0))
        return failWith(QStringLiteral("cannot bind %1:%2: %3")
                            .arg(m_bind.toString())
                            .arg(listen ? m_port : 0)
                            .arg(m_socket->errorString()));
    if (!listen)
        return send(*to, *type, text.value_or(QString()));

    m_socket->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption, 4 << 20);
    connect(m_socket.get(), &QUdpSocket::readyRead, this, &NetCommand::readPending);
    print(QStringLiteral("listening on %1:%2").arg(m_bind.toString()).arg(m_port));
    if (seconds) {
        bool ok = false;
        const double s = seconds->toDouble(&ok);
        if (!ok || s <= 0)
            return failWith(QStringLiteral("--seconds: expected a positive number"));
        QTimer::singleShot(int(s * 1000), this, [this] {
            readPending();
            Q_EMIT finished(0);
        });
    }
    return std::nullopt;
}

int NetCommand::send(const QString &to, const QString &type, const QString &text)
{
    const quint32 target = NetLog::TextToAddr(to);
    if (target == 0)
        return failWith(QStringLiteral("--to: expected a dotted IPv4 address"));
    QByteArray payload;
    if (type == QLatin1String("tag")) {
        Net::TagDatagram record;
        record.setText(Net::TagWire::Sealed, QStringLiteral("0"));
        record.setText(Net::TagWire::Message, text);
        payload = record.bytes();
    } else {
        bool ok = false;
        const int code =
            type.startsWith(QLatin1String("0x")) ? type.mid(2).toInt(&ok, 16) : type.toInt(&ok);
        if (!ok || code < 0 || code > 255 || Net::codeOf(uchar(code)) == Net::TagData)
            return failWith(QStringLiteral("--type: expected 1-11, 253-255 or tag"));
        const QString name = text.isEmpty() ? m_userName : text;
        switch (Net::Code(code)) {
        case Net::StartRequest:
            payload = Net::startRequest(name, Net::programVersion());
            break;
        case Net::StartAnswer:
            payload = Net::startAnswer(name, Net::programVersion());
            break;
        case Net::Logout:
            payload = Net::logout();
            break;
        case Net::Dummy:
            payload = Net::dummy();
            break;
        case Net::GlobalChat:
        case Net::PrivateChatData:
            payload = Net::chatLine(Net::Code(code), m_userName, text);
            if (payload.isEmpty())
                return failWith(QStringLiteral("--text: more than 284 bytes in CP932"));
            break;
        case Net::OpeningConfirmation:
        case Net::AbandonmentConfirmation:
            payload = Net::confirmation(Net::Code(code), m_userName, text);
            break;
        case Net::TagReceived:
            payload = char(code) + Cp932::encode(name);
            break;
        default:
            payload = Net::nameOnly(Net::Code(code), name);
            break;
        }
    }
    const qint64 sent = m_socket->writeDatagram(payload, QHostAddress(target), m_port);
    if (sent < 0)
        return failWith(QStringLiteral("not sent: %1").arg(m_socket->errorString()));
    print(QStringLiteral("sent %1 bytes to %2:%3").arg(sent).arg(to).arg(m_port));
    return 0;
}

std::optional<int> NetCommand::sendTag(const QString &dir, const QString &to, const QString &text,
                                       double seconds)
{
    const FileSet files = FileSet::forDirectory(QDir::toNativeSeparators(dir));
    QString why;
    const auto env = TagStore(files.dt1).readEnv(&why);
    if (!env)
        return failWith(files.dt1 + QStringLiteral(": ") + why);
    QList<quint32> recipients;
    for (const QString &part : to.split(u',')) {
        const quint32 address = NetLog::TextToAddr(part.trimmed());
        if (address == 0)
            return failWith(QStringLiteral("--to: expected dotted IPv4 addresses"));
        recipients << address;
    }
    m_clock = std::make_unique<SystemClock>();
    m_prompt = std::make_unique<ConsolePrompt>();
    m_log = std::make_unique<CommLog>(files.log, *m_clock);
    m_log->setEnabled(env->byte(Env::LogEnabled) != 0);
    m_endpoint = std::make_unique<NetEndpoint>(*m_log, *m_clock, *m_prompt);
    NetConfig config = netConfigFrom(*env, NetLog::TextToAddr(env->text(Env::NetLocalIp)));
    config.bindAddress = m_bind;
    if (!m_endpoint->StartNetwork(config))
        return failWith(m_prompt->texts().value(0));
    m_waiting = int(recipients.size());
    connect(m_endpoint.get(), &NetEndpoint::datagramReceived, this,
            [this](quint32, const QByteArray &bytes) {
                const Net::Decoded d = Net::decode(bytes);
                if (!d.message || d.message->code != Net::TagReceived)
                    return;
                print(d.message->text + QStringLiteral(" Received"));
                if (--m_waiting == 0)
                    Q_EMIT finished(0);
            });
    TagRecord tag;
    tag.setMessage(text);
    Net::TagDatagram wire = TagWireMap::toDatagram(tag);
    sealForSending(wire, false, {}, NetLog::AddrToText(config.localIp), config.userName);
    m_sender = std::make_unique<TagSender>(*m_endpoint);
    connect(m_sender.get(), &TagSender::finished, this,
            [this](int served) { print(QStringLiteral("sent to %1").arg(served)); });
    m_sender->start(wire, recipients);
    QTimer::singleShot(int(seconds * 1000), this, [this] { Q_EMIT finished(1); });
    return std::nullopt;
}

void NetCommand::readPending()
{
    while (m_socket && m_socket->hasPendingDatagrams()) {
        QByteArray bytes(Net::MaxDatagram, Qt::Uninitialized);
        QHostAddress from;
        const qint64 n = m_socket->readDatagram(bytes.data(), bytes.size(), &from);
        if (n < 0)
            continue;
        bytes.truncate(n);
        print(describeDatagram(from.toIPv4Address(), bytes));
    }
}

} // namespace Cli
