#pragma once

#include "datagram.h"

#include <QList>
#include <QObject>
#include <QTimer>
#include <optional>

class NetEndpoint;
class ParticipantTable;

// The send of one tag to chosen participants, one after the other in list order:
// a dummy, 100 ms, a dummy, 100 ms, the 2000-byte record. The pauses are timers,
// so the desktop (and the answers of recipients already served) go on meanwhile.
class TagSender : public QObject
{
    Q_OBJECT
public:
    static constexpr int PauseMs = 100;

    explicit TagSender(NetEndpoint &endpoint, QObject *parent = nullptr);

    // Starts sending record to each address; false while a send is running.
    bool start(const Net::TagDatagram &record, const QList<quint32> &recipients);
    // The recipient being served gets the whole sequence; no further one is begun.
    void cancel();
    bool isBusy() const { return m_index >= 0; }

Q_SIGNALS:
    void recipientDone(int index);
    void finished(int served, bool cancelled);

private:
    void step();
    void end();

    NetEndpoint &m_endpoint;
    QTimer m_pause;
    QByteArray m_record;
    QString m_logText;
    QList<quint32> m_to;
    int m_index = -1;
    int m_phase = 0;
    bool m_cancelled = false;
};

// UserSelect's checks before anything is sent. rows are the chosen list rows,
// which are participant indexes (1-based). nullopt when the send may go.
std::optional<QString> checkTagRecipients(const ParticipantTable &table, const QList<int> &rows,
                                          bool sealed, const QString &password);
// UserSelct2's checks for the partner of a private chat.
std::optional<QString> checkChatPartner(const ParticipantTable &table, const QList<int> &rows);

// The datagram as UserSelect sends it: the seal (29), its password (30), the
// sender's address (31) and name.
void sealForSending(Net::TagDatagram &record, bool sealed, const QString &password,
                    const QString &localIpText, const QString &userName);
