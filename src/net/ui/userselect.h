#pragma once

#include "datagram.h"
#include "tagsender.h"

#include <QDialog>

class NetEndpoint;
class Prompt;
class QCheckBox;
class QLineEdit;
class QListWidget;
class QPushButton;

// Chooses the participants a tag goes to, and its seal, then sends it to them
// one by one. While it sends it stays responsive; cmd_Cancel stops it before
// the next recipient. It closes when the last one is served.
class UserSelect : public QDialog
{
    Q_OBJECT
public:
    // record: fields 1-28, 32, 33 of the tag; 29 and 30 preset the seal controls.
    UserSelect(NetEndpoint &endpoint, Prompt &prompt, const Net::TagDatagram &record,
               QWidget *parent = nullptr);

    TagSender &sender() { return m_sender; }
    // Rows chosen in lst_User: participant indexes, 1-based.
    QList<int> chosenRows() const;

Q_SIGNALS:
    void sent(int served, bool cancelled);

private:
    void send();
    void cancel();

    NetEndpoint &m_endpoint;
    Prompt &m_prompt;
    Net::TagDatagram m_record;
    TagSender m_sender;
    QListWidget *m_users = nullptr;
    QCheckBox *m_sealed = nullptr;
    QLineEdit *m_password = nullptr;
    QPushButton *m_ok = nullptr;
};
