#include "clock.h"
#include "commlog.h"
#include "cp932.h"
#include "mailcompose.h"
#include "mailsender.h"
#include "mailsettingsfile.h"
#include "manualclock.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "settings.h"
#include "smtpserverprocess.h"
#include "tagmail.h"
#include "tagstore.h"
#include "tempstore.h"

#include <QSignalSpy>

// A tag's mail from its stored record and recipients, through a real server.
class TestTagMail : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void deliversTheTagAsWritten();
    void refusedBeforeAnySession_data();
    void refusedBeforeAnySession();

private:
    int storeTag(const QString &attachment);

    std::unique_ptr<TempStore> m_data;
    FileSet m_files;
    TagStore *m_store = nullptr;
    Settings &settings() { return m_data->settings(); }
    std::unique_ptr<ServerProcess> m_server;
    ManualClock m_clock{QDateTime(QDate(2024, 5, 1), QTime(9, 59, 59))};
    ScriptedPrompt m_prompt;
};

void TestTagMail::init()
{
    m_data = std::make_unique<TempStore>();
    m_files = FileSet::forDirectory(m_data->dir.path());
    m_store = &m_data->store;
    m_server = std::make_unique<ServerProcess>(m_data->dir.path());
    QVERIFY(m_server->start(QStringLiteral("normal")));
    EnvRecord env;
    env.setText(Env::SmtpServer, QStringLiteral("127.0.0.1"));
    env.setLong(Env::SmtpPort, m_server->port);
    env.setLong(Env::SmtpTimeStep, 0);
    env.setText(Env::SmtpFrom, QStringLiteral("pin@example.com"));
    QVERIFY(m_store->writeEnv(env));
    m_prompt = ScriptedPrompt();
}

void TestTagMail::cleanup()
{
    m_server.reset();
}

int TestTagMail::storeTag(const QString &attachment)
{
    TagRecord tag;
    tag.setMessage(QStringLiteral("会議は３時から\r\n.\r\n資料を持参"));
    tag.setByte(Tag::MailFlag, 1);
    tag.setByte(Tag::SoundFlag, attachment.isEmpty() ? 0 : 1);
    tag.setText(Tag::FilePath, attachment);
    const auto k = m_store->addTag(tag);
    return k.value_or(0);
}

void TestTagMail::deliversTheTagAsWritten()
{
    const QString path = m_data->path(QStringLiteral("memo.txt"));
    QVERIFY(writeFile(path, QByteArray("\xff\x00\x41\x42\x43", 5)));
    const int k = storeTag(path);
    QVERIFY(k > 0);
    QVERIFY(MailSettingsFile(m_files.dt4)
                .write(k, {QStringLiteral("議事録"),
                           {QStringLiteral("a@example.com"), QString(),
                            QStringLiteral(" b@example.com ")},
                           {QStringLiteral("c@example.com"), QStringLiteral("  "),
                            QStringLiteral("A@example.com")},
                           {}}));

    CommLog log(m_files.log, m_clock);
    MailSender sender(log, m_clock, m_prompt);
    QSignalSpy sent(&sender, &MailSender::sent);
    TagMailer mailer(m_files, *m_store, settings(), sender, m_clock, m_prompt);
    QVERIFY(mailer.SendTagMail(k));
    QTRY_COMPARE_WITH_TIMEOUT(sent.size(), 1, 15000);
    QCOMPARE(sent.first().at(0).toBool(), true);
    QVERIFY(m_prompt.shown.isEmpty());

    const QStringList commands = m_server->commands();
    QCOMPARE(commands.mid(1), (QStringList{QStringLiteral("MAIL FROM:<pin@example.com>"),
                                           QStringLiteral("RCPT TO:<a@example.com>"),
                                           QStringLiteral("RCPT TO:<b@example.com>"),
                                           QStringLiteral("RCPT TO:<c@example.com>"),
                                           QStringLiteral("DATA"), QStringLiteral("QUIT")}));

    // What arrived is exactly the composition of the stored tag (the composition
    // itself, read back by a mail parser, is tst_mailcompose's business).
    const auto content = mailer.contentOf(k);
    QVERIFY(content);
    QCOMPARE(content->attachmentPath, path);
    QCOMPARE(content->subject, QStringLiteral("議事録"));
    QCOMPARE(content->body, QStringLiteral("会議は３時から\r\n.\r\n資料を持参"));
    const auto composed = ComposeTagMail(*content, m_clock.now());
    QVERIFY(composed);
    const QByteArray data = m_server->message(1);
    QCOMPARE(data, composed->header + composed->body);
    // The header names whom the envelope sent to, trimmed and once each.
    QByteArrayList named;
    for (const QByteArray &line : composed->header.split('\n'))
        if (line.startsWith("To:") || line.startsWith("cc:") || line.startsWith("bcc:"))
            named << line.trimmed();
    QCOMPARE(named,
             (QByteArrayList{"To: <a@example.com>", "To: <b@example.com>", "cc: <c@example.com>"}));
}

void TestTagMail::refusedBeforeAnySession_data()
{
    QTest::addColumn<TagMailSettings>("recipients");
    QTest::addColumn<QString>("message");
    const QString failed =
        QStringLiteral("E-Mailの送信に失敗しました。(メール送信に失敗しました。　");
    const QString advice =
        QStringLiteral(") 詳細はログファイルを記録する設定にして参照して下さい。");
    QTest::newRow("no section") << TagMailSettings{} << TagMailer::noAddressText();
    QTest::newRow("only cc") << TagMailSettings{QStringLiteral("件名"),
                                                {QString()},
                                                {QStringLiteral("c@example.com")},
                                                {}}
                             << TagMailer::noAddressText();
    QTest::newRow("header injection in the subject")
        << TagMailSettings{QStringLiteral("件名\r\nBcc: x@example.com"),
                           {QStringLiteral("a@example.com")},
                           {},
                           {}}
        << failed + QStringLiteral("件名に改行が含まれています。") + advice;
}

void TestTagMail::refusedBeforeAnySession()
{
    QFETCH(TagMailSettings, recipients);
    QFETCH(QString, message);
    const int k = storeTag({});
    if (!recipients.to.isEmpty()) {
        // The profile file cannot hold a line break, so the subject comes straight in.
        TagMailSettings clean = recipients;
        clean.subject.clear();
        QVERIFY(MailSettingsFile(m_files.dt4).write(k, clean));
    }
    CommLog log(m_files.log, m_clock);
    MailSender sender(log, m_clock, m_prompt);
    QSignalSpy sent(&sender, &MailSender::sent);
    TagMailer mailer(m_files, *m_store, settings(), sender, m_clock, m_prompt);
    if (recipients.subject.contains(u'\n'))
        QVERIFY(!mailer.sendDirect(recipients, QStringLiteral("本文")));
    else
        QVERIFY(!mailer.SendTagMail(k));
    QCOMPARE(m_prompt.shown, QStringList{message});
    QTest::qWait(200);
    QVERIFY(sent.isEmpty());
    QVERIFY(!m_server->events().contains("OPEN"));
}

QTEST_GUILESS_MAIN(TestTagMail)
#include "tst_tagmail.moc"
