#include "addresslist.h"
#include "commlog.h"
#include "mailsender.h"
#include "manualclock.h"
#include "scriptedprompt.h"
#include "sendmail.h"
#include "smtpsetup.h"
#include "tempstore.h"
#include "testfiles.h"

#include <QAction>
#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QTest>
#include <QTreeWidget>

using namespace Qt::StringLiterals;

namespace {
template <class T = QLineEdit> T *child(const QObject *w, const char *name)
{
    return w->findChild<T *>(QLatin1String(name));
}

// Groups 営業, ｻﾎﾟｰﾄ, 総務, 経理; 山田 in 営業, ｽｽﾞｷ in the first three.
AddressBook startBook()
{
    return AddressBook({{u"山田太郎"_s, u"ｽｽﾞｷ"_s},
                        {u"yamada@example.jp"_s, u"suzuki@example.jp"_s},
                        {u"営業"_s, u"営業"_s},
                        {QString(), u"ｻﾎﾟｰﾄ"_s},
                        {QString(), u"総務"_s},
                        {u"営業"_s, u"ｻﾎﾟｰﾄ"_s, u"総務"_s, u"経理"_s}});
}
} // namespace

// The address list and the SMTP set-up dialog, each driven as a user would.
class TestMailUi : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_list.reset();
        m_setup.reset();
        m_sender.reset();
        m_data = std::make_unique<TempStore>();
        m_dt3 = m_data->path(u"Pinboard.dt3"_s);
        m_book = startBook();
        m_prompt = ScriptedPrompt();
        m_log = std::make_unique<CommLog>(m_data->path(u"Pinboard.log"_s), m_clock);
        m_sender = std::make_unique<MailSender>(*m_log, m_clock, m_prompt);
    }
    void registerThenClose_data()
    {
        QTest::addColumn<bool>("save");
        QTest::newRow("yes saves") << true;
        QTest::newRow("no drops") << false;
    }
    void registerThenClose()
    {
        QFETCH(bool, save);
        AddressList &w = list();
        w.show();
        child(&w, "txt_Name")->setText(u" 田中 "_s);
        child(&w, "txt_Address")->setText(u" t@example.jp"_s);
        child<QComboBox>(&w, "cmb_Group1")->setCurrentIndex(2); // ｻﾎﾟｰﾄ
        child<QComboBox>(&w, "cmb_Group2")->setCurrentIndex(3); // 総務
        child<QPushButton>(&w, "cmd_Entry")->click();
        const AddressPerson added{u"田中"_s, u"t@example.jp"_s, {u"ｻﾎﾟｰﾄ"_s, u"総務"_s, QString()}};
        QCOMPARE(w.edited().people(), startBook().people() + QList<AddressPerson>{added});
        QCOMPARE(people()->topLevelItem(2)->text(2), u"ｻﾎﾟｰﾄ、総務"_s);
        QCOMPARE(m_book, startBook()); // nothing reaches the book before it is saved
        m_prompt.answers = {save};
        w.close();
        QCOMPARE(m_prompt.shown,
                 QStringList{u"ｱﾄﾞﾚｽﾘｽﾄの内容が変更されています。変更を保存しますか？"_s});
        QCOMPARE(m_prompt.titles, QStringList{u"保存の確認"_s});
        QCOMPARE(m_book == w.edited(), save);
        QCOMPARE(fileBytes(m_dt3), save ? addressBookBytes(w.edited().data()) : QByteArray());
    }
    // Each address once across To, Cc and Bcc (whatever its case); typed addresses
    // are split and win over a group still chosen; a group goes in at one press.
    void sendMailRecipients()
    {
        SendMail dialog(m_book, {u"件名"_s, {u"YAMADA@example.jp"_s}, {}, {}});
        child<QComboBox>(&dialog, "cmb_Group")->setCurrentIndex(1); // 営業: 山田, ｽｽﾞｷ
        child(&dialog, "txt_Address")->setText(u" a@x.jp, b@x.jp;a@x.jp "_s);
        child<QPushButton>(&dialog, "cmd_AddCc")->click();
        child<QPushButton>(&dialog, "cmd_AddBcc")->click();
        QCOMPARE(dialog.settings(), (TagMailSettings{u"件名"_s,
                                                     {u"YAMADA@example.jp"_s},
                                                     {u"a@x.jp"_s, u"b@x.jp"_s},
                                                     {u"suzuki@example.jp"_s}}));
    }
    void smtpInputChecks()
    {
        const auto fault = [](const QString &server, const QString &port, const QString &from) {
            const auto f = validateSmtpInput(server, port, from).value_or(SmtpInputFault());
            return f.message + u'|' + f.control;
        };
        const QString noServer = u"送信メールサーバー名を指定して下さい。|txt_MailServer"_s;
        QCOMPARE(fault({}, {}, {}), noServer);
        QCOMPARE(fault(u"  "_s, u"25"_s, u"a@b"_s), noServer);
        QCOMPARE(fault(u"m"_s, {}, {}),
                 u"送信メールサーバーのポート番号を指定して下さい。|txt_SMTPPort"_s);
        QCOMPARE(fault(u"m"_s, u"25"_s, {}),
                 u"送信元メールアドレスを指定して下さい。|txt_FromAddress"_s);
        QCOMPARE(fault(u"m"_s, u"25"_s, u"me@ex@ample.com"_s),
                 u"送信元メールアドレスの体系が正しくありません。|txt_FromAddress"_s);
        QCOMPARE(fault(u"m"_s, u"25"_s, u"me@example.com"_s), u"|"_s);
        // The time limit steps by half minutes.
        const QStringList labels = u"30秒 1分 1分30秒 2分 2分30秒 3分 3分30秒 4分"_s.split(u' ');
        for (int step = -1; step <= 8; ++step)
            QCOMPARE(timeStepLabel(step), labels.value(step));
    }
    void smtpStore()
    {
        SmtpSetup &d = setup();
        EnvRecord expected = *m_data->store.readEnv();
        child(&d, "txt_MailServer")->setText(u"smtp.社内.example"_s);
        child(&d, "txt_SMTPPort")->setText(u"2525"_s);
        child(&d, "txt_FromAddress")->setText(u"other@example.com"_s);
        child<QScrollBar>(&d, "HScroll1")->setValue(7);
        child<QPushButton>(&d, "cmd_Entry")->click();
        expected.setByte(Env::MailConfigured, 1);
        expected.setText(Env::SmtpServer, u"smtp.社内.example"_s);
        expected.setLong(Env::SmtpPort, 2525);
        expected.setLong(Env::SmtpTimeStep, 7);
        expected.setText(Env::SmtpFrom, u"other@example.com"_s);
        QCOMPARE(m_data->store.readEnv()->bytes(), expected.bytes());
        QCOMPARE(m_prompt.shown, QStringList{u"メール情報の設定を行いました。"_s});
    }

private:
    AddressList &list()
    {
        m_list = std::make_unique<AddressList>(m_book, m_dt3, m_data->settings(), m_prompt);
        return *m_list;
    }
    SmtpSetup &setup()
    {
        m_setup = std::make_unique<SmtpSetup>(m_data->settings(), *m_sender, m_prompt);
        return *m_setup;
    }
    QTreeWidget *people() const { return child<QTreeWidget>(m_list.get(), "lst_AddrList"); }

    std::unique_ptr<TempStore> m_data;
    QString m_dt3;
    AddressBook m_book;
    ScriptedPrompt m_prompt;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(10, 0))};
    std::unique_ptr<CommLog> m_log;
    std::unique_ptr<MailSender> m_sender;
    std::unique_ptr<AddressList> m_list;
    std::unique_ptr<SmtpSetup> m_setup;
};
QTEST_MAIN(TestMailUi)
#include "tst_mailui.moc"
