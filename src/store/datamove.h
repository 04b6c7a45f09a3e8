#pragma once

#include <QString>
#include <QStringList>

// Moving the data files from one folder to another, once: from the folder of
// an executable, where earlier versions kept them, to the user's data folder.
namespace DataMove {

// The names of the files that make up the data, in the order they move.
QStringList fileNames();

// from holds data (Pinboard.dt1) and to holds none.
bool isNeeded(const QString &from, const QString &to);

struct Result
{
    bool ok = false;
    QStringList moved; // names moved, in order
    QString error;     // why not, for the user and the diagnostic output
};

// Copies every data file of from into to, each synced to the disk, and only
// when all are there removes them from from. A failure while copying removes
// the copies again and leaves from as it was; a source that cannot be removed
// afterwards is named in error but lost nothing (both folders hold it whole).
Result move(const QString &from, const QString &to);

} // namespace DataMove
