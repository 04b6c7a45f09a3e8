#include "commlog.h"
#include "mailsender.h"
#include "manualclock.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "smtpserverprocess.h"
#include "smtpsetup.h"
#include "tempstore.h"

#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QSignalSpy>
#include <QTest>

using namespace Qt::StringLiterals;

class TestSmtpSetup : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_dialog.reset();
        m_data = std::make_unique<TempStore>();
        EnvRecord env;
        env.setText(Env::SmtpServer, u"mail.example.com"_s);
        env.setLong(Env::SmtpPort, 587);
        env.setLong(Env::SmtpTimeStep, 3);
        env.setText(Env::SmtpFrom, u"me@example.com"_s);
        QVERIFY(m_data->store.writeEnv(env));
        m_log = std::make_unique<CommLog>(m_data->path(u"Pinboard.log"_s), m_clock);
        m_prompt = std::make_unique<ScriptedPrompt>();
        m_sender = std::make_unique<MailSender>(*m_log, m_clock, *m_prompt);
        m_dialog = std::make_unique<SmtpSetup>(m_data->settings(), *m_sender, *m_prompt);
    }
    void validation_data()
    {
        QTest::addColumn<QStringList>("input"); // server, port, sender
        QTest::addColumn<QString>("message");
        QTest::addColumn<QString>("control");
        const QString server = u"mail"_s, port = u"25"_s,
                      badFrom = u"送信元メールアドレスの体系が正しくありません。"_s;
        const auto row = [](const char *name, const QStringList &input, const QString &message,
                            const char *control) {
            QTest::newRow(name) << input << message << QString::fromLatin1(control);
        };
        row("all empty", {{}, {}, {}}, u"送信メールサーバー名を指定して下さい。"_s,
            "txt_MailServer");
        row("blank server", {u"  "_s, port, u"a@b"_s}, u"送信メールサーバー名を指定して下さい。"_s,
            "txt_MailServer");
        row("no port", {server, {}, {}}, u"送信メールサーバーのポート番号を指定して下さい。"_s,
            "txt_SMTPPort");
        row("no sender", {server, port, {}}, u"送信元メールアドレスを指定して下さい。"_s,
            "txt_FromAddress");
        row("no @", {server, port, u"me.example.com"_s}, badFrom, "txt_FromAddress");
        row("two @", {server, port, u"me@ex@ample.com"_s}, badFrom, "txt_FromAddress");
        row("good", {server, port, u"me@example.com"_s}, QString(), "");
    }
    void validation()
    {
        QFETCH(QStringList, input);
        QFETCH(QString, message);
        QFETCH(QString, control);
        const auto fault =
            validateSmtpInput(input[0], input[1], input[2]).value_or(SmtpInputFault());
        QCOMPARE(fault.message, message);
        QCOMPARE(fault.control, control);
        // The time limit steps by half minutes.
        const QStringList labels = u"30秒 1分 1分30秒 2分 2分30秒 3分 3分30秒 4分"_s.split(u' ');
        for (int step = -1; step <= 8; ++step)
            QCOMPARE(timeStepLabel(step), labels.value(step));
    }
    void storeAndCancel_data()
    {
        QTest::addColumn<QString>("button");
        QTest::newRow("entry") << u"cmd_Entry"_s;
        QTest::newRow("cancel") << u"cmd_Cancel"_s;
    }
    void storeAndCancel()
    {
        QFETCH(QString, button);
        auto *step = get<QScrollBar>("HScroll1");
        QCOMPARE(QStringList({get("txt_MailServer")->text(), get("txt_SMTPPort")->text(),
                              get("txt_FromAddress")->text()}),
                 QStringList({u"mail.example.com"_s, u"587"_s, u"me@example.com"_s}));
        QCOMPARE(step->value(), 3);
        QCOMPARE(get<QLabel>("lbl_TimeLimit")->text(), u"2分"_s);
        EnvRecord expected = *m_data->store.readEnv();
        get("txt_MailServer")->setText(u"smtp.社内.example"_s);
        get("txt_SMTPPort")->setText(u"2525"_s);
        get("txt_FromAddress")->setText(u"other@example.com"_s);
        step->setValue(7);
        QCOMPARE(get<QLabel>("lbl_TimeLimit")->text(), u"4分"_s);
        QSignalSpy stored(m_dialog.get(), &SmtpSetup::settingsStored);
        m_dialog->findChild<QPushButton *>(button)->click();
        const bool entry = button == u"cmd_Entry";
        if (entry) {
            expected.setByte(Env::MailConfigured, 1);
            expected.setText(Env::SmtpServer, u"smtp.社内.example"_s);
            expected.setLong(Env::SmtpPort, 2525);
            expected.setLong(Env::SmtpTimeStep, 7);
            expected.setText(Env::SmtpFrom, u"other@example.com"_s);
        }
        QVERIFY(*m_data->store.readEnv() == expected);
        QCOMPARE(stored.size(), entry ? 1 : 0);
        QCOMPARE(m_prompt->shown,
                 entry ? QStringList{u"メール情報の設定を行いました。"_s} : QStringList());
        QCOMPARE(m_dialog->result(), entry ? int(QDialog::Accepted) : int(QDialog::Rejected));
    }
    void connectionTest_data()
    {
        QTest::addColumn<QString>("modes"); // empty: no server
        QTest::addColumn<QString>("from");
        QTest::addColumn<QString>("shown");
        QTest::newRow("invalid sender")
            << QString() << u"a@b@c"_s << u"送信元メールアドレスの体系が正しくありません。"_s;
        QTest::newRow("passes") << u"normal"_s << u"me@example.com"_s
                                << u"接続テストに成功しました。"_s;
        QTest::newRow("fails")
            << u"ehlo-and-helo-5xx"_s << u"me@example.com"_s
            << u"接続テストに失敗しました。　SMTP Server Error status Received (HELO)"_s;
    }
    void connectionTest()
    {
        QFETCH(QString, modes);
        QFETCH(QString, from);
        QFETCH(QString, shown);
        ServerProcess server(m_data->dir.path());
        QVERIFY(modes.isEmpty() || server.start(modes));
        const QByteArray before = fileBytes(m_data->store.file().path());
        get("txt_MailServer")->setText(u"127.0.0.1"_s);
        get("txt_SMTPPort")->setText(QString::number(modes.isEmpty() ? 25 : server.port));
        get("txt_FromAddress")->setText(from);
        auto *test = get<QPushButton>("cmd_ConnTest");
        test->click();
        QCOMPARE(test->isEnabled(), modes.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(m_prompt->shown, QStringList{shown}, 5000);
        QTRY_VERIFY(test->isEnabled());
        QCOMPARE(fileBytes(m_data->store.file().path()), before); // the test stores nothing
        if (modes.isEmpty())
            QCOMPARE(m_dialog->focusWidget(), get("txt_FromAddress"));
        else
            QCOMPARE(server.commands().contains(u"QUIT"_s), shown.endsWith(u"成功しました。"));
    }

private:
    template <class T = QLineEdit> T *get(const char *name) const
    {
        return m_dialog->findChild<T *>(QLatin1String(name));
    }

    std::unique_ptr<TempStore> m_data;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0))};
    std::unique_ptr<CommLog> m_log;
    std::unique_ptr<ScriptedPrompt> m_prompt;
    std::unique_ptr<MailSender> m_sender;
    std::unique_ptr<SmtpSetup> m_dialog;
};
QTEST_MAIN(TestSmtpSetup)
#include "tst_smtpsetup.moc"
