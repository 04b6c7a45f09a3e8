#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>
#include <vector>

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
    // A record whose head says how long it is: reads headBytes, then restOf(head)
    // bytes more (kept within the slot), and nothing of the slot beyond them.
    using RestOf = std::function<qint64(const QByteArray &head)>;
    std::optional<QByteArray> readSized(int recordNo, int headBytes, const RestOf &restOf,
                                        QString *error = nullptr) const;
    // readSized for each of the records in the order given, with one open of the file.
    using Each = std::function<void(int recordNo, const std::optional<QByteArray> &bytes,
                                    const QString &error)>;
    void readSizedEach(const std::vector<int> &records, int headBytes, const RestOf &restOf,
                       const Each &each) const;
    // Writes bytes at the start of slot recordNo, creating the file if needed;
    // the rest of the slot is left as it is.
    bool write(int recordNo, const QByteArray &bytes, QString *error = nullptr) const;

private:
    qint64 offsetOf(int recordNo) const { return qint64(recordNo - 1) * m_slotSize; }

    QString m_path;
    int m_slotSize;
};
