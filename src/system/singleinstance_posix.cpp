#include "singleinstance.h"

#include <QFile>
#include <QSysInfo>

#include <cerrno>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

SingleInstance::Result SingleInstance::acquire()
{
    if (isHeld())
        return Result::Acquired;
    const QByteArray path = QFile::encodeName(m_path);
    // A few rounds: the owner may remove its file between our open and our lock.
    for (int round = 0; round < 5; ++round) {
        if (!clearNonFile())
            return Result::NotWritable;
        const int fd = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
        if (fd < 0)
            return Result::NotWritable;
        if (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
            const int why = errno;
            ::close(fd);
            return why == EWOULDBLOCK ? Result::HeldByAnother : Result::NotWritable;
        }
        struct stat held
        {
        }, named{};
        if (::fstat(fd, &held) != 0 || ::stat(path.constData(), &named) != 0 ||
            held.st_ino != named.st_ino || held.st_dev != named.st_dev) {
            ::close(fd);
            continue;
        }
        // Whatever the file held before (nothing, garbage, another host) is stale.
        const QByteArray owner = QByteArray::number(qint64(::getpid())) + "\npinboard\n" +
                                 QSysInfo::machineHostName().toUtf8() + "\n";
        if (::ftruncate(fd, 0) != 0 ||
            ::write(fd, owner.constData(), size_t(owner.size())) != owner.size()) {
            ::close(fd);
            return Result::NotWritable;
        }
        m_handle = fd;
        return Result::Acquired;
    }
    return Result::HeldByAnother;
}

void SingleInstance::release()
{
    if (m_handle == -1)
        return;
    // Removed while still locked, so nobody can lock the old file after us.
    ::unlink(QFile::encodeName(m_path).constData());
    ::close(int(m_handle));
    m_handle = -1;
}
