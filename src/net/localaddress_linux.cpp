#include <QFile>
#include <QString>

// The kernel's IPv4 routing table.
QString readRouteTable()
{
    QFile file(QStringLiteral("/proc/net/route"));
    if (!file.open(QIODevice::ReadOnly))
        return {};
    return QString::fromLatin1(file.read(64 * 1024));
}
