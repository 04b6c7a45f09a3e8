#include "dispatchrule.h"

using Then = DispatchStep::Then;

DispatchStep dispatchRule(const Net::Message &m, quint32 from, quint32 ownIp,
                          ParticipantTable &table)
{
    const bool own = from == ownIp;
    switch (m.code) {
    case Net::StartRequest:
        // Our own broadcast comes back; every other request is answered, known or not.
        if (own)
            return {};
        return {Then::AnswerStart,
                table.addOrKeep(m.name, m.version, from) == ParticipantTable::Outcome::Added};
    case Net::StartAnswer:
        return {Then::Nothing,
                table.addOrKeep(m.name, m.version, from) == ParticipantTable::Outcome::Added};
    case Net::Logout:
        return {Then::Nothing, !own && table.logout(from)};
    case Net::TagReceived:
        return {Then::Receipt};
    case Net::GlobalChatRequest:
        return {own ? Then::Nothing : Then::Chat};
    case Net::PrivateChatRequest:
    case Net::PrivateChatOk:
    case Net::PrivateChatNg:
    case Net::PrivateChatData:
    case Net::PrivateChatLogout:
    case Net::GlobalChat:
        return {Then::Chat};
    case Net::Dummy:
        return {};
    case Net::OpeningConfirmation:
    case Net::AbandonmentConfirmation:
        return {Then::Confirmation};
    case Net::TagData:
        return {Then::Tag};
    }
    return {};
}
