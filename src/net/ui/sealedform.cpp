#include "sealedform.h"

#include "nettags.h"
#include "tagrecord.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

SealedForm::SealedForm(NetTags &tags, int k, const TagRecord &tag, QWidget *parent)
    : QWidget(parent, Qt::Window), m_tags(tags), m_k(k)
{
    setObjectName(QStringLiteral("SealedForm"));
    setWindowTitle(QStringLiteral("封書の付箋"));
    auto *sender =
        new QLabel(tag.text(Tag::SenderName) + QStringLiteral(" から封書の付箋が届いています。"));
    sender->setObjectName(QStringLiteral("lbl_Sender"));
    auto *address = new QLabel(tag.text(Tag::SenderAddress));
    address->setObjectName(QStringLiteral("lbl_IPAddress"));
    // Holds the password for the opening check; never shown.
    auto *password = new QLabel(tag.text(Tag::Password));
    password->setObjectName(QStringLiteral("lbl_PassWord"));
    password->hide();
    auto *open = new QPushButton(QStringLiteral("開封する"));
    open->setObjectName(QStringLiteral("cmd_Open"));
    auto *discard = new QPushButton(QStringLiteral("開かずに廃棄"));
    discard->setObjectName(QStringLiteral("cmd_Delete"));
    connect(open, &QPushButton::clicked, this, [this] {
        if (m_tags.openSealed(m_k) == NetTags::Opened::Opened)
            close();
    });
    connect(discard, &QPushButton::clicked, this, [this] {
        if (m_tags.discardSealed(m_k))
            close();
    });
    auto *buttons = new QHBoxLayout;
    buttons->addWidget(open);
    buttons->addWidget(discard);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(sender);
    layout->addWidget(address);
    layout->addWidget(password);
    layout->addLayout(buttons);
}
