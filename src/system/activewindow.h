#pragma once

#include <QRect>
#include <QtGui/qwindowdefs.h>

// The window the user works in now, as the window system names it; 0 when the
// platform cannot tell (no window manager that publishes it, for one).
WId activeWindowId();

// Where that window is on the desktop, in the window system's pixels; empty
// when there is none.
QRect activeWindowGeometry();
