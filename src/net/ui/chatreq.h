#pragma once

#include <QDialog>

// Another user invites everyone into the global chat: OK opens it.
class ChatReq : public QDialog
{
    Q_OBJECT
public:
    explicit ChatReq(const QString &inviter, QWidget *parent = nullptr);
};
