#pragma once

#include <QByteArray>
#include <QByteArrayView>
#include <QList>

// Assembles SMTP replies from the bytes a server sends, however they are split:
// lines end at LF (a CR before it is dropped), "250-..." lines continue a reply
// and the first line without the hyphen ends it. Memory stays bounded whatever
// the server sends.
class SmtpReplyReader
{
public:
    // Longest reply line kept; the rest of a longer line is dropped.
    static constexpr qsizetype MaxLineBytes = 4096;
    // Most reply text kept for one reply; further lines are dropped.
    static constexpr qsizetype MaxReplyBytes = 64 * 1024;

    // Takes bytes from the front of data until a reply is complete (true, the
    // reply's lines in *reply) or data is used up (false).
    bool read(QByteArrayView &data, QList<QByteArray> *reply);
    // Bytes held now: the partial line and the lines of an unfinished reply.
    qsizetype bufferedBytes() const { return m_line.size() + m_replyBytes; }
    void clear();

private:
    QByteArray m_line;         // the reply line being received
    QList<QByteArray> m_reply; // complete lines of the reply being received
    qsizetype m_replyBytes = 0;
};
