#pragma once

#include "tagrecord.h"

#include <QList>
#include <optional>

class Prompt;
class TagStore;

// Every change of a stored tag, whichever window asked for it: the editor, the
// tag's own menu and the two lists all come here, so a failed write reaches the
// user the same way from each of them (a warning with the store's reason).
class TagOperations
{
public:
    TagOperations(const TagStore &store, Prompt &prompt) : m_store(store), m_prompt(prompt) {}

    // Tag k, or nullopt after telling the user why it cannot be read.
    std::optional<TagRecord> read(int k) const;
    // Stores a new tag in the first free record; its index, or nullopt after telling the user.
    std::optional<int> addNew(TagRecord &tag) const;
    // Rewrites tag k; false after telling the user.
    bool store(int k, const TagRecord &tag) const;
    // Tag k as the start of a new one: nothing of its number, state, sender or sent mail.
    std::optional<TagRecord> copyOf(int k) const;
    static TagRecord asCopy(TagRecord tag);

    // Moves a listed tag into the trash, or a trashed one back.
    bool trash(int k) const;
    bool restore(int k) const;
    // Frees the record: state "9", dates at 0001/01/01, every other field but the
    // tag number blank, and the old message overwritten on disk.
    bool deleteForGood(int k) const;
    // Deletes every tag in the trash for good; the indexes freed, in order.
    QList<int> emptyTrash() const;

private:
    bool refuse(int k, const QString &expected, const TagRecord &tag) const;
    bool deleteQuietly(int k, QString *error) const;
    void report(const QString &error) const;

    const TagStore &m_store;
    Prompt &m_prompt;
};
