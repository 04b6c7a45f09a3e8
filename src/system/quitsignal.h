#pragma once

class QCoreApplication;

// SIGTERM and SIGINT (a session ending, a service manager, Ctrl+C) quit the
// event loop, so the shutdown sequence runs and the LAN hears the logout.
void quitOnTermSignal(QCoreApplication &app);
