#include "datafile.h"

#include "durable.h"
#include "readat.h"

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
    // The head and a short rest in one read; a longer rest in a second one.
    constexpr qint64 Ahead = 1024;
    QByteArray bytes(qMin<qint64>(headBytes + Ahead, slot), Qt::Uninitialized);
    const qint64 got = readAt(file, offset, bytes.data(), bytes.size());
    if (got < 0)
        return std::nullopt;
    bytes.truncate(got);
    if (bytes.size() < headBytes)
        return bytes;
    const qint64 total =
        headBytes + qBound<qint64>(0, restOf(bytes.first(headBytes)), slot - headBytes);
    if (bytes.size() > total) {
        bytes.truncate(total);
    } else if (bytes.size() == headBytes + Ahead && total > bytes.size()) {
        const qint64 have = bytes.size();
        bytes.resize(total);
        const qint64 more = readAt(file, offset + have, bytes.data() + have, total - have);
        if (more < 0)
            return std::nullopt;
        bytes.truncate(have + more);
    }
    return bytes;
}
} // namespace

std::optional<QByteArray> DataFile::readSized(int recordNo, int headBytes, const RestOf &restOf,
                                              QString *error) const
{
    std::optional<QByteArray> out;
    readSizedEach({recordNo}, headBytes, restOf,
                  [&](int, const std::optional<QByteArray> &bytes, const QString &why) {
                      out = bytes;
                      if (!bytes && error)
                          *error = why;
                  });
    return out;
}

void DataFile::readSizedEach(const std::vector<int> &records, int headBytes, const RestOf &restOf,
                             const Each &each) const
{
    if (records.empty())
        return;
    QFile file(m_path);
    // Unbuffered: a buffer would fill itself with the unused rest of each slot.
    if (!file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
        const QString why = QStringLiteral("%1: %2").arg(m_path, file.errorString());
        for (int r : records)
            each(r, std::nullopt, why);
        return;
    }
    const qint64 size = file.size();
    for (int r : records) {
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
        each(r, bytes,
             bytes ? QString() : QStringLiteral("%1: %2").arg(m_path, file.errorString()));
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
