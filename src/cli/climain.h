#pragma once

#include <QIODevice>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <optional>

// pinboard-cli: dumps Pinboard.dt1 as JSON, loads such a dump back, and tells
// for each tag whether it is due at a given moment.
namespace Cli {

// Runs one command. args leaves out the program name; defaultDir stands in for a
// DIR not given. The JSON goes to out; a failure is one line on err. Returns the
// exit status: 0 done, 1 failed or wrong usage, 2 partly read (dump and eval
// leave out the tags they cannot read and name each on err).
int run(const QStringList &args, const QString &defaultDir, QIODevice &out, QIODevice &err);

// {"env": {...}, "tags": [...]} for the data file at dt1Path; a tag that cannot
// be read is left out and its reason added to damaged.
std::optional<QJsonObject> dump(const QString &dt1Path, QString *error,
                                QStringList *damaged = nullptr);

// Replaces the data file at dt1Path with the records of a dump: everything is
// checked first and the new file is committed whole, or nothing changes.
// The caller holds the directory's lock.
bool load(const QJsonObject &dumped, const QString &dt1Path, QString *error);

} // namespace Cli
