#include "tagoperations.h"

#include "oledate.h"
#include "prompt.h"
#include "tagstore.h"

std::optional<TagRecord> TagOperations::read(int k) const
{
    QString error;
    auto tag = m_store.readTag(k, &error);
    if (!tag)
        report(error);
    return tag;
}

std::optional<int> TagOperations::addNew(TagRecord &tag) const
{
    QString error;
    const auto k = m_store.addTag(tag, &error);
    if (!k)
        report(error);
    return k;
}

bool TagOperations::store(int k, const TagRecord &tag) const
{
    QString error;
    if (m_store.writeTag(k, tag, &error))
        return true;
    report(error);
    return false;
}

std::optional<TagRecord> TagOperations::copyOf(int k) const
{
    const auto tag = read(k);
    if (!tag)
        return std::nullopt;
    return asCopy(*tag);
}

TagRecord TagOperations::asCopy(TagRecord tag)
{
    // The copy is the writer's own tag: nothing of where the original came from.
    tag.setText(Tag::TagNumber, QString());
    tag.setState(TagState::Live);
    tag.setText(Tag::ReceivedMark, QString());
    tag.setText(Tag::SenderName, QString());
    tag.setText(Tag::SenderAddress, QString());
    tag.setByte(Tag::MailSent, 0);
    return tag;
}

bool TagOperations::trash(int k) const
{
    // A mark this program never writes still counts as listed, as the tag list shows it.
    auto tag = read(k);
    if (!tag)
        return false;
    if (tag->state() == TagState::Free || tag->state() == TagState::InTrash)
        return refuse(k, QStringLiteral("listed"), *tag);
    tag->setState(TagState::InTrash);
    return store(k, *tag);
}

bool TagOperations::restore(int k) const
{
    auto tag = read(k);
    if (!tag)
        return false;
    if (tag->state() != TagState::InTrash)
        return refuse(k, QStringLiteral("in the trash"), *tag);
    tag->setState(TagState::Live);
    return store(k, *tag);
}

bool TagOperations::refuse(int k, const QString &expected, const TagRecord &tag) const
{
    report(QStringLiteral("tag %1 is not %2 (state \"%3\")").arg(k).arg(expected, tag.stateMark()));
    return false;
}

bool TagOperations::deleteForGood(int k) const
{
    QString error;
    if (deleteQuietly(k, &error))
        return true;
    report(error);
    return false;
}

bool TagOperations::deleteQuietly(int k, QString *error) const
{
    const auto old = m_store.readTag(k, error);
    if (!old)
        return false;
    TagRecord freed;
    freed.setText(Tag::TagNumber, old->tagNumber());
    freed.setState(TagState::Free);
    freed.setDate(Tag::DisplayDateTime, OleDate::clearedDate());
    freed.setDate(Tag::EraseDateTime, OleDate::clearedDate());
    // A shorter record leaves the rest of its slot as it was: blank the old text
    // in place first so it does not stay readable in the file.
    if (!old->messageBytes().isEmpty()) {
        TagRecord wipe = freed;
        wipe.setMessageBytes(QByteArray(old->messageBytes().size(), ' '));
        if (!m_store.writeTag(k, wipe, error))
            return false;
    }
    return m_store.writeTag(k, freed, error);
}

QList<int> TagOperations::emptyTrash() const
{
    QList<int> freed;
    QStringList failures;
    for (int k = 1, count = m_store.tagCount(); k <= count; ++k) {
        // A record that cannot be read is not known to be in the trash: left alone.
        const auto tag = m_store.readTag(k);
        if (!tag || tag->state() != TagState::InTrash)
            continue;
        QString why;
        if (deleteQuietly(k, &why))
            freed.append(k);
        else
            failures.append(why);
    }
    // One box for the lot, not one per tag.
    if (!failures.isEmpty())
        report(failures.join(u'\n'));
    return freed;
}

void TagOperations::report(const QString &error) const
{
    m_prompt.warn(error);
}
