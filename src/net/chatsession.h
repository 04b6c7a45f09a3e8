#pragma once

#include "netendpoint.h"

#include <QObject>
#include <QStringList>
#include <QTimer>

class Prompt;

// The private chat's states and what each event leads to. Pure.
namespace PrivateChat {
enum State
{
    Idle = 0,
    Requesting = 1, // our request waits for an answer
    Talking = 2,    // answered OK, or we accepted theirs
    Refused = 3
};
enum class Event
{
    Request,         // UserSelct2's OK
    AnswerOk,        // 4 from the partner we asked
    AnswerNg,        // 5 from the partner we asked
    Deadline,        // no answer in time
    IncomingRequest, // 3 from anyone
    PartnerLeft,     // 7 from the partner
    Leave            // NetChatP's mnu_Exit
};
enum class Action
{
    None,
    SendRequest,  // 3 to the partner, the deadline starts
    OpenChat,     // NetChatP for the partner who said OK
    TellBusy,     // the partner talks with someone else
    TellNoAnswer, // the deadline passed
    Accept,       // 4 to the requester, NetChatP for them
    Refuse,       // 5 to the requester
    SendLogout,   // 7 to the partner, NetChatP closes
    CloseChat     // the partner left: NetChatP closes
};
struct Step
{
    State state;
    Action action;
    bool operator==(const Step &) const = default;
};
Step next(State state, Event event);
} // namespace PrivateChat

// Global and private chat over the LAN socket: the histories, sending with the
// length rule, invitations, and the private handshake with its deadline.
// Messages go through the Prompt; windows follow the signals.
class ChatSession : public QObject, public ChatReceiver
{
    Q_OBJECT
public:
    static constexpr int AnswerMs = 10000;
    // Lines a history keeps; the oldest go first, so a flood cannot grow memory.
    static constexpr int HistoryLines = 5000;

    ChatSession(NetEndpoint &endpoint, Prompt &prompt, QObject *parent = nullptr);
    ~ChatSession() override;

    static QString tooLongText();
    static QString busyText();
    static QString noAnswerText();
    static QString alreadyChattingText();
    static QString privateCaption(const QString &partner);

    void chat(const Net::Message &message, quint32 from) override;

    // Global chat. False (and the user told) when the text is over 284 bytes.
    bool sendGlobal(const QString &text);
    void invite();      // mnu_Request, after the question
    bool clearGlobal(); // mnu_Clear, after the question
    const QStringList &globalHistory() const { return m_global; }

    // Private chat.
    PrivateChat::State PrivateChatState() const { return m_state; }
    quint32 partnerAddress() const { return m_partner; }
    QString partnerName() const { return m_partnerName; }
    // UserSelct2's OK: asks address to talk; the answer or the deadline follows.
    bool requestPrivate(quint32 address, const QString &name);
    bool sendPrivate(const QString &text);
    void leavePrivate();
    const QStringList &privateHistory() const { return m_private; }
    // Tests shorten the 10 s.
    void setAnswerMs(int ms) { m_deadline.setInterval(ms); }

Q_SIGNALS:
    void globalLine(const QString &line);
    void globalCleared();
    void invited(const QString &name);
    void privateOpened(const QString &caption);
    void privateLine(const QString &line);
    void privateClosed();
    // A request of ours ended without a chat (refused or unanswered).
    void requestFailed();

private:
    void apply(PrivateChat::Event event, quint32 from = 0, const QString &name = {});
    bool checkLength(const QString &text);

    NetEndpoint &m_endpoint;
    Prompt &m_prompt;
    QStringList m_global;
    QStringList m_private;
    PrivateChat::State m_state = PrivateChat::Idle;
    quint32 m_partner = 0;
    QString m_partnerName;
    QTimer m_deadline;
};
