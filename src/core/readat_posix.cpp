#include "readat.h"

#include <QFileDevice>

#include <cerrno>
#include <unistd.h>

qint64 readAt(QFileDevice &file, qint64 offset, char *data, qint64 size)
{
    const int fd = file.handle();
    if (fd < 0)
        return -1;
    qint64 done = 0;
    while (done < size) {
        const ssize_t n = ::pread(fd, data + done, size_t(size - done), off_t(offset + done));
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return -1;
        if (n == 0)
            break;
        done += n;
    }
    return done;
}
