#include "readat.h"

#include <QFileDevice>

qint64 readAt(QFileDevice &file, qint64 offset, char *data, qint64 size)
{
    return file.seek(offset) ? file.read(data, size) : -1;
}
