#include "netsetup.h"

#include "dialogbuttons.h"
#include "prompt.h"
#include "settings.h"

#include <QCheckBox>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

NetSetup::NetSetup(Settings &settings, const LocalIdentity &local, Prompt &prompt, QWidget *parent)
    : QDialog(parent), m_settings(settings), m_local(local), m_prompt(prompt)
{
    setObjectName(QStringLiteral("NetSetup"));
    setWindowTitle(QStringLiteral("ネットワークの設定"));
    auto *layout = new QVBoxLayout(this);
    auto *top = new QGridLayout;
    m_port = new QLineEdit(this);
    m_port->setObjectName(QStringLiteral("txt_PortNo"));
    m_name = new QLineEdit(this);
    m_name->setObjectName(QStringLiteral("txt_UserName"));
    top->addWidget(new QLabel(QStringLiteral("ポート番号"), this), 0, 0);
    top->addWidget(m_port, 0, 1);
    top->addWidget(new QLabel(QStringLiteral("ユーザー名"), this), 1, 0);
    top->addWidget(m_name, 1, 1);
    layout->addLayout(top);
    layout->addWidget(new QLabel(QStringLiteral("ブロードキャストアドレス"), this));
    auto *rows = new QGridLayout;
    auto *digits =
        new QRegularExpressionValidator(QRegularExpression(QStringLiteral("[0-9]{0,3}")), this);
    for (int row = 0; row < TargetSlots; ++row) {
        for (int c = 0; c < 4; ++c) {
            auto *edit = new QLineEdit(this);
            edit->setObjectName(QStringLiteral("txt_IP%1_%2").arg(c + 1).arg(row));
            edit->setValidator(digits);
            edit->setMaximumWidth(48);
            rows->addWidget(edit, row, c);
            m_octets[std::size_t(row)][std::size_t(c)] = edit;
        }
        auto *seq = new QCheckBox(QStringLiteral("シーケンシャル送信"), this);
        seq->setObjectName(QStringLiteral("chk_SeqSend_%1").arg(row));
        rows->addWidget(seq, row, 4);
        m_sequential[std::size_t(row)] = seq;
    }
    layout->addLayout(rows);
    auto *ok = namedButton("cmd_OK", QStringLiteral("OK"), this);
    auto *cancel = namedButton("cmd_Cancel", QStringLiteral("キャンセル"), this);
    layout->addLayout(buttonRow({ok, cancel}));
    connect(ok, &QPushButton::clicked, this, &NetSetup::accept);
    connect(cancel, &QPushButton::clicked, this, &NetSetup::reject);

    const NetSetupInput in = netSetupFromEnv(m_settings.env(), m_local);
    m_port->setText(in.port);
    m_name->setText(in.userName);
    for (int row = 0; row < TargetSlots; ++row) {
        for (int c = 0; c < 4; ++c)
            m_octets[std::size_t(row)][std::size_t(c)]->setText(
                in.octets[std::size_t(row)][std::size_t(c)]);
        m_sequential[std::size_t(row)]->setChecked(in.sequential[std::size_t(row)]);
    }
}

NetSetupInput NetSetup::input() const
{
    NetSetupInput in;
    in.port = m_port->text();
    in.userName = m_name->text();
    for (int row = 0; row < TargetSlots; ++row) {
        for (int c = 0; c < 4; ++c)
            in.octets[std::size_t(row)][std::size_t(c)] =
                m_octets[std::size_t(row)][std::size_t(c)]->text();
        in.sequential[std::size_t(row)] = m_sequential[std::size_t(row)]->isChecked();
    }
    return in;
}

void NetSetup::accept()
{
    const NetSetupInput in = input();
    if (const auto f = validateNetSetup(in)) {
        m_prompt.inform(f->message);
        if (auto *w = findChild<QWidget *>(f->control))
            w->setFocus();
        return;
    }
    const QString error =
        m_settings.change([&](EnvRecord &env) { storeNetSetup(in, m_local, env); });
    if (error.isEmpty()) {
        QDialog::accept();
        Q_EMIT settingsStored();
        return;
    }
    qWarning().noquote() << "Pinboard:" << error;
}
