#pragma once

#include <QString>

// The data files beside the executable.
struct FileSet
{
    QString dir;
    QString dt1;    // environment record and tags
    QString dt2;    // recently chosen sound files and files to open
    QString dt3;    // address book
    QString dt4;    // per-tag mail recipients (INI)
    QString log;    // communication log
    QString oldDt1; // the previous-format tag file during its conversion
    QString exe;
    QString readme;

    // sep joins dir and a name unless dir already ends in a separator, so a
    // drive root gives "X:\Pinboard.dt1", never "X:\\Pinboard.dt1".
    static FileSet forDirectory(const QString &dir, QChar sep);
    static FileSet forDirectory(const QString &dir);
};

struct PrepareResult
{
    bool ok = false;
    bool firstRun = false; // FirstRunFlag "1": Pinboard.dt1 did not exist
    bool converted = false;
    QString error; // what failed, for the diagnostic output
};

// Opens, creates or converts the data files; the first thing start-up does.
// A first run leaves writing the default environment record to the caller.
PrepareResult prepareFileSet(const FileSet &files);

// Record length of the tag file before version 0.9.40.
inline constexpr int OldSlotSize = 2048;
