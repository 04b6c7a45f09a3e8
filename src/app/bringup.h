#pragma once

#include <QWidget>

// Shows a single-instance window, or brings it to the front when it is already
// open, so the user's next keystrokes go to it.
inline void bringUp(QWidget *w)
{
    w->show();
    w->raise();
    w->activateWindow();
}
