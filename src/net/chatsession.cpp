#include "chatsession.h"

#include "cp932.h"
#include "prompt.h"

namespace PrivateChat {
Step next(State state, Event event)
{
    switch (event) {
    case Event::Request:
        return state == Idle ? Step{Requesting, Action::SendRequest} : Step{state, Action::None};
    case Event::AnswerOk:
        return state == Requesting ? Step{Talking, Action::OpenChat} : Step{state, Action::None};
    case Event::AnswerNg:
        // Refused is passed through at once: the user is told and may ask again.
        return state == Requesting ? Step{Idle, Action::TellBusy} : Step{state, Action::None};
    case Event::Deadline:
        return state == Requesting ? Step{Idle, Action::TellNoAnswer} : Step{state, Action::None};
    case Event::IncomingRequest:
        return state == Idle ? Step{Talking, Action::Accept} : Step{state, Action::Refuse};
    case Event::PartnerLeft:
        return state == Talking ? Step{Idle, Action::CloseChat} : Step{state, Action::None};
    case Event::Leave:
        return state == Talking ? Step{Idle, Action::SendLogout} : Step{state, Action::None};
    }
    return {state, Action::None};
}
} // namespace PrivateChat

using namespace PrivateChat;

ChatSession::ChatSession(NetEndpoint &endpoint, Prompt &prompt, QObject *parent)
    : QObject(parent), m_endpoint(endpoint), m_prompt(prompt)
{
    m_endpoint.setChatReceiver(this);
    m_deadline.setSingleShot(true);
    m_deadline.setInterval(AnswerMs);
    connect(&m_deadline, &QTimer::timeout, this, [this] { apply(Event::Deadline); });
}

ChatSession::~ChatSession()
{
    m_endpoint.setChatReceiver(nullptr);
}

QString ChatSession::tooLongText()
{
    return QStringLiteral("送信するメッセージが長すぎます。（漢字で140文字以内）");
}

QString ChatSession::busyText()
{
    return QStringLiteral("相手先は、既に他の人とプライベートチャットをしています。"
                          "しばらく待ってから再度試して下さい。");
}

QString ChatSession::noAnswerText()
{
    return QStringLiteral("相手先から応答がありません。既に退出している可能性があります。");
}

QString ChatSession::alreadyChattingText()
{
    return QStringLiteral("既にプライベートチャットを開始しています。");
}

QString ChatSession::privateCaption(const QString &partner)
{
    return QStringLiteral("Private NetWork Chat (From ") + partner + u')';
}

bool ChatSession::checkLength(const QString &text)
{
    QString message = text;
    if (message.endsWith(QLatin1String("\r\n")))
        message.chop(2);
    if (Cp932::encode(message).size() <= Net::ChatTextBytes)
        return true;
    m_prompt.warn(tooLongText());
    return false;
}

bool ChatSession::sendGlobal(const QString &text)
{
    if (!checkLength(text))
        return false;
    const QByteArray line = Net::chatLine(Net::GlobalChat, m_endpoint.config().userName, text);
    m_endpoint.BroadcastDatagram(line, Net::label(Net::GlobalChat));
    return true;
}

void ChatSession::invite()
{
    if (!m_prompt.ask(QStringLiteral("ﾈｯﾄﾜｰｸ上の参加者全員に、ﾁｬｯﾄ開始案内を送信します。"),
                      QStringLiteral("送信確認")))
        return;
    m_endpoint.BroadcastDatagram(
        Net::nameOnly(Net::GlobalChatRequest, m_endpoint.config().userName),
        Net::label(Net::GlobalChatRequest));
}

bool ChatSession::clearGlobal()
{
    if (!m_prompt.askDestructive(QStringLiteral("これまでのメッセージをすべて消去します。"),
                                 QStringLiteral("消去確認")))
        return false;
    m_global.clear();
    Q_EMIT globalCleared();
    return true;
}

bool ChatSession::requestPrivate(quint32 address, const QString &name)
{
    if (m_state != Idle)
        return false;
    apply(Event::Request, address, name);
    return true;
}

bool ChatSession::sendPrivate(const QString &text)
{
    if (m_state != Talking || !checkLength(text))
        return false;
    const QByteArray line = Net::chatLine(Net::PrivateChatData, m_endpoint.config().userName, text);
    m_endpoint.SendDatagram(m_partner, line, Net::label(Net::PrivateChatData));
    // Our own line shows in our history too; the partner's comes back from them.
    m_private.append(Cp932::decode(QByteArrayView(line).sliced(1)));
    Q_EMIT privateLine(m_private.last());
    return true;
}

void ChatSession::leavePrivate()
{
    apply(Event::Leave);
}

void ChatSession::chat(const Net::Message &m, quint32 from)
{
    switch (m.code) {
    case Net::GlobalChat:
        if (m_global.size() >= HistoryLines)
            m_global.removeFirst();
        m_global.append(m.text);
        Q_EMIT globalLine(m.text);
        break;
    case Net::GlobalChatRequest:
        Q_EMIT invited(m.name);
        break;
    case Net::PrivateChatRequest:
        apply(Event::IncomingRequest, from, m.name);
        break;
    case Net::PrivateChatOk:
        if (from == m_partner)
            apply(Event::AnswerOk, from, m.name);
        break;
    case Net::PrivateChatNg:
        if (from == m_partner)
            apply(Event::AnswerNg, from, m.name);
        break;
    case Net::PrivateChatData:
        if (m_state == Talking && from == m_partner) {
            if (m_private.size() >= HistoryLines)
                m_private.removeFirst();
            m_private.append(m.text);
            Q_EMIT privateLine(m.text);
        }
        break;
    case Net::PrivateChatLogout:
        if (from == m_partner)
            apply(Event::PartnerLeft, from, m.name);
        break;
    default:
        break;
    }
}

void ChatSession::apply(Event event, quint32 from, const QString &name)
{
    const Step step = next(m_state, event);
    m_state = step.state;
    const QString me = m_endpoint.config().userName;
    switch (step.action) {
    case Action::None:
        return;
    case Action::SendRequest:
        m_partner = from;
        m_partnerName = name;
        m_endpoint.SendDatagram(from, Net::nameOnly(Net::PrivateChatRequest, me),
                                Net::label(Net::PrivateChatRequest));
        m_deadline.start();
        return;
    case Action::OpenChat:
        m_deadline.stop();
        m_private.clear();
        Q_EMIT privateOpened(privateCaption(m_partnerName));
        return;
    case Action::TellBusy:
    case Action::TellNoAnswer:
        m_deadline.stop();
        m_partner = 0;
        m_prompt.inform(step.action == Action::TellBusy ? busyText() : noAnswerText());
        Q_EMIT requestFailed();
        return;
    case Action::Accept:
        m_partner = from;
        m_partnerName = name;
        m_private.clear();
        m_endpoint.SendDatagram(from, Net::nameOnly(Net::PrivateChatOk, me),
                                Net::label(Net::PrivateChatOk));
        Q_EMIT privateOpened(privateCaption(name));
        return;
    case Action::Refuse:
        m_endpoint.SendDatagram(from, Net::nameOnly(Net::PrivateChatNg, me),
                                Net::label(Net::PrivateChatNg));
        return;
    case Action::SendLogout:
        m_endpoint.SendDatagram(m_partner, Net::nameOnly(Net::PrivateChatLogout, me),
                                Net::label(Net::PrivateChatLogout));
        m_partner = 0;
        Q_EMIT privateClosed();
        return;
    case Action::CloseChat:
        m_partner = 0;
        Q_EMIT privateClosed();
        return;
    }
}
