#pragma once

#include "datagram.h"
#include "netconfig.h"
#include "participants.h"

#include <QObject>
#include <QPointer>
#include <QUdpSocket>
#include <deque>
#include <optional>

class Clock;
class CommLog;
class Prompt;

// Receivers that later work fills in. Each is called after the datagram is logged.
class TagReceiver
{
public:
    virtual ~TagReceiver() = default;
    virtual void receiveTag(const Net::TagDatagram &record, quint32 from) = 0;
    virtual void tagReceipt(const Net::Message &answer, quint32 from) = 0; // code 2
};
class ConfirmationReceiver
{
public:
    virtual ~ConfirmationReceiver() = default;
    virtual void confirmation(const Net::Message &message, quint32 from) = 0; // codes 10 and 11
};
class ChatReceiver
{
public:
    virtual ~ChatReceiver() = default;
    // 0xFD, 3-8; a global chat request from our own address never arrives here.
    virtual void chat(const Net::Message &message, quint32 from) = 0;
};

// The one UDP socket of the LAN messaging: start and restart, a send queue drained
// a slice at a time on the event loop, the receive dispatcher, the participant
// table and the log lines of every datagram.
class NetEndpoint : public QObject
{
    Q_OBJECT
public:
    static constexpr int SlicePerTurn = 64; // datagrams sent per event-loop turn
    static constexpr int ReadPerTurn = 256; // datagrams read per event-loop turn
    static constexpr int MaxQueued = 4096;  // send jobs waiting; more are dropped

    NetEndpoint(CommLog &log, const Clock &clock, Prompt &prompt, QObject *parent = nullptr);
    ~NetEndpoint() override;

    // Binds, then broadcasts the start request. False when the socket could not be
    // had; the user has been told.
    bool StartNetwork(const NetConfig &config);
    // Closes the socket now and starts again on the next turn of the event loop;
    // the participant table is kept.
    void RestartNetwork(const NetConfig &config);
    // Exit: the logout goes to every target at once (skipped while the settings
    // were just saved), then the socket closes.
    void logoutAndStop();
    void stop();
    bool isStarted() const { return m_socket != nullptr; }
    // What the kernel granted for the receive buffer; 0 while stopped.
    int receiveBufferBytes() const;
    const NetConfig &config() const { return m_config; }

    // Set by the settings dialog; cleared whenever a start ends.
    void setSettingsSaved() { m_settingsSaved = true; }
    bool settingsSaved() const { return m_settingsSaved; }

    // Queue one datagram to one address. label empty: not logged. logText, when
    // given, is what the log shows instead of the payload (a tag's message field).
    void SendDatagram(quint32 to, const QByteArray &payload, const QString &label = {},
                      const std::optional<QString> &logText = std::nullopt);
    // Queue one payload to every target, sweeping sequential ones.
    void BroadcastDatagram(const QByteArray &payload, const QString &label);
    int queuedDatagrams() const;

    const ParticipantTable &participants() const { return m_participants; }
    void setTagReceiver(TagReceiver *r) { m_tags = r; }
    void setConfirmationReceiver(ConfirmationReceiver *r) { m_confirmations = r; }
    void setChatReceiver(ChatReceiver *r) { m_chat = r; }

    quint64 filteredCount() const { return m_filtered; }
    quint64 droppedCount() const { return m_dropped; }
    quint64 receivedCount() const { return m_received; }

Q_SIGNALS:
    void participantsChanged();
    // Every datagram that passed the source filter, as it came (cut at 3000).
    void datagramReceived(quint32 from, const QByteArray &bytes);
    void queueEmpty();

private:
    struct Job
    {
        QByteArray payload;
        quint32 first = 0; // a sweep runs first, first + 1, ...
        int count = 1;
        QString column; // address column of the log
        QString label;  // empty: not logged
        int done = 0;
        std::optional<QString> logText = std::nullopt;
        qint64 status = 0;
    };

    static Job jobFor(const BroadcastTarget &t, const QByteArray &payload, const QString &label);
    static void record(Job &job, qint64 sent);
    void enqueue(Job job);
    void drain();
    qint64 sendNow(quint32 to, const QByteArray &payload);
    void writeSendLog(const Job &job);
    void readPending();
    void handle(quint32 from, const QByteArray &bytes);
    void dispatch(const Net::Message &message, quint32 from);

    CommLog &m_log;
    const Clock &m_clock;
    Prompt &m_prompt;
    NetConfig m_config;
    QPointer<QUdpSocket> m_socket;
    std::deque<Job> m_queue;
    bool m_drainScheduled = false;
    bool m_readScheduled = false;
    bool m_settingsSaved = false;
    quint64 m_restartGeneration = 0;
    ParticipantTable m_participants;
    TagReceiver *m_tags = nullptr;
    ConfirmationReceiver *m_confirmations = nullptr;
    ChatReceiver *m_chat = nullptr;
    quint64 m_filtered = 0;
    quint64 m_dropped = 0;
    quint64 m_received = 0;
};
