#pragma once

#include <QAbstractSocket>
#include <QString>

#include <functional>

class QObject;

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

// All bits set: a name that did not resolve.
inline constexpr quint32 InaddrNone = 0xFFFFFFFFu;

// The IPv4 address of a server named by a dotted address or a host name, handed
// to done (host order) from the event loop; InaddrNone when it does not resolve.
// A name lookup runs in the background and never blocks; nothing is handed over
// once context is gone.
void ResolveHost(const QString &name, QObject *context, std::function<void(quint32)> done);
