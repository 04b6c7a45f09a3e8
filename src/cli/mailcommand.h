#pragma once

#include "clock.h"
#include "commlog.h"
#include "consoleprompt.h"

#include <QIODevice>
#include <QObject>
#include <QStringList>
#include <memory>
#include <optional>

class MailSender;
class Settings;
class TagMailer;
class TagStore;

namespace Cli {

// pinboard-cli mail-test [DIR] and mail [DIR] --tag N: run on the event loop,
// print the outcome, and report the exit status through finished().
class MailCommand : public QObject
{
    Q_OBJECT
public:
    MailCommand(QIODevice &out, QIODevice &err, QObject *parent = nullptr);
    ~MailCommand() override;

    static bool handles(const QStringList &args);
    // Starts the command; an exit status when it is over at once (bad usage,
    // unreadable data), nullopt while it runs on.
    std::optional<int> start(const QStringList &args, const QString &defaultDir);

Q_SIGNALS:
    void finished(int status);

private:
    int failWith(const QString &text);
    void print(QIODevice &to, const QString &text);

    QIODevice &m_out;
    QIODevice &m_err;
    SystemClock m_clock;
    ConsolePrompt m_prompt; // what would be shown is printed
    std::unique_ptr<CommLog> m_log;
    std::unique_ptr<TagStore> m_store;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<MailSender> m_sender;
    std::unique_ptr<TagMailer> m_mailer;
};

} // namespace Cli
