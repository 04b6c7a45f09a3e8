#include "netlog.h"

#include "commlog.h"
#include "envrecord.h"

namespace NetLog {

namespace {
// One datagram is always two lines: a CR or LF inside a payload would let a
// sender forge lines of its own.
QString oneLine(QString text)
{
    for (QChar &c : text) {
        if (c == u'\r' || c == u'\n' || c == u'\0')
            c = u' ';
    }
    return text;
}
} // namespace

QString AddrToText(quint32 address)
{
    return QStringLiteral("%1.%2.%3.%4")
        .arg(address >> 24)
        .arg((address >> 16) & 0xFF)
        .arg((address >> 8) & 0xFF)
        .arg(address & 0xFF)
        .leftJustified(15, u' ');
}

quint32 TextToAddr(const QString &text)
{
    return parseDottedAddress(text.trimmed());
}

QString sweepColumn(quint32 first, quint32 last)
{
    return AddrToText(first) + u'～' + AddrToText(last);
}

QStringList sendPair(const QDateTime &time, const QString &addressColumn, const QString &label,
                     bool colon, const QString &payload, qint64 status)
{
    const QString stamp = CommLog::stamp(time);
    return {stamp + u' ' + addressColumn + u' ' + QStringLiteral("Send-") + label +
                (colon ? QStringLiteral(":") : QString()) + oneLine(payload),
            stamp + QStringLiteral(" Send Status:") + QString::number(status)};
}

QStringList recvPair(const QDateTime &time, quint32 from, const QString &label, const QString &text,
                     qint64 received)
{
    const QString stamp = CommLog::stamp(time);
    return {stamp + u' ' + AddrToText(from) + u' ' + QStringLiteral("Recv-") + label + u':' +
                oneLine(text),
            stamp + QStringLiteral(" Receive Status:") + QString::number(received)};
}

QString recvError(const QDateTime &time, quint32 from)
{
    return CommLog::stamp(time) + u' ' + AddrToText(from) + QStringLiteral(" Recv-[Receive Error]");
}

} // namespace NetLog
