#include "activewindow.h"

#include <windows.h>

WId activeWindowId()
{
    return WId(GetForegroundWindow());
}

QRect activeWindowGeometry()
{
    RECT r;
    if (!GetWindowRect(GetForegroundWindow(), &r))
        return {};
    return QRect(QPoint(r.left, r.top), QPoint(r.right - 1, r.bottom - 1));
}
