#pragma once

#include <QDateTime>
#include <QString>

class Clock;

// The communication log "Pinboard.log": CP932 lines ending in CR LF. The file is
// opened for append and closed again for every line, so another program can read
// or remove it at any time.
class CommLog
{
public:
    CommLog(QString path, const Clock &clock);

    void setEnabled(bool on) { m_enabled = on; }
    bool isEnabled() const { return m_enabled; }
    QString path() const { return m_path; }

    // The line as it stands; nothing when the log is off.
    void writeLine(const QString &line);
    // The present time, a blank and text.
    void writeStamped(const QString &text);

    // "yyyy/MM/dd hh:mm:ss", the time at the head of every stamped line.
    static QString stamp(const QDateTime &moment);

private:
    QString m_path;
    const Clock &m_clock;
    bool m_enabled = false;
};
