#pragma once

#include <QDateTime>
#include <QString>
#include <QStringList>

// The lines a datagram leaves in Pinboard.log. Pure: the endpoint writes them.
namespace NetLog {

// a.b.c.d without leading zeros, right-padded with blanks to 15 characters.
QString AddrToText(quint32 address);
// "a.b.c.d" -> 4 bytes, each part's numeric value as one byte; 0 when it is not
// four numbers of 0-255.
quint32 TextToAddr(const QString &text);
// The address column of a sweep: first, "～", last.
QString sweepColumn(quint32 first, quint32 last);

// time addr Send-label[:]payload / time Send Status:n
QStringList sendPair(const QDateTime &time, const QString &addressColumn, const QString &label,
                     bool colon, const QString &payload, qint64 status);
// time addr Recv-label:text / time Receive Status:n
QStringList recvPair(const QDateTime &time, quint32 from, const QString &label, const QString &text,
                     qint64 received);
// time addr Recv-[Receive Error]
QString recvError(const QDateTime &time, quint32 from);

} // namespace NetLog
