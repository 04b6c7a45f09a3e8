#pragma once

#include <QString>

class Prompt;

// Result codes of opening a file, in the vocabulary of ShellExecute: below 32 is
// a failure, 32 or more is success. Linux maps what it finds onto these.
namespace OpenCode {
constexpr int FileNotFound = 2;
constexpr int AccessDenied = 5;
constexpr int SharingViolation = 26;
constexpr int AssociationIncomplete = 27;
constexpr int DdeTimeout = 28;
constexpr int DdeFailed = 29;
constexpr int DdeBusy = 30;
constexpr int NoAssociation = 31;
constexpr int Opened = 42;
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
