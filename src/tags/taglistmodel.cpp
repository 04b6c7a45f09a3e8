#include "taglistmodel.h"

#include "settings.h"
#include "twips.h"

#include "schedule.h"
#include "scheduler.h"
#include "tagstore.h"

namespace {

struct GeometryFields
{
    int left, top, width, height;
};

GeometryFields geometryFields(TagListModel::View view)
{
    if (view == TagListModel::View::Trash)
        return {Env::TrashListLeft, Env::TrashListTop, Env::TrashListWidth, Env::TrashListHeight};
    return {Env::TagListLeft, Env::TagListTop, Env::TagListWidth, Env::TagListHeight};
}

} // namespace

QList<TagListRow> TagListModel::rows(View view) const
{
    QList<TagListRow> out;
    const int count = m_store.tagCount();
    for (int k = 1; k <= count; ++k) {
        QString why;
        const auto tag = m_store.readTag(k, &why);
        if (!tag) {
            // One damaged record must not hide the others.
            qWarning("%s", qPrintable(why));
            continue;
        }
        if (belongsTo(*tag, view))
            out.append({k, rowText(*tag)});
    }
    return out;
}

QString TagListModel::rowText(const TagRecord &tag)
{
    const QString message = tag.message();
    return kindLabel(tag.kindNumber()) + message.left(message.indexOf(u'\r'));
}

bool TagListModel::belongsTo(const TagRecord &tag, View view)
{
    if (tag.isFree() || isHeldSealed(tag))
        return false;
    const bool trashed = tag.state() == TagState::InTrash;
    return trashed == (view == View::Trash);
}

QString TagListModel::describeLive(const TagRecord &tag, bool shown)
{
    return describeSchedule(TagSchedule::fromRecord(tag), shown, tag.mailSent());
}

QString TagListModel::describeTrashed(const TagRecord &tag)
{
    TagSchedule s = TagSchedule::fromRecord(tag);
    if (s.kind == TagSchedule::ShowNow)
        return QStringLiteral("すぐに表示指定ですが、現在は削除されています。");
    // A restored tag comes back on its schedule, so the trash speaks of showing
    // even for a mail tag.
    s.mail = false;
    return describeSchedule(s, false, false);
}

std::optional<QRect> TagListModel::storedGeometry(View view, int dpiX, int dpiY) const
{
    const EnvRecord &env = m_settings.env();
    const GeometryFields f = geometryFields(view);
    const qint32 width = env.longValue(f.width);
    const qint32 height = env.longValue(f.height);
    if (width <= 0 || height <= 0)
        return std::nullopt;
    return QRect(twipsToPixels(env.longValue(f.left), dpiX),
                 twipsToPixels(env.longValue(f.top), dpiY), twipsToPixels(width, dpiX),
                 twipsToPixels(height, dpiY));
}

bool TagListModel::storeGeometry(View view, const QRect &pixels, int dpiX, int dpiY,
                                 QString *error) const
{
    const GeometryFields f = geometryFields(view);
    const QString why = m_settings.change([&](EnvRecord &env) {
        env.setLong(f.left, pixelsToTwips(pixels.x(), dpiX));
        env.setLong(f.top, pixelsToTwips(pixels.y(), dpiY));
        env.setLong(f.width, pixelsToTwips(pixels.width(), dpiX));
        env.setLong(f.height, pixelsToTwips(pixels.height(), dpiY));
    });
    if (error)
        *error = why;
    return why.isEmpty();
}
