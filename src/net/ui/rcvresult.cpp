#include "rcvresult.h"

#include "nettags.h"

#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

RcvResult::RcvResult(QWidget *parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("RcvResult"));
    setWindowTitle(QStringLiteral("受信確認"));
    m_lines = new QListWidget;
    m_lines->setObjectName(QStringLiteral("lst_Result"));
    auto *confirm = new QPushButton(QStringLiteral("確認"));
    confirm->setObjectName(QStringLiteral("cmd_Confirm"));
    connect(confirm, &QPushButton::clicked, this, &QWidget::close);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_lines, 1);
    layout->addWidget(confirm);
    resize(320, 220);
}

void RcvResult::addLine(const QString &line)
{
    m_lines->addItem(line);
    while (m_lines->count() > NetTags::MaxReceipts)
        delete m_lines->takeItem(0);
    m_lines->scrollToBottom();
}

QStringList RcvResult::lines() const
{
    QStringList out;
    for (int i = 0; i < m_lines->count(); ++i)
        out << m_lines->item(i)->text();
    return out;
}
