#pragma once

#include <QIODevice>
#include <QObject>
#include <QStringList>
#include <optional>

namespace Cli {

// A pinboard-cli command that may run on the event loop (a server to talk to,
// a port to listen on): prints as it goes and reports its exit status through
// finished().
class AsyncCommand : public QObject
{
    Q_OBJECT
public:
    // An exit status when the command is over at once (bad usage, unreadable
    // data), nullopt while it runs on.
    virtual std::optional<int> start(const QStringList &args, const QString &defaultDir) = 0;

Q_SIGNALS:
    void finished(int status);

protected:
    AsyncCommand(QIODevice &out, QIODevice &err, int failStatus, QObject *parent);
    // Flushed line by line: a pipe would hold the lines back until exit.
    void print(const QString &line);
    void printError(const QString &line);
    // Prints the reason and returns the command's failure status.
    int failWith(const QString &text);

    QIODevice &m_out;
    QIODevice &m_err;

private:
    int m_failStatus;
};

} // namespace Cli
