#include "mailsender.h"

#include "commlog.h"
#include "prompt.h"
#include "socketerrortext.h"

MailSender::MailSender(CommLog &log, const Clock &clock, Prompt &prompt, QObject *parent)
    : QObject(parent), m_log(log), m_prompt(prompt), m_session(log, clock)
{
    connect(&m_session, &SmtpSession::finished, this, &MailSender::onFinished);
}

void MailSender::send(const SmtpSettings &settings, const SmtpMail &mail)
{
    m_queue.append({SmtpSession::Mode::Send, settings, mail});
    startNext();
}

void MailSender::runConnectionTest(const SmtpSettings &settings)
{
    m_queue.append({SmtpSession::Mode::ConnectionTest, settings, {}});
    startNext();
}

bool MailSender::isBusy() const
{
    return m_session.isRunning() || m_reporting || !m_queue.isEmpty();
}

QString MailSender::failureMessage(bool logging, const QString &detail)
{
    if (logging)
        return QStringLiteral("E-Mailの送信に失敗しました。詳細はログファイルを参照して下さい。");
    return QStringLiteral("E-Mailの送信に失敗しました。(") + detail +
           QStringLiteral(") 詳細はログファイルを記録する設定にして参照して下さい。");
}

void MailSender::reportFailure(const QString &detail)
{
    // The log line first: the box may stay open while the user reads the log.
    m_lastFailure = detail;
    m_log.writeStamped(detail);
    m_prompt.warn(failureMessage(m_log.isEnabled(), detail));
}

void MailSender::startNext()
{
    // While the user reads the outcome of the last session, new requests queue
    // up behind the ones already waiting.
    if (m_session.isRunning() || m_reporting || m_queue.isEmpty())
        return;
    const Job job = m_queue.takeFirst();
    m_current = job.mode;
    m_session.start(job.mode, job.settings, GetLocalComputerName(m_prompt), job.mail);
}

void MailSender::onFinished(bool ok, const QString &detail)
{
    m_reporting = true;
    if (m_current == SmtpSession::Mode::Send) {
        if (!ok)
            reportFailure(detail);
        Q_EMIT sent(ok, detail);
    } else {
        if (ok)
            m_prompt.inform(QStringLiteral("接続テストに成功しました。"));
        else
            m_prompt.warn(detail);
        Q_EMIT testFinished(ok, detail);
    }
    m_reporting = false;
    startNext();
}
