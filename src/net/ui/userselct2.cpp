#include "userselct2.h"

#include "chatsession.h"
#include "dialogbuttons.h"
#include "netendpoint.h"
#include "prompt.h"
#include "tagsender.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

UserSelct2::UserSelct2(NetEndpoint &endpoint, ChatSession &chat, Prompt &prompt, QWidget *parent)
    : QDialog(parent), m_endpoint(endpoint), m_chat(chat), m_prompt(prompt)
{
    setObjectName(QStringLiteral("UserSelct2"));
    setWindowTitle(QStringLiteral("チャット相手の選択"));
    m_users = new QListWidget;
    m_users->setObjectName(QStringLiteral("lst_User"));
    const ParticipantTable &table = endpoint.participants();
    for (int i = 1; i <= table.last(); ++i)
        m_users->addItem(table.at(i).name);
    auto *ok = namedButton("cmd_OK", QStringLiteral("開始"));
    auto *cancel = namedButton("cmd_Cancel", QStringLiteral("ｷｬﾝｾﾙ"));
    connect(ok, &QPushButton::clicked, this, &UserSelct2::request);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_users, 1);
    layout->addLayout(buttonRow({ok, cancel}));
}

void UserSelct2::request()
{
    QList<int> rows;
    if (m_users->currentItem() && m_users->currentItem()->isSelected())
        rows << m_users->currentRow() + 1;
    if (const auto fault = checkChatPartner(m_endpoint.participants(), rows)) {
        m_prompt.warn(*fault);
        return;
    }
    const Participant &p = m_endpoint.participants().at(rows.first());
    m_chat.requestPrivate(p.address, p.name);
    accept();
}
