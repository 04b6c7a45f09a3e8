#include "commlog.h"
#include "mailcompose.h"
#include "mailsender.h"
#include "mailsettingsfile.h"
#include "manualclock.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "smtpserverprocess.h"
#include "tagmail.h"
#include "tempstore.h"

#include <QSignalSpy>

using namespace Qt::StringLiterals;

// A tag's mail from its stored record and recipients, through a real server.
class TestTagMail : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init()
    {
        m_mailer.reset();
        m_sender.reset();
        m_server.reset();
        m_data = std::make_unique<TempStore>();
        m_files = FileSet::forDirectory(m_data->dir.path());
        m_server = std::make_unique<ServerProcess>(m_data->dir.path());
        QVERIFY(m_server->start(u"normal"_s));
        EnvRecord env;
        env.setText(Env::SmtpServer, u"127.0.0.1"_s);
        env.setLong(Env::SmtpPort, m_server->port);
        env.setLong(Env::SmtpTimeStep, 0);
        env.setText(Env::SmtpFrom, u"pin@example.com"_s);
        QVERIFY(m_data->store.writeEnv(env));
        m_prompt = ScriptedPrompt();
        m_log = std::make_unique<CommLog>(m_files.log, m_clock);
        m_sender = std::make_unique<MailSender>(*m_log, m_clock, m_prompt);
        m_mailer = std::make_unique<TagMailer>(m_files, m_data->store, m_data->settings(),
                                               *m_sender, m_clock, m_prompt);
    }
    void deliversTheTagAsWritten()
    {
        const QString path = m_data->path(u"memo.txt"_s);
        QVERIFY(writeFile(path, QByteArray("\xff\x00\x41\x42\x43", 5)));
        const int k = storeTag(path);
        QVERIFY(k > 0);
        QVERIFY(MailSettingsFile(m_files.dt4)
                    .write(k, {u"議事録"_s,
                               {u"a@example.com"_s, QString(), u" b@example.com "_s},
                               {u"c@example.com"_s, u"  "_s, u"A@example.com"_s},
                               {}}));
        QSignalSpy sent(m_sender.get(), &MailSender::sent);
        QVERIFY(m_mailer->SendTagMail(k));
        QTRY_COMPARE_WITH_TIMEOUT(sent.size(), 1, 15000);
        QCOMPARE(sent.first().at(0).toBool(), true);
        QVERIFY(m_prompt.shown.isEmpty());
        // The envelope goes to whom the header names, trimmed and once each.
        QCOMPARE(m_server->commands().mid(1),
                 (QStringList{u"MAIL FROM:<pin@example.com>"_s, u"RCPT TO:<a@example.com>"_s,
                              u"RCPT TO:<b@example.com>"_s, u"RCPT TO:<c@example.com>"_s, u"DATA"_s,
                              u"QUIT"_s}));
        // What arrived is exactly the composition of the stored tag (tst_mailcompose
        // pins the composition itself).
        const auto content = m_mailer->contentOf(k);
        QVERIFY(content);
        QCOMPARE(content->attachmentPath, path);
        QCOMPARE(content->subject, u"議事録"_s);
        QCOMPARE(content->body, u"会議は３時から\r\n.\r\n資料を持参"_s);
        const auto composed = ComposeTagMail(*content, m_clock.now());
        QVERIFY(composed);
        QCOMPARE(m_server->message(1), composed->header + composed->body);
        QVERIFY(composed->header.endsWith("To: <a@example.com>\r\nTo: <b@example.com>\r\n"
                                          "cc: <c@example.com>\r\n"));
    }
    void refusedBeforeAnySession_data()
    {
        QTest::addColumn<TagMailSettings>("recipients");
        QTest::addColumn<QString>("message");
        QTest::newRow("no section") << TagMailSettings{} << TagMailer::noAddressText();
        QTest::newRow("only cc") << TagMailSettings{u"件名"_s,
                                                    {QString()},
                                                    {u"c@example.com"_s},
                                                    {}}
                                 << TagMailer::noAddressText();
        QTest::newRow("header injection in the subject")
            << TagMailSettings{u"件名\r\nBcc: x@example.com"_s, {u"a@example.com"_s}, {}, {}}
            << u"E-Mailの送信に失敗しました。("
               u"メール送信に失敗しました。　件名に改行が含まれています。"
               u") 詳細はログファイルを記録する設定にして参照して下さい。"_s;
    }
    void refusedBeforeAnySession()
    {
        QFETCH(TagMailSettings, recipients);
        QFETCH(QString, message);
        const int k = storeTag({});
        // The profile file cannot hold a line break, so that subject comes straight in.
        TagMailSettings clean = recipients;
        clean.subject.clear();
        QVERIFY(recipients.to.isEmpty() || MailSettingsFile(m_files.dt4).write(k, clean));
        QSignalSpy sent(m_sender.get(), &MailSender::sent);
        if (recipients.subject.contains(u'\n'))
            QVERIFY(!m_mailer->sendDirect(recipients, u"本文"_s));
        else
            QVERIFY(!m_mailer->SendTagMail(k));
        QCOMPARE(m_prompt.shown, QStringList{message});
        QTest::qWait(200);
        QVERIFY(sent.isEmpty());
        QVERIFY(!m_server->events().contains("OPEN"));
    }

private:
    int storeTag(const QString &attachment)
    {
        TagRecord tag;
        tag.setMessage(u"会議は３時から\r\n.\r\n資料を持参"_s);
        tag.setByte(Tag::MailFlag, 1);
        tag.setByte(Tag::SoundFlag, attachment.isEmpty() ? 0 : 1);
        tag.setText(Tag::FilePath, attachment);
        return m_data->store.addTag(tag).value_or(0);
    }

    std::unique_ptr<ServerProcess> m_server;
    std::unique_ptr<TempStore> m_data;
    FileSet m_files;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59))};
    ScriptedPrompt m_prompt;
    std::unique_ptr<CommLog> m_log;
    std::unique_ptr<MailSender> m_sender;
    std::unique_ptr<TagMailer> m_mailer;
};
QTEST_GUILESS_MAIN(TestTagMail)
#include "tst_tagmail.moc"
