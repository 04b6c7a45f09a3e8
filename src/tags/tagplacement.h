#pragma once

#include "envrecord.h"
#include "tagrecord.h"

#include <QList>
#include <QPoint>
#include <QRect>
#include <QSize>

// Where a tag window goes: at wanted when autoPosition is off and wanted lies on one of
// the screens' work areas; when autoPosition is on, moved (and shrunk if it must be) so that it
// lies wholly inside the work area it mostly overlaps; a window on no screen at all (a monitor
// that is gone) goes to the first (primary) work area, never off-screen.
QRect placeTag(const QRect &wanted, const QList<QRect> &workAreas, bool autoPosition);

// A stored position and size (any 32-bit values, from a file that may be damaged)
// brought within what the screens can show, whatever the auto-position setting:
// the size no larger than the area spanned by the work areas, the top-left corner
// inside that area. Sizes of 0 or less become 0 (the window fits its text).
QRect boundedGeometry(qint64 x, qint64 y, qint64 width, qint64 height,
                      const QList<QRect> &workAreas);

enum class Corner
{
    TopLeft,
    BottomLeft,
    TopRight,
    BottomRight
};

// The four arrangement commands: top-left positions for windows of the given sizes, laid one
// after another from the corner in columns (top-left: downwards, then the next column to the
// right; bottom corners upwards; right corners with columns going left), gap pixels apart,
// wrapping to a new column when the next would leave the work area.
QList<QPoint> arrangeTags(Corner corner, const QList<QSize> &sizes, const QRect &workArea, int gap);

// The size a tag keeps after its text or font changed: each side stays where the text
// still fits in it and grows to fitted where it does not, never past the work area.
// A side of 0 (sized to the text when shown) stays 0.
QSize grownToFit(const QSize &stored, const QSize &fitted, const QSize &workArea);

// Where a new tag goes so that it covers no other: from start, a step down and to the
// right past each place where a tag already has its corner (within a step); when the
// tag would leave the work area, again from its top, one step further right each time.
// start itself when the work area has no free place.
QPoint cascadeTag(const QPoint &start, const QSize &size, const QList<QPoint> &taken,
                  const QRect &workArea, int step = 24);

// Whether a tag window stays above other windows: its own switch, or the
// setting that lifts tags from other computers, or the one that lifts scheduled
// tags. Every path that shows or restyles a tag window asks this.
bool staysOnTop(const TagRecord &tag, const EnvRecord &env);

class TagStore;
// Where a new tag goes: cascaded from the default place past the live tags of store.
QPoint freeTagPosition(const TagStore &store, const EnvRecord &env, const QRect &workArea);
