#pragma once

#include "smtpsession.h"

#include <QList>
#include <QObject>

class Clock;
class CommLog;
class Prompt;

// What the program calls to send a mail or test the server: one session at a
// time, later requests wait their turn, and the user is told of failures.
class MailSender : public QObject
{
    Q_OBJECT
public:
    MailSender(CommLog &log, const Clock &clock, Prompt &prompt, QObject *parent = nullptr);

    // Queued; a mail that comes while one is sent waits its turn.
    void send(const SmtpSettings &settings, const SmtpMail &mail);
    // Queued like a mail; tells the user the outcome.
    void runConnectionTest(const SmtpSettings &settings);
    bool isBusy() const;

    // The user's texts for a failed mail, by whether the log is written.
    static QString failureMessage(bool logging, const QString &detail);
    // A mail that failed before any session: logged and told like a failed one.
    void reportFailure(const QString &detail);
    // The detail of the last failure reported that way.
    QString lastFailure() const { return m_lastFailure; }

Q_SIGNALS:
    void sent(bool ok, const QString &detail); // after each queued mail
    void testFinished(bool ok, const QString &detail);

private:
    struct Job
    {
        SmtpSession::Mode mode;
        SmtpSettings settings;
        SmtpMail mail;
    };

    void startNext();
    void onFinished(bool ok, const QString &detail);

    CommLog &m_log;
    Prompt &m_prompt;
    SmtpSession m_session;
    QList<Job> m_queue;
    SmtpSession::Mode m_current = SmtpSession::Mode::Send;
    bool m_reporting = false;
    QString m_lastFailure;
};
