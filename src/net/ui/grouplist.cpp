#include "grouplist.h"

#include "netendpoint.h"
#include "netlog.h"

#include <QHeaderView>
#include <QPushButton>
#include <QTreeWidget>
#include <QVBoxLayout>

GroupList::GroupList(const NetEndpoint &endpoint, QWidget *parent)
    : QDialog(parent), m_endpoint(endpoint)
{
    setObjectName(QStringLiteral("GroupList"));
    setWindowTitle(QStringLiteral("参加者一覧"));
    auto *layout = new QVBoxLayout(this);
    m_list = new QTreeWidget(this);
    m_list->setObjectName(QStringLiteral("lst_User"));
    m_list->setRootIsDecorated(false);
    m_list->setHeaderLabels(
        {QStringLiteral("ユーザー名"), QStringLiteral("アドレス"), QStringLiteral("バージョン")});
    layout->addWidget(m_list);
    auto *close = new QPushButton(QStringLiteral("閉じる"), this);
    close->setObjectName(QStringLiteral("cmd_Close"));
    layout->addWidget(close, 0, Qt::AlignRight);
    connect(close, &QPushButton::clicked, this, &QDialog::close);
    connect(&endpoint, &NetEndpoint::participantsChanged, this, &GroupList::refresh);
    refresh();
    resize(420, 300);
}

void GroupList::refresh()
{
    m_list->clear();
    const ParticipantTable &t = m_endpoint.participants();
    const QList<int> listed = t.listed();
    for (int i : listed) {
        const Participant &p = t.at(i);
        new QTreeWidgetItem(m_list, {p.name, NetLog::AddrToText(p.address).trimmed(), p.version});
    }
}
