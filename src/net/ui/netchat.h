#pragma once

#include <QWidget>

class ChatSession;
class QLineEdit;
class QPlainTextEdit;

// The global chat: the history of every line heard since the program started
// (until mnu_Clear), a line to type, Enter or mnu_Send to broadcast it.
class NetChat : public QWidget
{
    Q_OBJECT
public:
    explicit NetChat(ChatSession &chat, QWidget *parent = nullptr);
    QString history() const;

private:
    void send();

    ChatSession &m_chat;
    QPlainTextEdit *m_history = nullptr;
    QLineEdit *m_message = nullptr;
};
