#pragma once

#include <QDialog>

class NetEndpoint;
class QTreeWidget;

// GroupList (参加者一覧): the participants with a name, in table order, kept
// up to date while it is open.
class GroupList : public QDialog
{
    Q_OBJECT
public:
    explicit GroupList(const NetEndpoint &endpoint, QWidget *parent = nullptr);
    void refresh();

private:
    const NetEndpoint &m_endpoint;
    QTreeWidget *m_list;
};
