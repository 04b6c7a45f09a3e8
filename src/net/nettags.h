#pragma once

#include "floodgate.h"
#include "netendpoint.h"
#include "tagrecord.h"

#include <QElapsedTimer>
#include <QObject>
#include <QStringList>
#include <optional>

class Prompt;
class Settings;
class TagStore;

// A received datagram stored as a new tag of this machine (see TagWireMap::
// receivedTag for what it keeps). Returns its index k, or nullopt with the reason.
std::optional<int> ReceiveTag(const TagStore &store, const Net::TagDatagram &wire,
                              const QString &senderName, const QString &senderAddress,
                              QString *error = nullptr);

// ResultForm's lines for an opening (10) or abandonment (11) confirmation.
struct ResultLines
{
    QString heading;
    QString sender;
    QString text;
    bool operator==(const ResultLines &) const = default;
};
ResultLines resultLines(const Net::Message &confirmation);

// Tags across the LAN on the receiving side and the answers on the sending side:
// stores what arrives and answers it, keeps the receipts, opens and discards
// sealed tags and sends their confirmations. Windows listen to the signals.
class NetTags : public QObject, public TagReceiver, public ConfirmationReceiver
{
    Q_OBJECT
public:
    enum class Opened
    {
        Opened,
        Cancelled,
        WrongPassword,
        Failed
    };

    NetTags(NetEndpoint &endpoint, const TagStore &store, const Settings &settings, Prompt &prompt,
            QObject *parent = nullptr);
    ~NetTags() override;

    void receiveTag(const Net::TagDatagram &record, quint32 from) override;
    void tagReceipt(const Net::Message &answer, quint32 from) override;
    void confirmation(const Net::Message &message, quint32 from) override;

    // RcvResult keeps no more lines than this; the oldest go first.
    static constexpr int MaxReceipts = 1000;
    // RcvResult's lines: "<name> Received", oldest first.
    const QStringList &receipts() const { return m_receipts; }
    void clearReceipts() { m_receipts.clear(); }

    // cmd_Open: asks for the password when the tag has one, then makes it an
    // ordinary tag and sends the opening confirmation to its sender.
    Opened openSealed(int k);
    // cmd_Delete: asks, then puts the tag in the trash unopened and sends the
    // abandonment confirmation. False when the user said No or it failed.
    bool discardSealed(int k);

Q_SIGNALS:
    // A plain tag was stored (k) or a sealed one is waiting to be opened.
    void tagArrived(int k);
    void sealedArrived(int k);
    // A sealed tag was opened and is now an ordinary tag; or discarded.
    void sealedOpened(int k);
    void sealedDiscarded(int k);
    void receiptAdded(const QString &line);
    void confirmationArrived(const ResultLines &lines);

private:
    QString senderName(const Net::TagDatagram &record, quint32 from) const;
    QString answerAddress(const Net::TagDatagram &record, quint32 from) const;
    bool rewrite(int k, const TagRecord &tag);
    void confirm(Net::Code code, const TagRecord &tag);

    NetEndpoint &m_endpoint;
    const TagStore &m_store;
    const Settings &m_settings;
    Prompt &m_prompt;
    QStringList m_receipts;
    FloodGate m_tagGate;
    FloodGate m_confirmationGate;
    QElapsedTimer m_monotonic;
};
