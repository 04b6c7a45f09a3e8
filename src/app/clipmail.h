#pragma once

#include "addressbook.h"
#include "mailsettingsfile.h"

#include <QDialog>

class Prompt;
class QLabel;
class QPlainTextEdit;

// The clipboard text by mail: the text, which may still be changed, and the
// recipients and subject chosen from the address book with SendMail.
class ClipMail : public QDialog
{
    Q_OBJECT
public:
    ClipMail(const AddressBook &book, const QString &text, Prompt &prompt,
             QWidget *parent = nullptr);

    QString text() const;
    TagMailSettings recipients() const { return m_recipients; }
    void setRecipients(const TagMailSettings &recipients);

    // cmd_Send: refuses without a recipient or a text, else accepts.
    void send();

    static QString noRecipientText();
    static QString noTextText();

private:
    void chooseRecipients();

    const AddressBook &m_book;
    Prompt &m_prompt;
    QPlainTextEdit *m_text;
    QLabel *m_summary;
    TagMailSettings m_recipients;
};
