#include "activewindow.h"

#include <windows.h>

WId activeWindowId()
{
    return WId(GetForegroundWindow());
}
