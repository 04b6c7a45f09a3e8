#pragma once

#include "datalocation.h"

class Prompt;

// The folder this run keeps its data in. Data an earlier version left beside
// the executable moves once to the user's data folder, with a message; when
// it cannot move, it is used where it is, for this run.
QString settleDataFolder(const DataLocation &where, const QString &exeDir, Prompt &prompt);

QString dataMovedText(const QString &from, const QString &to);
QString dataNotMovedText(const QString &from, const QString &to);
