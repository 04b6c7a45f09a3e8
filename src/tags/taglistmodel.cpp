#include "taglistmodel.h"

#include "oledate.h"
#include "schedule.h"
#include "scheduler.h"
#include "tagstore.h"

namespace {

constexpr int TwipsPerInch = 1440;

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

bool fail(QString *error, const QString &why)
{
    if (error)
        *error = why;
    return false;
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
    return kindLabel(tag.byte(Tag::ScheduleKind)) + message.left(message.indexOf(u'\r'));
}

bool TagListModel::belongsTo(const TagRecord &tag, View view)
{
    if (tag.isFree() || isHeldSealed(tag))
        return false;
    const bool trashed = tag.stateMark() == QLatin1String(TagRecord::InTrash);
    return trashed == (view == View::Trash);
}

QString TagListModel::describeLive(const TagRecord &tag, bool shown)
{
    return describeSchedule(TagSchedule::fromRecord(tag), shown, tag.byte(Tag::MailSent) == 1);
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

bool TagListModel::setMark(int k, const char *mark, QString *error) const
{
    auto tag = m_store.readTag(k, error);
    if (!tag)
        return false;
    const bool toTrash = qstrcmp(mark, TagRecord::InTrash) == 0;
    if (!belongsTo(*tag, toTrash ? View::Live : View::Trash))
        return fail(error,
                    QStringLiteral("tag %1 is not %2 (state \"%3\")")
                        .arg(k)
                        .arg(toTrash ? QStringLiteral("listed") : QStringLiteral("in the trash"),
                             tag->stateMark()));
    tag->setStateMark(mark);
    return m_store.writeTag(k, *tag, error);
}

bool TagListModel::trash(int k, QString *error) const
{
    return setMark(k, TagRecord::InTrash, error);
}

bool TagListModel::restore(int k, QString *error) const
{
    return setMark(k, TagRecord::Live, error);
}

bool TagListModel::deleteForGood(int k, QString *error) const
{
    const auto old = m_store.readTag(k, error);
    if (!old)
        return false;
    TagRecord freed;
    freed.setText(Tag::TagNumber, old->tagNumber());
    freed.setStateMark(TagRecord::Deleted);
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

QList<int> TagListModel::emptyTrash(QString *error) const
{
    QList<int> freed;
    for (const TagListRow &row : rows(View::Trash)) {
        QString why;
        if (deleteForGood(row.k, &why))
            freed.append(row.k);
        else if (error)
            *error = why;
    }
    return freed;
}

std::optional<QRect> TagListModel::storedGeometry(View view, int dpiX, int dpiY) const
{
    const auto env = m_store.readEnv();
    if (!env)
        return std::nullopt;
    const GeometryFields f = geometryFields(view);
    const qint32 width = env->longValue(f.width);
    const qint32 height = env->longValue(f.height);
    if (width <= 0 || height <= 0)
        return std::nullopt;
    return QRect(twipsToPixels(env->longValue(f.left), dpiX),
                 twipsToPixels(env->longValue(f.top), dpiY), twipsToPixels(width, dpiX),
                 twipsToPixels(height, dpiY));
}

bool TagListModel::storeGeometry(View view, const QRect &pixels, int dpiX, int dpiY,
                                 QString *error) const
{
    auto env = m_store.readEnv(error);
    if (!env)
        return false;
    const GeometryFields f = geometryFields(view);
    env->setLong(f.left, pixelsToTwips(pixels.x(), dpiX));
    env->setLong(f.top, pixelsToTwips(pixels.y(), dpiY));
    env->setLong(f.width, pixelsToTwips(pixels.width(), dpiX));
    env->setLong(f.height, pixelsToTwips(pixels.height(), dpiY));
    return m_store.writeEnv(*env, error);
}

int TagListModel::twipsToPixels(qint32 twips, int dpi)
{
    return int(qRound64(double(twips) * dpi / TwipsPerInch));
}

qint32 TagListModel::pixelsToTwips(int pixels, int dpi)
{
    return dpi > 0 ? qint32(qRound64(double(pixels) * TwipsPerInch / dpi)) : 0;
}
