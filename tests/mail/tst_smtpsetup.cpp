#include "clock.h"
#include "commlog.h"
#include "mailsender.h"
#include "manualclock.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "smtpserverprocess.h"
#include "smtpsetup.h"
#include "tagstore.h"
#include "tempstore.h"

#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

namespace {
template <typename T> T *child(QWidget &parent, const char *name)
{
    return parent.findChild<T *>(QLatin1String(name));
}
} // namespace

class TestSmtpSetup : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void validation_data();
    void validation();
    void timeLabels_data();
    void timeLabels();
    void storeAndCancel_data();
    void storeAndCancel();
    void connectionTest_data();
    void connectionTest();

private:
    std::unique_ptr<TempStore> m_data;
    TagStore *m_store = nullptr;
    Settings &settings() { return m_data->settings(); }
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0))};
    std::unique_ptr<CommLog> m_log;
    std::unique_ptr<ScriptedPrompt> m_prompt;
    std::unique_ptr<MailSender> m_sender;
    std::unique_ptr<ServerProcess> m_server;
};

void TestSmtpSetup::init()
{
    m_data = std::make_unique<TempStore>();
    m_store = &m_data->store;
    EnvRecord env;
    env.setText(Env::SmtpServer, QStringLiteral("mail.example.com"));
    env.setLong(Env::SmtpPort, 587);
    env.setLong(Env::SmtpTimeStep, 3);
    env.setText(Env::SmtpFrom, QStringLiteral("me@example.com"));
    QVERIFY(m_store->writeEnv(env));
    m_log = std::make_unique<CommLog>(m_data->path(QStringLiteral("Pinboard.log")), m_clock);
    m_prompt = std::make_unique<ScriptedPrompt>();
    m_sender = std::make_unique<MailSender>(*m_log, m_clock, *m_prompt);
}

void TestSmtpSetup::cleanup()
{
    m_server.reset();
}

void TestSmtpSetup::validation_data()
{
    QTest::addColumn<QString>("server");
    QTest::addColumn<QString>("port");
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("message");
    QTest::addColumn<QString>("control");
    const QString server = QStringLiteral("mail"), port = QStringLiteral("25");
    const auto row = [](const char *name, const QString &server, const QString &port,
                        const char *from, const char *message, const char *control) {
        QTest::newRow(name) << server << port << QString::fromUtf8(from)
                            << QString::fromUtf8(message) << QString::fromLatin1(control);
    };
    row("all empty", {}, {}, "", "送信メールサーバー名を指定して下さい。", "txt_MailServer");
    row("blank server", QStringLiteral("  "), port, "a@b", "送信メールサーバー名を指定して下さい。",
        "txt_MailServer");
    row("no port", server, {}, "", "送信メールサーバーのポート番号を指定して下さい。",
        "txt_SMTPPort");
    row("no sender", server, port, "", "送信元メールアドレスを指定して下さい。", "txt_FromAddress");
    row("no @", server, port, "me.example.com", "送信元メールアドレスの体系が正しくありません。",
        "txt_FromAddress");
    row("two @", server, port, "me@ex@ample.com", "送信元メールアドレスの体系が正しくありません。",
        "txt_FromAddress");
    row("good", server, port, "me@example.com", "", "");
}

void TestSmtpSetup::validation()
{
    QFETCH(QString, server);
    QFETCH(QString, port);
    QFETCH(QString, from);
    QFETCH(QString, message);
    QFETCH(QString, control);
    const auto fault = validateSmtpInput(server, port, from);
    QCOMPARE(fault.value_or(SmtpInputFault()).message, message);
    QCOMPARE(fault.value_or(SmtpInputFault()).control, control);
}

void TestSmtpSetup::timeLabels_data()
{
    QTest::addColumn<int>("step");
    QTest::addColumn<QString>("label");
    const char *labels[] = {"30秒", "1分", "1分30秒", "2分", "2分30秒", "3分", "3分30秒", "4分"};
    for (int step = 0; step < 8; ++step)
        QTest::addRow("%d", step) << step << QString::fromUtf8(labels[step]);
    QTest::newRow("below") << -1 << QString();
    QTest::newRow("above") << 8 << QString();
}

void TestSmtpSetup::timeLabels()
{
    QFETCH(int, step);
    QFETCH(QString, label);
    QCOMPARE(timeStepLabel(step), label);
}

void TestSmtpSetup::storeAndCancel_data()
{
    QTest::addColumn<QString>("button");
    QTest::newRow("entry") << QStringLiteral("cmd_Entry");
    QTest::newRow("cancel") << QStringLiteral("cmd_Cancel");
}

