#include "datafile.h"

#include "durable.h"

#include <QFile>
#include <QFileInfo>

bool DataFile::exists() const
{
    return QFileInfo::exists(m_path);
}

qint64 DataFile::size() const
{
    return QFileInfo(m_path).size();
}

std::optional<QByteArray> DataFile::read(int recordNo, int maxBytes, QString *error) const
{
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(m_path, file.errorString());
        return std::nullopt;
    }
    const qint64 offset = offsetOf(recordNo);
    if (recordNo < 1 || offset >= file.size()) {
        if (error)
            *error = QStringLiteral("%1: record %2 lies past the end of the file (%3 bytes)")
                         .arg(m_path)
                         .arg(recordNo)
                         .arg(file.size());
        return std::nullopt;
    }
    file.seek(offset);
    return file.read(qMin<qint64>(maxBytes, m_slotSize));
}

bool DataFile::write(int recordNo, const QByteArray &bytes, QString *error) const
{
    if (recordNo < 1 || bytes.size() > m_slotSize) {
        if (error)
            *error = QStringLiteral("record %1 of %2 bytes does not fit a slot")
                         .arg(recordNo)
                         .arg(bytes.size());
        return false;
    }
    QFile file(m_path);
    const bool created = !file.exists();
    // Success is reported only once the bytes are on the disk.
    if (!file.open(QIODevice::ReadWrite) || !file.seek(offsetOf(recordNo)) ||
        file.write(bytes) != bytes.size() || !Durable::sync(file) ||
        (created && !Durable::syncDirectory(Durable::directoryOf(m_path)))) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(m_path, file.errorString());
        return false;
    }
    file.close();
    return true;
}
