#include "maildesk.h"

#include "addressbookfile.h"
#include "addresslist.h"
#include "bringup.h"
#include "prompt.h"
#include "sendmail.h"
#include "smtpsetup.h"
#include "tagstore.h"

#include <QDebug>

MailDesk::MailDesk(const FileSet &files, const TagStore &store, Settings &settings, Prompt &prompt,
                   const Clock &clock, QObject *parent)
    : QObject(parent), m_files(files), m_store(store), m_settings(settings), m_prompt(prompt),
      m_log(files.log, clock), m_sender(m_log, clock, prompt),
      m_mailer(files, store, settings, m_sender, clock, prompt)
{
    connect(&m_sender, &MailSender::sent, this, [this](bool ok) { mailFinished(ok); });
}

MailDesk::~MailDesk()
{
    delete m_setup;
    delete m_addressList;
}

void MailDesk::loadAddressBook()
{
    QString error;
    const auto data = readAddressBook(m_files.dt3, &error);
    if (!data) {
        qWarning().noquote() << "Pinboard:" << error;
        m_book = AddressBook();
        return;
    }
    m_book = AddressBook(*data);
}

QString MailDesk::contentSentText()
{
    return QStringLiteral("E-Mailを送信しました。");
}

void MailDesk::SendTagMail(int k)
{
    if (m_mailer.SendTagMail(k))
        m_queued << 0;
}

void MailDesk::sendContent(int k, QWidget *parent)
{
    if (!m_store.readTag(k))
        return;
    SendMail dialog(m_book, contentRecipients(k), parent);
    if (dialog.exec() == QDialog::Accepted)
        sendContentTo(k, dialog.settings());
}

TagMailSettings MailDesk::contentRecipients(int k) const
{
    const auto kept = m_unsent.find(k);
    return kept != m_unsent.end() ? kept->second : MailSettingsFile(m_files.dt4).read(k);
}

void MailDesk::sendContentTo(int k, const TagMailSettings &recipients)
{
    const auto tag = m_store.readTag(k);
    if (!tag)
        return;
    // Kept until the mail is out, so a failure does not cost the user the choice.
    m_unsent[k] = recipients;
    if (m_mailer.sendDirect(recipients, tag->message()))
        m_queued << k;
}

void MailDesk::sendText(const TagMailSettings &recipients, const QString &text)
{
    if (m_mailer.sendDirect(recipients, text))
        m_queued << 0;
}

void MailDesk::mailFinished(bool ok)
{
    if (m_queued.isEmpty())
        return;
    const int k = m_queued.takeFirst();
    if (k == 0 || !ok)
        return;
    m_unsent.erase(k);
    Q_EMIT notice(contentSentText());
}

void MailDesk::editRecipients(QObject *editor, int k, QWidget *parent)
{
    const MailSettingsFile file(m_files.dt4);
    const auto pending = m_pending.find(editor);
    const TagMailSettings current = pending != m_pending.end() ? pending->second
                                    : k > 0                    ? file.read(k)
                                                               : TagMailSettings{};
    SendMail dialog(m_book, current, parent);
    if (dialog.exec() != QDialog::Accepted)
        return;
    // Kept with the editor until it stores the tag, so a tag left unstored
    // changes nothing on disk.
    m_pending[editor] = dialog.settings();
}

void MailDesk::tagStored(QObject *editor, int k)
{
    const auto pending = m_pending.find(editor);
    if (pending == m_pending.end())
        return;
    QString error;
    if (!MailSettingsFile(m_files.dt4).write(k, pending->second, &error))
        m_prompt.warn(error);
    m_pending.erase(pending);
}

void MailDesk::editorClosed(QObject *editor)
{
    m_pending.erase(editor);
}

void MailDesk::forgetTag(int k)
{
    QString error;
    if (!MailSettingsFile(m_files.dt4).remove(k, &error))
        qWarning().noquote() << "Pinboard:" << error;
}

void MailDesk::openSmtpSetup()
{
    if (!m_setup) {
        auto *setup = new SmtpSetup(m_settings, m_sender, m_prompt);
        setup->setAttribute(Qt::WA_DeleteOnClose);
        connect(setup, &SmtpSetup::settingsStored, this, &MailDesk::loadAddressBook);
        m_setup = setup;
    }
    bringUp(m_setup);
}

void MailDesk::openAddressList()
{
    if (!m_addressList) {
        auto *list = new AddressList(m_book, m_files.dt3, m_settings, m_prompt);
        list->setAttribute(Qt::WA_DeleteOnClose);
        m_addressList = list;
    }
    bringUp(m_addressList);
}
