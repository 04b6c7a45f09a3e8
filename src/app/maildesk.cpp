#include "maildesk.h"

#include "addressbookfile.h"
#include "addresslist.h"
#include "prompt.h"
#include "sendmail.h"
#include "smtpsetup.h"
#include "tagstore.h"

#include <QDebug>

MailDesk::MailDesk(const FileSet &files, const TagStore &store, Prompt &prompt, const Clock &clock,
                   QObject *parent)
    : QObject(parent), m_files(files), m_store(store), m_prompt(prompt), m_log(files.log, clock),
      m_sender(m_log, clock, prompt), m_mailer(files, store, m_sender, clock, prompt)
{
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

void MailDesk::SendTagMail(int k)
{
    m_mailer.SendTagMail(k);
}

void MailDesk::sendContent(int k, QWidget *parent)
{
    const auto tag = m_store.readTag(k);
    if (!tag)
        return;
    SendMail dialog(m_book, MailSettingsFile(m_files.dt4).read(k), parent);
    if (dialog.exec() == QDialog::Accepted)
        m_mailer.sendDirect(dialog.settings(), tag->message());
}

void MailDesk::editRecipients(QObject *editor, int k, QWidget *parent)
{
    const MailSettingsFile file(m_files.dt4);
    const auto pending = m_pending.find(editor);
    const TagMailSettings current =
        pending != m_pending.end() ? pending->second : k > 0 ? file.read(k) : TagMailSettings{};
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
        auto *setup = new SmtpSetup(m_store, m_sender, m_prompt);
        setup->setAttribute(Qt::WA_DeleteOnClose);
        connect(setup, &SmtpSetup::settingsStored, this, &MailDesk::loadAddressBook);
        m_setup = setup;
    }
    m_setup->show();
    m_setup->raise();
    m_setup->activateWindow();
}

void MailDesk::openAddressList()
{
    if (!m_addressList) {
        auto *list = new AddressList(m_book, m_files.dt3, m_store, m_prompt);
        list->setAttribute(Qt::WA_DeleteOnClose);
        m_addressList = list;
    }
    m_addressList->show();
    m_addressList->raise();
    m_addressList->activateWindow();
}
