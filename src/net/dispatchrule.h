#pragma once

#include "datagram.h"
#include "participants.h"

// What the receive dispatcher does with one decoded datagram: the participant
// table is updated here, everything else is named for the endpoint to do.
struct DispatchStep
{
    enum class Then
    {
        Nothing,
        AnswerStart,
        Tag,
        Receipt,
        Chat,
        Confirmation
    };
    Then then = Then::Nothing;
    bool tableChanged = false;
};

DispatchStep dispatchRule(const Net::Message &message, quint32 from, quint32 ownIp,
                          ParticipantTable &table);
