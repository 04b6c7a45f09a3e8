#include "userselect.h"

#include "dialogbuttons.h"
#include "netendpoint.h"
#include "netlog.h"
#include "prompt.h"

#include <QCheckBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

UserSelect::UserSelect(NetEndpoint &endpoint, Prompt &prompt, const Net::TagDatagram &record,
                       QWidget *parent)
    : QDialog(parent), m_endpoint(endpoint), m_prompt(prompt), m_record(record), m_sender(endpoint)
{
    setObjectName(QStringLiteral("UserSelect"));
    setWindowTitle(QStringLiteral("送信先の選択"));
    m_users = new QListWidget;
    m_users->setObjectName(QStringLiteral("lst_User"));
    m_users->setSelectionMode(QAbstractItemView::MultiSelection);
    // Row i is participant i + 1, logged-out ones included, so rows and indexes match.
    const ParticipantTable &table = endpoint.participants();
    for (int i = 1; i <= table.last(); ++i)
        m_users->addItem(table.at(i).name);

    m_sealed = new QCheckBox(QStringLiteral("他のｺﾝﾋﾟｭｰﾀに封書で送る"));
    m_sealed->setObjectName(QStringLiteral("chk_Sealed"));
    m_sealed->setChecked(record.text(Net::TagWire::Sealed) == u"1");
    m_password = new QLineEdit(record.text(Net::TagWire::Password));
    m_password->setObjectName(QStringLiteral("txt_PassWord"));
    m_password->setMaxLength(8);
    m_password->setEchoMode(QLineEdit::Password);

    m_ok = namedButton("cmd_OK", QStringLiteral("送信"));
    auto *cancel = namedButton("cmd_Cancel", QStringLiteral("ｷｬﾝｾﾙ"));
    connect(m_ok, &QPushButton::clicked, this, &UserSelect::send);
    connect(cancel, &QPushButton::clicked, this, &UserSelect::cancel);
    connect(&m_sender, &TagSender::finished, this, [this](int served, bool cancelled) {
        Q_EMIT sent(served, cancelled);
        accept();
    });

    auto *seal = new QHBoxLayout;
    seal->addWidget(m_sealed);
    seal->addWidget(new QLabel(QStringLiteral("ﾊﾟｽﾜｰﾄﾞ")));
    seal->addWidget(m_password);
    auto *layout = new QVBoxLayout(this);
    layout->addWidget(m_users, 1);
    layout->addLayout(seal);
    layout->addLayout(buttonRow({m_ok, cancel}));
}

QList<int> UserSelect::chosenRows() const
{
    QList<int> rows;
    for (int i = 0; i < m_users->count(); ++i) {
        if (m_users->item(i)->isSelected())
            rows << i + 1;
    }
    return rows;
}

void UserSelect::send()
{
    const QList<int> rows = chosenRows();
    if (const auto fault = checkTagRecipients(m_endpoint.participants(), rows,
                                              m_sealed->isChecked(), m_password->text())) {
        m_prompt.warn(*fault);
        return;
    }
    sealForSending(m_record, m_sealed->isChecked(), m_password->text(),
                   NetLog::AddrToText(m_endpoint.config().localIp), m_endpoint.config().userName);
    QList<quint32> to;
    for (int row : rows)
        to << m_endpoint.participants().at(row).address;
    m_ok->setEnabled(false);
    m_users->setEnabled(false);
    m_sealed->setEnabled(false);
    m_password->setEnabled(false);
    m_sender.start(m_record, to);
}

void UserSelect::cancel()
{
    if (m_sender.isBusy())
        m_sender.cancel(); // finished() closes the dialog
    else
        reject();
}
