#include "tagplacement.h"

#include "tagstore.h"

#include <algorithm>
#include <cstdlib>

namespace {
qint64 overlap(const QRect &a, const QRect &b)
{
    const QRect both = a.intersected(b);
    return both.isEmpty() ? 0 : qint64(both.width()) * both.height();
}

// Shrinks r to fit area and moves it the least distance that puts it inside.
QRect fitInside(const QRect &r, const QRect &area)
{
    QRect out(r.topLeft(), r.size().boundedTo(area.size()));
    out.moveLeft(std::clamp(out.left(), area.left(), area.right() - out.width() + 1));
    out.moveTop(std::clamp(out.top(), area.top(), area.bottom() - out.height() + 1));
    return out;
}
} // namespace

QRect placeTag(const QRect &wanted, const QList<QRect> &workAreas, bool autoPosition)
{
    if (workAreas.isEmpty())
        return wanted;
    // A window not yet sized still has a place: count it as one pixel.
    const QRect probe(wanted.topLeft(), wanted.size().expandedTo(QSize(1, 1)));
    qsizetype best = -1;
    qint64 bestOverlap = 0;
    for (qsizetype i = 0; i < workAreas.size(); ++i) {
        const qint64 o = overlap(probe, workAreas.at(i));
        if (o > bestOverlap)
            best = i, bestOverlap = o;
    }
    if (best < 0)
        return fitInside(wanted, workAreas.first());
    if (!autoPosition)
        return wanted;
    return fitInside(wanted, workAreas.at(best));
}

QRect boundedGeometry(qint64 x, qint64 y, qint64 width, qint64 height,
                      const QList<QRect> &workAreas)
{
    QRect span;
    for (const QRect &area : workAreas)
        span = span.united(area);
    if (span.isEmpty())
        span = QRect(0, 0, 640, 480);
    const qint64 w = std::clamp<qint64>(width, 0, span.width());
    const qint64 h = std::clamp<qint64>(height, 0, span.height());
    // The top-left corner on the screens; the rest may stick out, as a tag the
    // user pushed half off the edge does.
    const qint64 left = std::clamp<qint64>(x, span.left(), span.right());
    const qint64 top = std::clamp<qint64>(y, span.top(), span.bottom());
    return QRect(int(left), int(top), int(w), int(h));
}

QList<QPoint> arrangeTags(Corner corner, const QList<QSize> &sizes, const QRect &workArea, int gap)
{
    const bool right = corner == Corner::TopRight || corner == Corner::BottomRight;
    const bool bottom = corner == Corner::BottomLeft || corner == Corner::BottomRight;
    // Distances are measured from the corner inwards and mirrored at the end.
    const int innerWidth = workArea.width() - 2 * gap;
    const int innerHeight = workArea.height() - 2 * gap;
    QList<QPoint> out;
    out.reserve(sizes.size());
    int column = 0;     // distance of the current column from the corner's side
    int columnWide = 0; // widest window in the current column
    int along = 0;      // distance of the next window from the corner's edge
    for (const QSize &s : sizes) {
        if (along > 0 && along + s.height() > innerHeight) {
            column += columnWide + gap;
            columnWide = 0;
            along = 0;
        }
        // Out of columns: start again at the corner rather than leave the screen.
        if (column > 0 && column + s.width() > innerWidth)
            column = 0;
        const int x = right ? workArea.right() + 1 - gap - column - s.width()
                            : workArea.left() + gap + column;
        const int y = bottom ? workArea.bottom() + 1 - gap - along - s.height()
                             : workArea.top() + gap + along;
        out.append(QPoint(x, y));
        columnWide = std::max(columnWide, s.width());
        along += s.height() + gap;
    }
    return out;
}

QSize grownToFit(const QSize &stored, const QSize &fitted, const QSize &workArea)
{
    const auto side = [](int kept, int needed, int most) {
        if (kept <= 0)
            return kept;
        return kept >= needed ? kept : std::max(kept, std::min(needed, most));
    };
    return {side(stored.width(), fitted.width(), workArea.width()),
            side(stored.height(), fitted.height(), workArea.height())};
}

QPoint cascadeTag(const QPoint &start, const QSize &size, const QList<QPoint> &taken,
                  const QRect &workArea, int step)
{
    const auto occupied = [&](const QPoint &p) {
        return std::any_of(taken.begin(), taken.end(), [&](const QPoint &t) {
            return std::abs(t.x() - p.x()) < step && std::abs(t.y() - p.y()) < step;
        });
    };
    const auto fits = [&](const QPoint &p) {
        return workArea.contains(QRect(p, size.expandedTo(QSize(1, 1))));
    };
    if (step <= 0 || workArea.isEmpty())
        return start;
    QPoint p = start;
    for (int column = 0;;) {
        if (!fits(p)) {
            p = QPoint(workArea.left() + column * step, workArea.top());
            ++column;
            if (!fits(p))
                return start;
        }
        if (!occupied(p))
            return p;
        p += QPoint(step, step);
    }
}

bool staysOnTop(const TagRecord &tag, const EnvRecord &env)
{
    if (tag.isTopMost())
        return true;
    if (tag.isReceived())
        return env.byte(Env::NetTop) == 1;
    return env.byte(Env::ScmTop) == 1 && tag.isScheduled();
}

QPoint freeTagPosition(const TagStore &store, const EnvRecord &env, const QRect &workArea)
{
    QList<QPoint> taken;
    for (int k = 1, count = store.tagCount(); k <= count; ++k) {
        const auto tag = store.readTag(k);
        if (tag && tag->isLive())
            taken << QPoint(int(tag->longValue(Tag::PosX)), int(tag->longValue(Tag::PosY)));
    }
    const QSize size(env.integer(Env::DefaultWidth), env.integer(Env::DefaultHeight));
    return cascadeTag(QPoint(env.integer(Env::DefaultX), env.integer(Env::DefaultY)), size, taken,
                      workArea);
}
