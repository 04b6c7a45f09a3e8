#include "tagstore.h"

#include <QFile>

#include <algorithm>
#include <numeric>

std::optional<EnvRecord> TagStore::readEnv(QString *error) const
{
    const auto bytes = m_file.read(1, EnvRecord::Size, error);
    if (!bytes)
        return std::nullopt;
    EnvRecord env;
    QString why;
    if (!env.setBytes(*bytes))
        why = QStringLiteral("record 1 ends after %1 of %2 bytes")
                  .arg(bytes->size())
                  .arg(EnvRecord::Size);
    else
        why = env.problem();
    if (why.isEmpty() && env.tagCount() > 0 &&
        m_file.size() <= qint64(env.tagCount()) * m_file.slotSize())
        why = QStringLiteral("TagCount %1 but the file ends before the last tag record")
                  .arg(env.tagCount());
    if (!why.isEmpty()) {
        if (error)
            *error = QStringLiteral("%1: %2").arg(m_file.path(), why);
        return std::nullopt;
    }
    return env;
}

bool TagStore::writeEnv(const EnvRecord &env, QString *error) const
{
    return m_file.write(1, env.bytes(), error);
}

int TagStore::tagCount() const
{
    const auto env = readEnv();
    return env ? env->tagCount() : -1;
}

namespace {
constexpr int TagHead = TagRecord::FixedSize + 2;

qint64 messageLength(const QByteArray &head)
{
    return quint16(LE::int16(head, TagRecord::FixedSize));
}
} // namespace

std::optional<TagRecord> TagStore::parseTag(int k, const std::optional<QByteArray> &bytes,
                                            QString *error) const
{
    if (!bytes)
        return std::nullopt;
    QString why;
    auto tag = TagRecord::parse(*bytes, &why);
    if (!tag && error)
        *error = QStringLiteral("%1: tag %2 (record %3): %4")
                     .arg(m_file.path())
                     .arg(k)
                     .arg(k + 1)
                     .arg(why);
    return tag;
}

std::optional<TagRecord> TagStore::readTag(int k, QString *error) const
{
    return parseTag(k, m_file.readSized(k + 1, TagHead, messageLength, error), error);
}

void TagStore::readTags(int count, const EachTag &each) const
{
    std::vector<int> ks(qMax(count, 0));
    std::iota(ks.begin(), ks.end(), 1);
    readTags(ks, each);
}

void TagStore::readTags(const std::vector<int> &ks, const EachTag &each) const
{
    std::vector<int> records(ks.size());
    std::transform(ks.begin(), ks.end(), records.begin(), [](int k) { return k + 1; });
    m_file.readSizedEach(records, TagHead, messageLength,
                         [&](int r, const std::optional<QByteArray> &bytes, const QString &why) {
                             QString error = why;
                             const auto tag = parseTag(r - 1, bytes, &error);
                             each(r - 1, tag ? &*tag : nullptr, error);
                         });
}

QString TagStore::storedTagNumber(int k) const
{
    const auto head = m_file.read(k + 1, 5);
    if (!head || head->size() != 5 ||
        !std::all_of(head->begin(), head->end(), [](char c) { return c >= '0' && c <= '9'; }))
        return QStringLiteral("?");
    return QString::fromLatin1(*head);
}

bool TagStore::writeTag(int k, const TagRecord &tag, QString *error) const
{
    if (!m_file.write(k + 1, tag.serialize(), error))
        return false;
    if (tag.isFree())
        m_freeFrom = qMin(m_freeFrom, k);
    return true;
}

std::optional<int> TagStore::addTag(TagRecord &tag, QString *error) const
{
    auto env = readEnv(error);
    if (!env)
        return std::nullopt;
    const int count = env->tagCount();
    int k = count + 1;
    {
        // Scan the state marks for a record free for reuse, starting where no
        // free one can be below (the scan would otherwise make adding n tags cost n²).
        QFile file(m_file.path());
        if (m_freeFrom <= count && file.open(QIODevice::ReadOnly | QIODevice::Unbuffered)) {
            for (int i = m_freeFrom; i <= count; ++i) {
                file.seek(qint64(i) * m_file.slotSize() + 5);
                if (file.read(1) == TagRecord::Deleted) {
                    k = i;
                    break;
                }
            }
        }
    }
    if (k > MaxTags) {
        if (error)
            *error =
                QStringLiteral("%1: no free record left (%2 tags)").arg(m_file.path()).arg(count);
        return std::nullopt;
    }
    tag.setText(Tag::TagNumber, env->nextTagNumber());
    if (tag.isFree())
        tag.setStateMark(TagRecord::Live);
    // Two synced writes, ordered so that a crash between them loses at most the
    // new tag and never hands one number out twice. A reused record: the number is
    // spent first, so a crash skips it. A new record at the end: the tag first, so
    // until record 1 counts it and spends its number, it is not a tag at all.
    env->setText(Env::NextTagNumber, tagNumberAfter(env->nextTagNumber()));
    if (k > count)
        env->setTagCount(k);
    const bool ok = k > count ? writeTag(k, tag, error) && writeEnv(*env, error)
                              : writeEnv(*env, error) && writeTag(k, tag, error);
    if (!ok)
        return std::nullopt;
    m_freeFrom = k + 1;
    return k;
}

QString tagNumberAfter(const QString &number)
{
    const int next = number.toInt() % 99999 + 1;
    return QStringLiteral("%1").arg(next, 5, 10, QLatin1Char('0'));
}
