#pragma once

#include <QAbstractSocket>
#include <QString>

class Prompt;

// The Japanese text of a Windows Sockets error code; "(" + code + ")" for a code
// without one.
QString SocketErrorText(int code);

// Qt's socket errors as the Windows Sockets codes the texts are kept under; -1 for
// an error without a counterpart.
int winsockCode(QAbstractSocket::SocketError error);

// This computer's name for EHLO/HELO, at most 32 characters. Tells the user and
// returns an empty text when there is none.
QString GetLocalComputerName(Prompt &prompt);
