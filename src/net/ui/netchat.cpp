#include "netchat.h"

#include "chatsession.h"

#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QVBoxLayout>

NetChat::NetChat(ChatSession &chat, QWidget *parent) : QWidget(parent, Qt::Window), m_chat(chat)
{
    setObjectName(QStringLiteral("NetChat"));
    setWindowTitle(QStringLiteral("Global NetWork Chat"));
    auto *menu = new QMenuBar;
    auto *send = menu->addAction(QStringLiteral("送信"));
    send->setObjectName(QStringLiteral("mnu_Send"));
    auto *request = menu->addAction(QStringLiteral("ﾁｬｯﾄ開始案内"));
    request->setObjectName(QStringLiteral("mnu_Request"));
    auto *clear = menu->addAction(QStringLiteral("ﾒｯｾｰｼﾞ消去"));
    clear->setObjectName(QStringLiteral("mnu_Clear"));
    m_history = new QPlainTextEdit;
    m_history->setObjectName(QStringLiteral("txt_History"));
    m_history->setReadOnly(true);
    m_history->setMaximumBlockCount(ChatSession::HistoryLines);
    for (const QString &line : chat.globalHistory())
        m_history->appendPlainText(line);
    m_message = new QLineEdit;
    m_message->setObjectName(QStringLiteral("txt_Message"));
    connect(send, &QAction::triggered, this, &NetChat::send);
    connect(m_message, &QLineEdit::returnPressed, this, &NetChat::send);
    connect(request, &QAction::triggered, &chat, &ChatSession::invite);
    connect(clear, &QAction::triggered, &chat, &ChatSession::clearGlobal);
    connect(&chat, &ChatSession::globalLine, m_history, &QPlainTextEdit::appendPlainText);
    connect(&chat, &ChatSession::globalCleared, m_history, &QPlainTextEdit::clear);
    auto *layout = new QVBoxLayout(this);
    layout->setMenuBar(menu);
    layout->addWidget(m_history, 1);
    layout->addWidget(m_message);
    resize(480, 320);
}

QString NetChat::history() const
{
    return m_history->toPlainText();
}

void NetChat::send()
{
    // A refused line stays for editing.
    if (m_chat.sendGlobal(m_message->text()))
        m_message->clear();
}
