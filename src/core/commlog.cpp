#include "commlog.h"

#include "clock.h"
#include "cp932.h"

#include <QFile>

CommLog::CommLog(QString path, const Clock &clock) : m_path(std::move(path)), m_clock(clock) {}

void CommLog::writeLine(const QString &line)
{
    if (!m_enabled)
        return;
    QFile file(m_path);
    if (!file.open(QIODevice::WriteOnly | QIODevice::Append)) {
        qWarning("Pinboard.log cannot be opened: %s", qPrintable(file.errorString()));
        return;
    }
    file.write(Cp932::encode(line) + "\r\n");
}

void CommLog::writeStamped(const QString &text)
{
    if (m_enabled)
        writeLine(stamp(m_clock.now()) + u' ' + text);
}

QString CommLog::stamp(const QDateTime &moment)
{
    return moment.toString(QStringLiteral("yyyy/MM/dd hh:mm:ss"));
}
