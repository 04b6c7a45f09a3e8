#pragma once

#include <QWidget>

class ChatSession;
class QLineEdit;
class QPlainTextEdit;

// The one-to-one chat with the partner of the session; mnu_Exit leaves it.
class NetChatP : public QWidget
{
    Q_OBJECT
public:
    NetChatP(ChatSession &chat, const QString &caption, QWidget *parent = nullptr);
    QString history() const;

protected:
    void closeEvent(QCloseEvent *event) override;

private:
    void send();

    ChatSession &m_chat;
    QPlainTextEdit *m_history = nullptr;
    QLineEdit *m_message = nullptr;
};
