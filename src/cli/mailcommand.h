#pragma once

#include "asynccommand.h"
#include "clock.h"
#include "commlog.h"
#include "consoleprompt.h"

#include <memory>
#include <optional>

class MailSender;
class Settings;
class TagMailer;
class TagStore;

namespace Cli {

// pinboard-cli mail-test [DIR] and mail [DIR] --tag N: run on the event loop,
// print the outcome, and report the exit status through finished().
class MailCommand : public AsyncCommand
{
    Q_OBJECT
public:
    MailCommand(QIODevice &out, QIODevice &err, QObject *parent = nullptr);
    ~MailCommand() override;

    static bool handles(const QStringList &args);
    std::optional<int> start(const QStringList &args, const QString &defaultDir) override;

private:
    SystemClock m_clock;
    ConsolePrompt m_prompt; // what would be shown is printed
    std::unique_ptr<CommLog> m_log;
    std::unique_ptr<TagStore> m_store;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<MailSender> m_sender;
    std::unique_ptr<TagMailer> m_mailer;
};

} // namespace Cli
