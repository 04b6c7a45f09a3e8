#include "durable.h"

#include <QFileDevice>

#include <io.h>
#include <windows.h>

namespace Durable {

bool sync(QFileDevice &file)
{
    if (!file.flush())
        return false;
    const int fd = file.handle();
    return fd >= 0 && FlushFileBuffers(reinterpret_cast<HANDLE>(_get_osfhandle(fd)));
}

// NTFS makes a rename durable with the file's own metadata; nothing to do.
bool syncDirectory(const QString &)
{
    return true;
}

} // namespace Durable
