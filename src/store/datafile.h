#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

// Random access to a file of fixed-size record slots. Every call opens the file,
// reads or writes one record and closes it again: no handle outlives a call.
class DataFile
{
public:
    explicit DataFile(QString path, int slotSize = 32767)
        : m_path(std::move(path)), m_slotSize(slotSize)
    {
    }

    const QString &path() const { return m_path; }
    int slotSize() const { return m_slotSize; }
    bool exists() const;
    qint64 size() const;

    // Up to maxBytes of record recordNo (1-based); shorter where the file ends.
    // nullopt when the file cannot be opened or the record lies past its end.
    std::optional<QByteArray> read(int recordNo, int maxBytes, QString *error = nullptr) const;
    // Writes bytes at the start of slot recordNo, creating the file if needed;
    // the rest of the slot is left as it is.
    bool write(int recordNo, const QByteArray &bytes, QString *error = nullptr) const;

private:
    qint64 offsetOf(int recordNo) const { return qint64(recordNo - 1) * m_slotSize; }

    QString m_path;
    int m_slotSize;
};
