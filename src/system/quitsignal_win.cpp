#include "quitsignal.h"

// Windows ends a session with WM_QUERYENDSESSION, which Qt turns into a quit.
void quitOnTermSignal(QCoreApplication &) {}
