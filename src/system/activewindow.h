#pragma once

#include <QtGui/qwindowdefs.h>

// The window the user works in now, as the window system names it; 0 when the
// platform cannot tell (no window manager that publishes it, for one).
WId activeWindowId();
