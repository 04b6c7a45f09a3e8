#include "clipmail.h"

#include "dialogbuttons.h"
#include "prompt.h"
#include "sendmail.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

ClipMail::ClipMail(const AddressBook &book, const QString &text, Prompt &prompt, QWidget *parent)
    : QDialog(parent), m_book(book), m_prompt(prompt)
{
    setObjectName(QStringLiteral("frmClipMail"));
    setWindowTitle(QStringLiteral("ｸﾘｯﾌﾟﾎﾞｰﾄﾞのﾃｷｽﾄをE-Mailで送信"));
    m_text = new QPlainTextEdit(text);
    m_text->setObjectName(QStringLiteral("txt_Message"));
    m_summary = new QLabel;
    m_summary->setObjectName(QStringLiteral("lbl_Address"));
    m_summary->setWordWrap(true);
    auto *address = new QPushButton(QStringLiteral("宛先..."));
    address->setObjectName(QStringLiteral("cmd_Address"));
    auto *sendButton = namedButton("cmd_Send", QStringLiteral("送信"));
    auto *cancel = namedButton("cmd_Cancel", QStringLiteral("キャンセル"));
    connect(address, &QPushButton::clicked, this, &ClipMail::chooseRecipients);
    connect(sendButton, &QPushButton::clicked, this, &ClipMail::send);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);

    auto *head = new QHBoxLayout;
    head->addWidget(m_summary, 1);
    head->addWidget(address);
    QHBoxLayout *buttons = buttonRow({sendButton, cancel});
    auto *top = new QVBoxLayout(this);
    top->addLayout(head);
    top->addWidget(m_text, 1);
    top->addLayout(buttons);
    setRecipients({});
    resize(480, 360);
}

QString ClipMail::text() const
{
    return m_text->toPlainText();
}

void ClipMail::setRecipients(const TagMailSettings &recipients)
{
    m_recipients = recipients;
    const QStringList all = recipients.to + recipients.cc + recipients.bcc;
    m_summary->setText(all.isEmpty()
                           ? QStringLiteral("宛先：（なし）")
                           : QStringLiteral("宛先：%1\n件名：%2")
                                 .arg(all.join(QStringLiteral(", ")), recipients.subject));
}

void ClipMail::chooseRecipients()
{
    SendMail dialog(m_book, m_recipients, this);
    if (dialog.exec() == QDialog::Accepted)
        setRecipients(dialog.settings());
}

void ClipMail::send()
{
    if (m_recipients.to.isEmpty() && m_recipients.cc.isEmpty() && m_recipients.bcc.isEmpty()) {
        m_prompt.warn(noRecipientText());
        return;
    }
    if (text().trimmed().isEmpty()) {
        m_prompt.warn(noTextText());
        m_text->setFocus();
        return;
    }
    accept();
}

QString ClipMail::noRecipientText()
{
    return QStringLiteral("宛先を選択して下さい。");
}

QString ClipMail::noTextText()
{
    return QStringLiteral("送信する内容がありません。");
}
