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

namespace {
std::optional<QByteArray> readOpen(QFile &file, qint64 offset, qint64 slot, int headBytes,
                                   const DataFile::RestOf &restOf)
{
    if (!file.seek(offset))
        return std::nullopt;
    QByteArray bytes = file.read(qMin<qint64>(headBytes, slot));
    if (bytes.size() < headBytes)
        return bytes;
    const qint64 rest = qBound<qint64>(0, restOf(bytes), slot - headBytes);
    if (rest > 0)
        bytes += file.read(rest);
    return bytes;
}
} // namespace

std::optional<QByteArray> DataFile::readSized(int recordNo, int headBytes, const RestOf &restOf,
                                              QString *error) const
{
    std::optional<QByteArray> out;
    readSizedEach(recordNo, recordNo, headBytes, restOf,
                  [&](int, const std::optional<QByteArray> &bytes, const QString &why) {
                      out = bytes;
                      if (!bytes && error)
                          *error = why;
                  });
    return out;
}

void DataFile::readSizedEach(int first, int last, int headBytes, const RestOf &restOf,
                             const Each &each) const
{
    if (first > last)
        return;
    QFile file(m_path);
    if (!file.open(QIODevice::ReadOnly)) {
        const QString why = QStringLiteral("%1: %2").arg(m_path, file.errorString());
        for (int r = first; r <= last; ++r)
            each(r, std::nullopt, why);
        return;
    }
    const qint64 size = file.size();
    for (int r = first; r <= last; ++r) {
        const qint64 offset = offsetOf(r);
        if (r < 1 || offset >= size) {
            each(r, std::nullopt,
                 QStringLiteral("%1: record %2 lies past the end of the file (%3 bytes)")
                     .arg(m_path)
                     .arg(r)
                     .arg(size));
            continue;
        }
        auto bytes = readOpen(file, offset, m_slotSize, headBytes, restOf);
        each(r, bytes, bytes ? QString() : QStringLiteral("%1: %2").arg(m_path, file.errorString()));
    }
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
