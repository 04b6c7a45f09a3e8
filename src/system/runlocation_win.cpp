#include "runlocation.h"

#include <windows.h>

// Fixed disks and mapped network drives only; the data lives beside the program.
RunLocation checkRunLocation(const QString &dir)
{
    if (isNetworkPath(dir))
        return RunLocation::NetworkPath;
    const QString root = dir.left(3);
    const UINT type = GetDriveTypeW(reinterpret_cast<LPCWSTR>(root.utf16()));
    return (type == DRIVE_FIXED || type == DRIVE_REMOTE) ? RunLocation::Ok
                                                         : RunLocation::UnsuitableDrive;
}
