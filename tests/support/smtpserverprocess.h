#pragma once

#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>

#include "testfiles.h"

// The mail tests' SMTP server: tests/mail/smtpserver.py on 127.0.0.1, run by the
// python3 of the system.

// tests/mail/smtpserver.py on 127.0.0.1; what it saw is read from its record.
class ServerProcess
{
public:
    explicit ServerProcess(const QString &dir) : m_record(dir + QStringLiteral("/record")) {}
    ~ServerProcess()
    {
        m_process.kill();
        m_process.waitForFinished();
    }
    bool start(const QString &modes)
    {
        QString python =
            QStandardPaths::findExecutable(QStringLiteral("python3"), {QStringLiteral("/usr/bin")});
        if (python.isEmpty())
            python = QStandardPaths::findExecutable(QStringLiteral("python3"));
        m_process.start(python, {QStringLiteral(SMTP_SERVER_SCRIPT), modes, m_record});
        if (!QTest::qWaitFor([this] { return m_process.canReadLine(); }, 10000))
            return false;
        port = m_process.readLine().trimmed().toUShort();
        return port != 0;
    }
    QList<QByteArray> events() const { return fileBytes(m_record).split('\n'); }
    QStringList commands() const
    {
        QStringList out;
        for (const QByteArray &e : events())
            if (e.startsWith("CMD "))
                out << QString::fromLatin1(e.mid(4));
        return out;
    }
    bool sawClose() const { return events().contains("CLOSED"); }
    QByteArray message(int n) const { return fileBytes(m_record + u'.' + QString::number(n)); }

    quint16 port = 0;

private:
    QString m_record;
    QProcess m_process;
};
