#include "tagmail.h"

#include "settings.h"

#include "clock.h"
#include "mailsender.h"
#include "prompt.h"
#include "tagstore.h"

namespace {
bool hasAddress(const QStringList &list)
{
    for (const QString &a : list) {
        if (!a.isEmpty())
            return true;
    }
    return false;
}
QString failedPrefix()
{
    return QStringLiteral("メール送信に失敗しました。　");
}
} // namespace

QString TagMailer::noAddressText()
{
    return QStringLiteral("An e-mail address isn't found out. It stops the sending of e-mail.");
}

TagMailer::TagMailer(const FileSet &files, const TagStore &store, const Settings &settings,
                     MailSender &sender, const Clock &clock, Prompt &prompt)
    : m_files(files), m_store(store), m_settings(settings), m_sender(sender), m_clock(clock),
      m_prompt(prompt)
{
}

MailContent TagMailer::addressed(const TagMailSettings &recipients, const QString &body) const
{
    MailContent c;
    c.from = m_settings.env().text(Env::SmtpFrom);
    c.to = recipients.to;
    c.cc = recipients.cc;
    c.bcc = recipients.bcc;
    c.subject = recipients.subject;
    c.body = body;
    return c;
}

std::optional<MailContent> TagMailer::contentOf(int k, QString *error) const
{
    const auto tag = m_store.readTag(k, error);
    if (!tag)
        return std::nullopt;
    MailContent c = addressed(MailSettingsFile(m_files.dt4).read(k), tag->message());
    // The file box of a mail tag attaches its file.
    if (tag->hasSoundOrAttachment())
        c.attachmentPath = tag->text(Tag::FilePath);
    return c;
}

bool TagMailer::SendTagMail(int k)
{
    QString why;
    const auto content = contentOf(k, &why);
    if (!content) {
        m_sender.reportFailure(failedPrefix() + why);
        return false;
    }
    return queue(*content);
}

bool TagMailer::sendDirect(const TagMailSettings &recipients, const QString &text)
{
    MailContent c = addressed(recipients, text);
    c.directText = true;
    return queue(c);
}

bool TagMailer::queue(const MailContent &given)
{
    MailContent content = given;
    tidyRecipients(content.to, content.cc, content.bcc);
    if (!hasAddress(content.to)) {
        m_prompt.warn(noAddressText());
        return false;
    }
    QString why;
    const auto composed = ComposeTagMail(content, m_clock.now(), &why);
    if (!composed) {
        m_sender.reportFailure(failedPrefix() + why);
        return false;
    }
    SmtpMail mail;
    mail.to = content.to;
    mail.cc = content.cc;
    mail.bcc = content.bcc;
    mail.message = composed->header + composed->body;
    m_sender.send(smtpSettingsFrom(m_settings.env()), mail);
    return true;
}
