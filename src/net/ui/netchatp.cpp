#include "netchatp.h"

#include "chatsession.h"

#include <QCloseEvent>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QVBoxLayout>

NetChatP::NetChatP(ChatSession &chat, const QString &caption, QWidget *parent)
    : QWidget(parent, Qt::Window), m_chat(chat)
{
    setObjectName(QStringLiteral("NetChatP"));
    setWindowTitle(caption);
    auto *menu = new QMenuBar;
    auto *send = menu->addAction(QStringLiteral("送信"));
    send->setObjectName(QStringLiteral("mnu_Send"));
    auto *exit = menu->addAction(QStringLiteral("退出"));
    exit->setObjectName(QStringLiteral("mnu_Exit"));
    m_history = new QPlainTextEdit;
    m_history->setObjectName(QStringLiteral("txt_History"));
    m_history->setReadOnly(true);
    m_history->setMaximumBlockCount(ChatSession::HistoryLines);
    for (const QString &line : chat.privateHistory())
        m_history->appendPlainText(line);
    m_message = new QLineEdit;
    m_message->setObjectName(QStringLiteral("txt_Message"));
    connect(send, &QAction::triggered, this, &NetChatP::send);
    connect(m_message, &QLineEdit::returnPressed, this, &NetChatP::send);
    connect(exit, &QAction::triggered, this, &QWidget::close);
    connect(&chat, &ChatSession::privateLine, m_history, &QPlainTextEdit::appendPlainText);
    auto *layout = new QVBoxLayout(this);
    layout->setMenuBar(menu);
    layout->addWidget(m_history, 1);
    layout->addWidget(m_message);
    resize(480, 320);
}

QString NetChatP::history() const
{
    return m_history->toPlainText();
}

void NetChatP::send()
{
    if (m_chat.sendPrivate(m_message->text()))
        m_message->clear();
}

// Closing the window is leaving the chat: the partner hears it.
void NetChatP::closeEvent(QCloseEvent *event)
{
    if (m_chat.PrivateChatState() == PrivateChat::Talking)
        m_chat.leavePrivate();
    event->accept();
}
