#pragma once

#include <QDialog>

class ChatSession;
class NetEndpoint;
class Prompt;
class QListWidget;

// Chooses the partner of a private chat and sends the request; the answer (or
// its absence after 10 s) arrives through the chat session.
class UserSelct2 : public QDialog
{
    Q_OBJECT
public:
    UserSelct2(NetEndpoint &endpoint, ChatSession &chat, Prompt &prompt, QWidget *parent = nullptr);

private:
    void request();

    NetEndpoint &m_endpoint;
    ChatSession &m_chat;
    Prompt &m_prompt;
    QListWidget *m_users = nullptr;
};
