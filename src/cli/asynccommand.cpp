#include "asynccommand.h"

#include <QFile>

namespace Cli {

namespace {
void writeLine(QIODevice &to, const QString &line)
{
    to.write(line.toUtf8() + '\n');
    if (auto *file = qobject_cast<QFile *>(&to))
        file->flush();
}
} // namespace

AsyncCommand::AsyncCommand(QIODevice &out, QIODevice &err, int failStatus, QObject *parent)
    : QObject(parent), m_out(out), m_err(err), m_failStatus(failStatus)
{
}

void AsyncCommand::print(const QString &line)
{
    writeLine(m_out, line);
}

void AsyncCommand::printError(const QString &line)
{
    writeLine(m_err, line);
}

int AsyncCommand::failWith(const QString &text)
{
    printError(text);
    return m_failStatus;
}

} // namespace Cli
