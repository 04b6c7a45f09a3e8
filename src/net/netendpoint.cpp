#include "netendpoint.h"

#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "dispatchrule.h"
#include "netlog.h"
#include "prompt.h"

#include <QTimer>
#include <QUdpSocket>

namespace {
QString startFailedText()
{
    return QStringLiteral(
        "ネットワークのスタートに失敗しました。ネットワークの再設定を行って下さい。");
}
} // namespace

NetEndpoint::NetEndpoint(CommLog &log, const Clock &clock, Prompt &prompt, QObject *parent)
    : QObject(parent), m_log(log), m_clock(clock), m_prompt(prompt)
{
}

NetEndpoint::~NetEndpoint()
{
    stop();
}

bool NetEndpoint::StartNetwork(const NetConfig &config)
{
    stop();
    m_config = config;
    auto *socket = new QUdpSocket(this);
    // Qt turns SO_BROADCAST on for every UDP socket; Linux needs it for x.y.z.255.
    if (!socket->bind(config.bindAddress, config.port)) {
        qWarning("Pinboard: UDP port %u: %s", unsigned(config.port),
                 qPrintable(socket->errorString()));
        delete socket;
        m_settingsSaved = false;
        m_prompt.inform(startFailedText());
        return false;
    }
    // A burst of a thousand datagrams must wait in the kernel while we are busy.
    socket->setSocketOption(QAbstractSocket::ReceiveBufferSizeSocketOption,
                            config.receiveBufferBytes);
    connect(socket, &QUdpSocket::readyRead, this, &NetEndpoint::readPending);
    m_socket = socket;
    BroadcastDatagram(Net::startRequest(config.userName, Net::programVersion()),
                      Net::label(Net::StartRequest));
    m_settingsSaved = false;
    return true;
}

int NetEndpoint::receiveBufferBytes() const
{
    return m_socket ? m_socket->socketOption(QAbstractSocket::ReceiveBufferSizeSocketOption).toInt()
                    : 0;
}

void NetEndpoint::RestartNetwork(const NetConfig &config)
{
    stop();
    const quint64 generation = m_restartGeneration;
    // What the old socket had queued is gone with it; the new one starts afresh.
    QTimer::singleShot(0, this, [this, config, generation] {
        if (generation == m_restartGeneration)
            StartNetwork(config);
    });
}

void NetEndpoint::stop()
{
    ++m_restartGeneration;
    m_queue.clear();
    if (m_socket) {
        m_socket->disconnect(this);
        m_socket->close();
        delete m_socket;
    }
}

void NetEndpoint::logoutAndStop()
{
    if (m_socket && !m_settingsSaved) {
        m_socket->disconnect(this);
        m_queue.clear();
        const QByteArray payload = Net::logout();
        for (const BroadcastTarget &t : m_config.targets) {
            if (t.address == 0)
                continue;
            Job job = jobFor(t, payload, Net::label(Net::Logout));
            // No event loop is left to wait on: every datagram goes once, now.
            for (; job.done < job.count; ++job.done)
                record(job, sendNow(job.first + quint32(job.done), payload));
            writeSendLog(job);
        }
    }
    stop();
}

void NetEndpoint::SendDatagram(quint32 to, const QByteArray &payload, const QString &label,
                               const std::optional<QString> &logText)
{
    Job job{payload, to, 1, NetLog::AddrToText(to), label};
    job.logText = logText;
    enqueue(std::move(job));
}

NetEndpoint::Job NetEndpoint::jobFor(const BroadcastTarget &t, const QByteArray &payload,
                                     const QString &label)
{
    if (!t.sequential)
        return {payload, t.address, 1, NetLog::AddrToText(t.address), label};
    const quint32 first = sweepFirst(t.address);
    return {payload, first, 254, NetLog::sweepColumn(first, sweepLast(t.address)), label};
}

void NetEndpoint::record(Job &job, qint64 sent)
{
    // A sweep reports -1 when any of its sends failed.
    job.status = (sent < 0 || job.status < 0) ? -1 : sent;
}

void NetEndpoint::BroadcastDatagram(const QByteArray &payload, const QString &label)
{
    for (const BroadcastTarget &t : m_config.targets) {
        if (t.address != 0)
            enqueue(jobFor(t, payload, label));
    }
}

int NetEndpoint::queuedDatagrams() const
{
    int n = 0;
    for (const Job &job : m_queue)
        n += job.count - job.done;
    return n;
}

