#include "frmnetwork.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

QString adapterText(const QNetworkInterface &adapter)
{
    QStringList lines;
    lines << QStringLiteral("アダプタ名: %1").arg(adapter.humanReadableName());
    if (adapter.humanReadableName() != adapter.name())
        lines << QStringLiteral("デバイス名: %1").arg(adapter.name());
    const auto entries = adapter.addressEntries();
    for (const QNetworkAddressEntry &e : entries) {
        lines << QStringLiteral("IPアドレス: %1").arg(e.ip().toString());
        lines << QStringLiteral("サブネットマスク: %1").arg(e.netmask().toString());
        if (!e.broadcast().isNull())
            lines << QStringLiteral("ブロードキャスト: %1").arg(e.broadcast().toString());
    }
    lines << QStringLiteral("MACアドレス: %1").arg(adapter.hardwareAddress());
    const auto f = adapter.flags();
    QStringList flags;
    const std::pair<QNetworkInterface::InterfaceFlag, const char *> names[] = {
        {QNetworkInterface::IsUp, "Up"},
        {QNetworkInterface::IsRunning, "Running"},
        {QNetworkInterface::CanBroadcast, "Broadcast"},
        {QNetworkInterface::IsLoopBack, "Loopback"},
        {QNetworkInterface::IsPointToPoint, "PointToPoint"},
        {QNetworkInterface::CanMulticast, "Multicast"}};
    for (const auto &[flag, name] : names) {
        if (f.testFlag(flag))
            flags << QString::fromLatin1(name);
    }
    lines << QStringLiteral("状態: %1").arg(flags.join(u' '));
    return lines.join(u'\n');
}

FrmNetwork::FrmNetwork(QWidget *parent) : QDialog(parent)
{
    setObjectName(QStringLiteral("frmNetwork"));
    setWindowTitle(QStringLiteral("ネットワーク情報"));
    auto *layout = new QVBoxLayout(this);
    m_position = new QLabel(this);
    m_position->setObjectName(QStringLiteral("lbl_Page"));
    m_text = new QPlainTextEdit(this);
    m_text->setObjectName(QStringLiteral("txt_Info"));
    m_text->setReadOnly(true);
    layout->addWidget(m_position);
    layout->addWidget(m_text);
    auto *buttons = new QHBoxLayout;
    auto button = [&](const char *name, const QString &caption) {
        auto *b = new QPushButton(caption, this);
        b->setObjectName(QString::fromLatin1(name));
        buttons->addWidget(b);
        return b;
    };
    connect(button("cmd_Back", QStringLiteral("前へ")), &QPushButton::clicked, this,
            [this] { showPage(m_page - 1); });
    connect(button("cmd_Next", QStringLiteral("次へ")), &QPushButton::clicked, this,
            [this] { showPage(m_page + 1); });
    connect(button("cmd_Retry", QStringLiteral("再取得")), &QPushButton::clicked, this,
            &FrmNetwork::reload);
    connect(button("cmd_Exit", QStringLiteral("閉じる")), &QPushButton::clicked, this,
            &QDialog::close);
    layout->addLayout(buttons);
    reload();
    resize(420, 320);
}

void FrmNetwork::reload()
{
    m_adapters = QNetworkInterface::allInterfaces();
    showPage(0);
}

void FrmNetwork::showPage(int page)
{
    if (m_adapters.isEmpty()) {
        m_page = 0;
        m_position->setText(QStringLiteral("0 / 0"));
        m_text->setPlainText(QString());
        return;
    }
    m_page = std::clamp(page, 0, int(m_adapters.size()) - 1);
    m_position->setText(QStringLiteral("%1 / %2").arg(m_page + 1).arg(m_adapters.size()));
    m_text->setPlainText(adapterText(m_adapters.at(m_page)));
}
