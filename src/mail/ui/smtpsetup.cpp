#include "smtpsetup.h"
#include "dialogbuttons.h"

#include "mailsender.h"
#include "prompt.h"
#include "settings.h"

#include <QGridLayout>
#include <QHBoxLayout>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>

#include <algorithm>

namespace {
constexpr int MaxStep = 7;
constexpr int FieldChars = 64; // SmtpServer and SmtpFrom are 64-byte fields

QLineEdit *lineEdit(const QString &name, QWidget *parent)
{
    auto *edit = new QLineEdit(parent);
    edit->setObjectName(name);
    edit->setMaxLength(FieldChars);
    return edit;
}

} // namespace

std::optional<SmtpInputFault> validateSmtpInput(const QString &server, const QString &port,
                                                const QString &from)
{
    if (server.trimmed().isEmpty())
        return SmtpInputFault{QStringLiteral("送信メールサーバー名を指定して下さい。"),
                              QStringLiteral("txt_MailServer")};
    if (port.trimmed().isEmpty())
        return SmtpInputFault{QStringLiteral("送信メールサーバーのポート番号を指定して下さい。"),
                              QStringLiteral("txt_SMTPPort")};
    if (from.trimmed().isEmpty())
        return SmtpInputFault{QStringLiteral("送信元メールアドレスを指定して下さい。"),
                              QStringLiteral("txt_FromAddress")};
    if (from.count(u'@') != 1)
        return SmtpInputFault{QStringLiteral("送信元メールアドレスの体系が正しくありません。"),
                              QStringLiteral("txt_FromAddress")};
    return std::nullopt;
}

QString timeStepLabel(int step)
{
    static const char16_t *const Labels[] = {u"30秒",    u"1分", u"1分30秒", u"2分",
                                             u"2分30秒", u"3分", u"3分30秒", u"4分"};
    return step >= 0 && step <= MaxStep ? QString::fromUtf16(Labels[step]) : QString();
}

SmtpSetup::SmtpSetup(Settings &settings, MailSender &sender, Prompt &prompt, QWidget *parent)
    : QDialog(parent), m_settings(settings), m_sender(sender), m_prompt(prompt)
{
    setObjectName(QStringLiteral("frmSMTPSetup"));
    setWindowTitle(QStringLiteral("メール設定"));

    m_server = lineEdit(QStringLiteral("txt_MailServer"), this);
    m_port = lineEdit(QStringLiteral("txt_SMTPPort"), this);
    m_port->setValidator(new QIntValidator(0, 65535, m_port));
    m_from = lineEdit(QStringLiteral("txt_FromAddress"), this);
    m_server->setMinimumWidth(fontMetrics().averageCharWidth() * 32);
    m_step = new QScrollBar(Qt::Horizontal, this);
    m_step->setObjectName(QStringLiteral("HScroll1"));
    m_step->setRange(0, MaxStep);
    m_step->setPageStep(1);
    m_stepLabel = new QLabel(this);
    m_stepLabel->setObjectName(QStringLiteral("lbl_TimeLimit"));
    m_stepLabel->setMinimumWidth(fontMetrics().horizontalAdvance(timeStepLabel(2)) + 8);

    auto *grid = new QGridLayout(this);
    grid->addWidget(new QLabel(QStringLiteral("送信メールサーバー名"), this), 0, 0);
    grid->addWidget(m_server, 0, 1, 1, 2);
    grid->addWidget(new QLabel(QStringLiteral("ポート番号"), this), 1, 0);
    grid->addWidget(m_port, 1, 1, 1, 2);
    grid->addWidget(new QLabel(QStringLiteral("タイムアウト"), this), 2, 0);
    grid->addWidget(m_step, 2, 1);
    grid->addWidget(m_stepLabel, 2, 2);
    grid->addWidget(new QLabel(QStringLiteral("送信元メールアドレス"), this), 3, 0);
    grid->addWidget(m_from, 3, 1, 1, 2);
    auto *buttons = new QHBoxLayout;
    m_test = plainButton("cmd_ConnTest", QStringLiteral("接続テスト"), this);
    auto *entry = plainButton("cmd_Entry", QStringLiteral("登録"), this);
    auto *cancel = plainButton("cmd_Cancel", QStringLiteral("キャンセル"), this);
    buttons->addWidget(m_test);
    buttons->addStretch();
    buttons->addWidget(entry);
    buttons->addWidget(cancel);
    grid->addLayout(buttons, 4, 0, 1, 3);
    grid->setColumnStretch(1, 1);

    connect(m_step, &QScrollBar::valueChanged, this,
            [this](int value) { m_stepLabel->setText(timeStepLabel(value)); });
    connect(entry, &QPushButton::clicked, this, &SmtpSetup::store);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_test, &QPushButton::clicked, this, &SmtpSetup::connectionTest);
    // One test at a time from this dialog; the sender queues behind any mail.
    connect(&m_sender, &MailSender::testFinished, this, [this] { m_test->setEnabled(true); });

    const EnvRecord &env = m_settings.env();
    m_server->setText(env.text(Env::SmtpServer));
    m_port->setText(QString::number(env.longValue(Env::SmtpPort)));
    m_from->setText(env.text(Env::SmtpFrom));
    m_step->setValue(env.longValue(Env::SmtpTimeStep));
    m_stepLabel->setText(timeStepLabel(m_step->value()));
}

void SmtpSetup::store()
{
    const QString error = m_settings.change([this](EnvRecord &env) {
        env.setByte(Env::MailConfigured, 1);
        env.setText(Env::SmtpServer, m_server->text().trimmed());
        env.setLong(Env::SmtpPort, std::clamp(m_port->text().toInt(), 0, 65535));
        env.setLong(Env::SmtpTimeStep, m_step->value());
        env.setText(Env::SmtpFrom, m_from->text().trimmed());
    });
    if (!error.isEmpty()) {
        m_prompt.warn(error);
        return;
    }
    m_prompt.inform(QStringLiteral("メール情報の設定を行いました。"));
    Q_EMIT settingsStored();
    accept();
}

void SmtpSetup::connectionTest()
{
    if (const auto fault = validateSmtpInput(m_server->text(), m_port->text(), m_from->text())) {
        m_prompt.warn(fault->message);
        if (auto *control = findChild<QWidget *>(fault->control))
            control->setFocus();
        return;
    }
    SmtpSettings settings;
    settings.server = m_server->text().trimmed();
    settings.port = quint16(std::clamp(m_port->text().toInt(), 0, 65535));
    settings.from = m_from->text().trimmed();
    settings.timeLimitMs = smtpTimeLimitMs(m_step->value());
    m_test->setEnabled(false);
    m_sender.runConnectionTest(settings);
}