void NetEndpoint::enqueue(Job job)
{
    if (!m_socket || int(m_queue.size()) >= MaxQueued) {
        // Not sent: the log says so, as a failed send would.
        job.status = -1;
        writeSendLog(job);
        return;
    }
    m_queue.push_back(std::move(job));
    if (!m_drainScheduled) {
        m_drainScheduled = true;
        QTimer::singleShot(0, this, &NetEndpoint::drain);
    }
}

void NetEndpoint::drain()
{
    m_drainScheduled = false;
    int budget = SlicePerTurn;
    while (budget > 0 && !m_queue.empty() && m_socket) {
        Job &job = m_queue.front();
        for (; budget > 0 && job.done < job.count; ++job.done, --budget)
            record(job, sendNow(job.first + quint32(job.done), job.payload));
        if (job.done == job.count) {
            writeSendLog(job);
            m_queue.pop_front();
        }
    }
    if (!m_queue.empty() && m_socket) {
        m_drainScheduled = true;
        QTimer::singleShot(0, this, &NetEndpoint::drain);
    } else {
        Q_EMIT queueEmpty();
    }
}

qint64 NetEndpoint::sendNow(quint32 to, const QByteArray &payload)
{
    if (!m_socket)
        return -1;
    return m_socket->writeDatagram(payload, QHostAddress(to), m_config.port);
}

void NetEndpoint::writeSendLog(const Job &job)
{
    if (job.label.isEmpty() || !m_log.isEnabled())
        return;
    const auto code = Net::codeOf(static_cast<unsigned char>(job.payload.at(0)));
    const QStringList lines = NetLog::sendPair(
        m_clock.now(), job.column, job.label, Net::sendLogHasColon(code),
        job.logText ? *job.logText : Cp932::decode(QByteArrayView(job.payload).sliced(1)),
        job.status);
    for (const QString &line : lines)
        m_log.writeLine(line);
}

void NetEndpoint::readPending()
{
    m_readScheduled = false;
    for (int i = 0; i < ReadPerTurn && m_socket && m_socket->hasPendingDatagrams(); ++i) {
        QByteArray bytes(Net::MaxDatagram, Qt::Uninitialized);
        QHostAddress sender;
        const qint64 n = m_socket->readDatagram(bytes.data(), bytes.size(), &sender);
        const quint32 from = sender.toIPv4Address();
        if (n < 0) {
            if (m_log.isEnabled())
                m_log.writeLine(NetLog::recvError(m_clock.now(), from));
            continue;
        }
        bytes.truncate(n);
        handle(from, bytes);
    }
    // A flood is read a slice per turn so the desktop keeps answering.
    if (m_socket && m_socket->hasPendingDatagrams() && !m_readScheduled) {
        m_readScheduled = true;
        QTimer::singleShot(0, this, &NetEndpoint::readPending);
    }
}

void NetEndpoint::handle(quint32 from, const QByteArray &bytes)
{
    if (!acceptsSource(m_config, from)) {
        ++m_filtered;
        return;
    }
    ++m_received;
    Q_EMIT datagramReceived(from, bytes);
    const Net::Code code =
        bytes.isEmpty() ? Net::TagData : Net::codeOf(static_cast<unsigned char>(bytes[0]));
    if (m_log.isEnabled()) {
        const QString text =
            bytes.isEmpty() ? QString() : Cp932::decode(QByteArrayView(bytes).sliced(1));
        for (const QString &line :
             NetLog::recvPair(m_clock.now(), from, Net::label(code), text, bytes.size()))
            m_log.writeLine(line);
    }
    const Net::Decoded decoded = Net::decode(bytes);
    if (!decoded.message) {
        ++m_dropped;
        return;
    }
    dispatch(*decoded.message, from);
}

void NetEndpoint::dispatch(const Net::Message &m, quint32 from)
{
    using Then = DispatchStep::Then;
    const DispatchStep step = dispatchRule(m, from, m_config.localIp, m_participants);
    if (step.tableChanged)
        Q_EMIT participantsChanged();
    switch (step.then) {
    case Then::Nothing:
        return;
    case Then::AnswerStart:
        SendDatagram(from, Net::startAnswer(m_config.userName, Net::programVersion()),
                     Net::label(Net::StartAnswer));
        return;
    case Then::Receipt:
        if (m_tags)
            m_tags->tagReceipt(m, from);
        return;
    case Then::Chat:
        if (m_chat)
            m_chat->chat(m, from);
        return;
    case Then::Confirmation:
        if (m_confirmations)
            m_confirmations->confirmation(m, from);
        return;
    case Then::Tag:
        if (m_tags) {
            Net::TagDatagram record;
            record.setBytes(m.record);
            m_tags->receiveTag(record, from);
        }
        return;
    }
}
