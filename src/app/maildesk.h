#pragma once

#include "addressbook.h"
#include "commlog.h"
#include "fileset.h"
#include "mailsender.h"
#include "mailsettingsfile.h"
#include "tagmail.h"

#include <QObject>
#include <QPointer>
#include <map>

class Clock;
class Prompt;
class QWidget;
class Settings;
class TagStore;

// Everything mail in the running program: the log, the sender with its queue,
// the address book, the recipients kept per tag, and the mail windows.
class MailDesk : public QObject
{
    Q_OBJECT
public:
    MailDesk(const FileSet &files, const TagStore &store, Settings &settings, Prompt &prompt,
             const Clock &clock, QObject *parent = nullptr);
    ~MailDesk() override;

    CommLog &log() { return m_log; }
    MailSender &sender() { return m_sender; }
    TagMailer &mailer() { return m_mailer; }
    const AddressBook &book() const { return m_book; }

    // Start-up and after the settings are stored: Pinboard.dt3 into memory. A
    // book that cannot be read leaves an empty one and a diagnostic line.
    void loadAddressBook();

    // A mail tag came due.
    void SendTagMail(int k);
    // 内容をE-Mailで送る: the tag's text goes to the recipients chosen now.
    void sendContent(int k, QWidget *parent = nullptr);
    // What that dialog opens with: the choice of a send that has not gone out yet,
    // else the recipients stored for the tag.
    TagMailSettings contentRecipients(int k) const;
    // Sends tag k's text to recipients; they are kept until the mail is out.
    void sendContentTo(int k, const TagMailSettings &recipients);
    static QString contentSentText();
    // A text that belongs to no tag (the clipboard's), to recipients chosen now.
    void sendText(const TagMailSettings &recipients, const QString &text);

    // The editor's mail button: the recipients and subject of tag k (0: the new
    // tag that editor will store, kept until it is stored).
    void editRecipients(QObject *editor, int k, QWidget *parent = nullptr);
    void tagStored(QObject *editor, int k);
    void editorClosed(QObject *editor);
    // A tag deleted for good leaves no recipients behind for the next tag in its record.
    void forgetTag(int k);

    void openSmtpSetup();
    void openAddressList();

Q_SIGNALS:
    // A short notice for the tray (a mail of 内容をE-Mailで送る went out).
    void notice(const QString &text);

private:
    void mailFinished(bool ok);

    FileSet m_files;
    const TagStore &m_store;
    Settings &m_settings;
    Prompt &m_prompt;
    CommLog m_log;
    MailSender m_sender;
    TagMailer m_mailer;
    AddressBook m_book;
    std::map<QObject *, TagMailSettings> m_pending;
    std::map<int, TagMailSettings> m_unsent; // by tag, until its content mail is out
    QList<int> m_queued; // per queued mail: the tag of a content mail, 0 for a tag's own

    QPointer<QWidget> m_setup;
    QPointer<QWidget> m_addressList;
};
