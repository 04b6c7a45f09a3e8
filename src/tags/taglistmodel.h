#pragma once

#include <QList>
#include <QRect>
#include <QString>
#include <optional>

class TagRecord;
class Settings;
class TagStore;

// One row of a list window: the tag's index and what the row says.
struct TagListRow
{
    int k;
    QString text;

    bool operator==(const TagListRow &) const = default;
};

// What the tag list and the trash show and do, over the tag store. Every change
// reads the whole record, changes it and writes it back.
class TagListModel
{
public:
    enum class View
    {
        Live,
        Trash
    };

    TagListModel(const TagStore &store, Settings &settings) : m_store(store), m_settings(settings)
    {
    }

    // The tags of a view in record order; free records are never listed, tags in
    // the trash only in the trash.
    QList<TagListRow> rows(View view) const;
    // Kind label and the message up to its first CR.
    static QString rowText(const TagRecord &tag);
    static bool belongsTo(const TagRecord &tag, View view);

    // The schedule in words and the tag's state, for the tag list.
    static QString describeLive(const TagRecord &tag, bool shown);
    // The same for a tag in the trash.
    static QString describeTrashed(const TagRecord &tag);

    // Window geometry in record 1 is kept in twips; these are pixels at dpi.
    // nullopt when no size is stored.
    std::optional<QRect> storedGeometry(View view, int dpiX, int dpiY) const;
    bool storeGeometry(View view, const QRect &pixels, int dpiX, int dpiY,
                       QString *error = nullptr) const;

private:
    const TagStore &m_store;
    Settings &m_settings;
};
