#include "resultform.h"

#include "nettags.h"

#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

ResultForm::ResultForm(const ResultLines &lines, QWidget *parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("ResultForm"));
    setWindowTitle(QStringLiteral("開封確認"));
    auto *heading = new QLabel(lines.heading);
    heading->setObjectName(QStringLiteral("lbl_Heading"));
    auto *sender = new QLabel(lines.sender);
    sender->setObjectName(QStringLiteral("lbl_Sender"));
    auto *text = new QPlainTextEdit(lines.text);
    text->setObjectName(QStringLiteral("txt_Tag"));
    text->setReadOnly(true);
    auto *close = new QPushButton(QStringLiteral("閉じる"));
    close->setObjectName(QStringLiteral("cmd_Close"));
    connect(close, &QPushButton::clicked, this, &QWidget::close);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(heading);
    layout->addWidget(sender);
    layout->addWidget(text, 1);
    layout->addWidget(close);
    resize(360, 240);
}
