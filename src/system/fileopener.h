#pragma once

#include <QString>

class Prompt;

// Result codes of opening a file, in the vocabulary of ShellExecute: below 32 is
// a failure, 32 or more is success. Linux maps what it finds onto these.
namespace OpenCode {
enum : int
{
    FileNotFound = 2,
    AccessDenied = 5,
    SharingViolation = 26,
    AssociationIncomplete = 27,
    DdeTimeout = 28,
    DdeFailed = 29,
    DdeBusy = 30,
    NoAssociation = 31,
    Opened = 42,
};
} // namespace OpenCode

// Message for a failure code below 32 (empty for success).
QString openFailureText(int code);

// Opens path with its associated program. Returns whether it was opened; on failure
// the message of the table is shown through prompt (OK box, the program's title).
bool OpenFileWithAssociation(const QString &path, Prompt &prompt);

// The platform part: a ShellExecute-like code (>= 32 success). Separate so tests can
// reach the mapping without launching anything.
int openWithAssociation(const QString &path);

// Which program would open path ("" when none, or when path does not exist).
// On Linux the executable of the default application's Exec line.
QString associatedProgram(const QString &path);