void TestSmtpSetup::storeAndCancel()
{
    QFETCH(QString, button);
    SmtpSetup dialog(settings(), *m_sender, *m_prompt);
    auto *server = child<QLineEdit>(dialog, "txt_MailServer");
    auto *port = child<QLineEdit>(dialog, "txt_SMTPPort");
    auto *from = child<QLineEdit>(dialog, "txt_FromAddress");
    auto *step = child<QScrollBar>(dialog, "HScroll1");
    QCOMPARE(QStringList({server->text(), port->text(), from->text()}),
             QStringList({QStringLiteral("mail.example.com"), QStringLiteral("587"),
                          QStringLiteral("me@example.com")}));
    QCOMPARE(step->value(), 3);
    QCOMPARE(child<QLabel>(dialog, "lbl_TimeLimit")->text(), QStringLiteral("2分"));

    const EnvRecord before = *m_store->readEnv();
    server->setText(QStringLiteral("smtp.社内.example"));
    port->setText(QStringLiteral("2525"));
    from->setText(QStringLiteral("other@example.com"));
    step->setValue(7);
    QCOMPARE(child<QLabel>(dialog, "lbl_TimeLimit")->text(), QStringLiteral("4分"));
    QSignalSpy stored(&dialog, &SmtpSetup::settingsStored);
    dialog.findChild<QPushButton *>(button)->click();
    const bool entry = button == u"cmd_Entry";
    EnvRecord expected = before;
    if (entry) {
        expected.setByte(Env::MailConfigured, 1);
        expected.setText(Env::SmtpServer, QStringLiteral("smtp.社内.example"));
        expected.setLong(Env::SmtpPort, 2525);
        expected.setLong(Env::SmtpTimeStep, 7);
        expected.setText(Env::SmtpFrom, QStringLiteral("other@example.com"));
    }
    QVERIFY(*m_store->readEnv() == expected);
    QCOMPARE(stored.size(), entry ? 1 : 0);
    QCOMPARE(m_prompt->shown,
             entry ? QStringList{QStringLiteral("メール情報の設定を行いました。")} : QStringList());
    QCOMPARE(dialog.result(), entry ? int(QDialog::Accepted) : int(QDialog::Rejected));
}

void TestSmtpSetup::connectionTest_data()
{
    QTest::addColumn<QString>("modes"); // empty: no server
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("shown");
    QTest::newRow("invalid sender")
        << QString() << QStringLiteral("a@b@c")
        << QStringLiteral("送信元メールアドレスの体系が正しくありません。");
    QTest::newRow("passes") << QStringLiteral("normal") << QStringLiteral("me@example.com")
                            << QStringLiteral("接続テストに成功しました。");
    QTest::newRow("fails")
        << QStringLiteral("ehlo-and-helo-5xx") << QStringLiteral("me@example.com")
        << QStringLiteral("接続テストに失敗しました。　SMTP Server Error status Received (HELO)");
}

void TestSmtpSetup::connectionTest()
{
    QFETCH(QString, modes);
    QFETCH(QString, from);
    QFETCH(QString, shown);
    QString port = QStringLiteral("25");
    if (!modes.isEmpty()) {
        m_server = std::make_unique<ServerProcess>(m_data->dir.path());
        QVERIFY(m_server->start(modes));
        port = QString::number(m_server->port);
    }
    const QByteArray before = fileBytes(m_store->file().path());
    SmtpSetup dialog(settings(), *m_sender, *m_prompt);
    child<QLineEdit>(dialog, "txt_MailServer")->setText(QStringLiteral("127.0.0.1"));
    child<QLineEdit>(dialog, "txt_SMTPPort")->setText(port);
    child<QLineEdit>(dialog, "txt_FromAddress")->setText(from);
    auto *test = child<QPushButton>(dialog, "cmd_ConnTest");
    test->click();
    QCOMPARE(test->isEnabled(), modes.isEmpty());
    QTRY_COMPARE_WITH_TIMEOUT(m_prompt->shown, QStringList{shown}, 5000);
    QTRY_VERIFY(test->isEnabled());
    QCOMPARE(fileBytes(m_store->file().path()), before); // the test stores nothing
    if (modes.isEmpty())
        QCOMPARE(dialog.focusWidget(), child<QLineEdit>(dialog, "txt_FromAddress"));
    else
        QCOMPARE(m_server->commands().contains(QStringLiteral("QUIT")),
                 shown.endsWith(u"成功しました。"));
}

QTEST_MAIN(TestSmtpSetup)
#include "tst_smtpsetup.moc"
