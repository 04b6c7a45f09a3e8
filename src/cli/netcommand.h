#pragma once

#include "asynccommand.h"

#include <QHostAddress>
#include <memory>
#include <optional>

class CommLog;
class NetEndpoint;
class QUdpSocket;
class ConsolePrompt;
class SystemClock;
class TagSender;

namespace Cli {

// One datagram as net-listen prints it: source, code, label and the decoded
// fields, or why it would be dropped.
QString describeDatagram(quint32 from, const QByteArray &bytes);

// pinboard-cli net-send [DIR] --to ADDR --type N [--text T] and
// net-listen [DIR] [--seconds S]: probe a LAN from a shell. Both take --port P
// (else the port stored in DIR) and --bind ADDR (else 0.0.0.0).
// net-tag DIR --to ADDR[,ADDR...] --text T [--seconds S]: sends T as a tag the way
// the program does (dummies, pauses, record) with DIR's settings and log, prints
// each "<name> Received" answer; exit 0 once all answered, 1 when S (5) passed.
class NetCommand : public AsyncCommand
{
    Q_OBJECT
public:
    NetCommand(QIODevice &out, QIODevice &err, QObject *parent = nullptr);
    ~NetCommand() override;

    static bool handles(const QStringList &args);
    std::optional<int> start(const QStringList &args, const QString &defaultDir) override;

private:
    int send(const QString &to, const QString &type, const QString &text);
    std::optional<int> sendTag(const QString &dir, const QString &to, const QString &text,
                               double seconds);
    void readPending();

    quint16 m_port = 0;
    QString m_userName;
    QHostAddress m_bind{QHostAddress::AnyIPv4};
    std::unique_ptr<QUdpSocket> m_socket;
    std::unique_ptr<SystemClock> m_clock;
    std::unique_ptr<ConsolePrompt> m_prompt;
    std::unique_ptr<CommLog> m_log;
    std::unique_ptr<NetEndpoint> m_endpoint;
    std::unique_ptr<TagSender> m_sender;
    int m_waiting = 0;
};

} // namespace Cli
