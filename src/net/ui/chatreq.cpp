#include "chatreq.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

ChatReq::ChatReq(const QString &inviter, QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("ChatReq"));
    setWindowTitle(QStringLiteral("Chat Request"));
    auto *text = new QLabel(QStringLiteral("Chat Request From ") + inviter);
    text->setObjectName(QStringLiteral("lbl_Request"));
    auto *ok = new QPushButton(QStringLiteral("OK"));
    ok->setObjectName(QStringLiteral("cmd_OK"));
    auto *no = new QPushButton(QStringLiteral("No"));
    no->setObjectName(QStringLiteral("cmd_No"));
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
    connect(no, &QPushButton::clicked, this, &QDialog::reject);
    auto *buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(ok);
    buttons->addWidget(no);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(text);
    layout->addLayout(buttons);
}
