#pragma once

#include <QString>

// Where the program may run from: checked before any file is touched.
enum class RunLocation
{
    Ok,
    NetworkPath,     // a UNC path: the user must map a drive first
    UnsuitableDrive, // not a fixed disk or network drive
    NotWritable,     // the data files could not be written there
};

// The platform's verdict on the directory holding the executable and data.
RunLocation checkRunLocation(const QString &dir);

// Starts with "\": a network path given without a drive letter.
bool isNetworkPath(const QString &dir);

// The message the user is shown, empty for Ok.
QString runLocationMessage(RunLocation where);
