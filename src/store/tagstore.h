#pragma once

#include "datafile.h"
#include "envrecord.h"
#include "tagrecord.h"

#include <functional>

// Pinboard.dt1: record 1 the environment, tag k in record k + 1.
class TagStore
{
public:
    // TagCount is a 2-byte signed number.
    static constexpr int MaxTags = 32767;

    explicit TagStore(QString dt1Path) : m_file(std::move(dt1Path)) {}

    const DataFile &file() const { return m_file; }

    // nullopt with the reason when record 1 is missing, short or unusable.
    std::optional<EnvRecord> readEnv(QString *error = nullptr) const;
    [[nodiscard]] bool writeEnv(const EnvRecord &env, QString *error = nullptr) const;

    // TagCount from record 1; -1 when it cannot be read.
    int tagCount() const;

    // Tag k (1-based) from record k + 1: its own 458 + n bytes, not the whole slot.
    std::optional<TagRecord> readTag(int k, QString *error = nullptr) const;
    // Tags 1 ... count in order with one open of the file; tag is null when it
    // cannot be read, and error then says why.
    using EachTag = std::function<void(int k, const TagRecord *tag, const QString &error)>;
    void readTags(int count, const EachTag &each) const;
    // The same for the tags numbered in ks, in that order.
    void readTags(const std::vector<int> &ks, const EachTag &each) const;
    [[nodiscard]] bool writeTag(int k, const TagRecord &tag, QString *error = nullptr) const;
    // The TagNumber at the head of record k + 1 even when the rest cannot be
    // read, so a damaged tag can be named; "?" where it is not five digits.
    QString storedTagNumber(int k) const;

    // Stores a new tag: it takes the first free record ("9") or a new one at the
    // end, and the next TagNumber. Returns k, or nullopt with the reason.
    [[nodiscard]] std::optional<int> addTag(TagRecord &tag, QString *error = nullptr) const;

private:
    std::optional<TagRecord> parseTag(int k, const std::optional<QByteArray> &bytes,
                                      QString *error) const;

    DataFile m_file;
    // No record below this one is free, as far as this store has seen; records
    // freed by another writer are found again by the next TagStore.
    mutable int m_freeFrom = 1;
};

// "00001" ... "99999", then "00001" again.
QString tagNumberAfter(const QString &number);
