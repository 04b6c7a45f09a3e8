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
    QString backup; // the tag file as it was before a whole-file rewrite
    QString exe;
    QString readme;

    // sep joins dir and a name unless dir already ends in a separator, so a
    // drive root gives "X:\Pinboard.dt1", never "X:\\Pinboard.dt1".
    static FileSet forDirectory(const QString &dir, QChar sep);
    static FileSet forDirectory(const QString &dir);
};

// What Pinboard.dt1 holds. The program and pinboard-cli judge a file by this
// one function, so neither ever rewrites what the other calls damaged.
struct DataFileCheck
{
    enum Kind
    {
        Missing,
        Current,
        OldFormat,
        Damaged
    } kind = Missing;
    QString reason; // why it is damaged, for the diagnostic output
};
DataFileCheck inspectDataFile(const QString &dt1Path);

struct PrepareResult
{
    bool ok = false;
    bool firstRun = false; // FirstRunFlag "1": Pinboard.dt1 did not exist
    bool converted = false;
    bool damaged = false; // Pinboard.dt1 cannot be used; it was left as it was
    QString error;        // what failed, for the diagnostic output
};

// Opens or converts the data files; the first thing start-up does. A damaged
// file is reported and never touched. A first run creates nothing: the caller
// writes the default environment record with createDataFile.
PrepareResult prepareFileSet(const FileSet &files);

// Makes a new Pinboard.dt1 holding env alone, under a temporary name renamed
// into place only when complete, so a failure leaves no file behind.
bool createDataFile(const QString &dt1Path, const QByteArray &env, QString *error = nullptr);

// Record length of the tag file before version 0.9.40.
inline constexpr int OldSlotSize = 2048;
