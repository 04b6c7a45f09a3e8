#include "mailcommand.h"

#include "settings.h"

#include "fileset.h"
#include "mailsender.h"
#include "tagmail.h"
#include "tagstore.h"

#include <QDir>

namespace Cli {

namespace {
constexpr const char *Usage = "usage: pinboard-cli mail-test [DIR] | mail [DIR] --tag N";
}

MailCommand::MailCommand(QIODevice &out, QIODevice &err, QObject *parent)
    : AsyncCommand(out, err, 1, parent)
{
}

MailCommand::~MailCommand() = default;

bool MailCommand::handles(const QStringList &args)
{
    return !args.isEmpty() &&
           (args.first() == QLatin1String("mail-test") || args.first() == QLatin1String("mail"));
}

std::optional<int> MailCommand::start(const QStringList &args, const QString &defaultDir)
{
    const bool test = args.value(0) == QLatin1String("mail-test");
    QStringList rest = args.mid(1);
    int k = 0;
    if (!test) {
        const qsizetype at = rest.indexOf(QLatin1String("--tag"));
        bool ok = false;
        if (at >= 0 && at + 1 < rest.size())
            k = rest.at(at + 1).toInt(&ok);
        if (!ok || k < 1)
            return failWith(QString::fromLatin1(Usage));
        rest.remove(at, 2);
    }
    if (rest.size() > 1)
        return failWith(QString::fromLatin1(Usage));
    const QString dir = rest.isEmpty() ? defaultDir : rest.first();
    const FileSet files = FileSet::forDirectory(QDir::toNativeSeparators(dir));

    m_store = std::make_unique<TagStore>(files.dt1);
    m_settings = std::make_unique<Settings>(*m_store);
    QString why;
    if (!m_settings->load(&why))
        return failWith(files.dt1 + QStringLiteral(": ") + why);
    const EnvRecord *env = &m_settings->env();
    if (!test && (k > env->tagCount() || !m_store->readTag(k, &why)))
        return failWith(why.isEmpty() ? QStringLiteral("no tag %1").arg(k) : why);

    m_log = std::make_unique<CommLog>(files.log, m_clock);
    m_log->setEnabled(env->byte(Env::LogEnabled) != 0);
    m_sender = std::make_unique<MailSender>(*m_log, m_clock, m_prompt);

    const auto done = [this, test, k](bool ok, const QString &detail) {
        if (ok)
            print(test ? m_prompt.texts().value(0) : QStringLiteral("sent tag %1").arg(k));
        else
            printError(detail);
        Q_EMIT finished(ok ? 0 : 1);
    };
    if (test) {
        connect(m_sender.get(), &MailSender::testFinished, this, done);
        m_sender->runConnectionTest(smtpSettingsFrom(*env));
        return std::nullopt;
    }
    connect(m_sender.get(), &MailSender::sent, this, done);
    m_mailer =
        std::make_unique<TagMailer>(files, *m_store, *m_settings, *m_sender, m_clock, m_prompt);
    // Refused before any session: the detail, not the box that would have shown it.
    if (!m_mailer->SendTagMail(k))
        return failWith(!m_sender->lastFailure().isEmpty() ? m_sender->lastFailure()
                        : m_prompt.texts().isEmpty()       ? QStringLiteral("not sent")
                                                           : m_prompt.texts().last());
    return std::nullopt;
}

} // namespace Cli
