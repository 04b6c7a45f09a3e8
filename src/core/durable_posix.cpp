#include "durable.h"

#include <QFile>

#include <fcntl.h>
#include <unistd.h>

namespace Durable {

bool sync(QFileDevice &file)
{
    if (!file.flush())
        return false;
    const int fd = file.handle();
    return fd >= 0 && ::fdatasync(fd) == 0;
}

bool syncDirectory(const QString &dir)
{
    const int fd = ::open(QFile::encodeName(dir).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (fd < 0)
        return false;
    const bool ok = ::fsync(fd) == 0;
    ::close(fd);
    return ok;
}

} // namespace Durable
