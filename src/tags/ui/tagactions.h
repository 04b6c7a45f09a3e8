#pragma once

#include "envrecord.h"
#include "tagrecord.h"

#include <QRect>
#include <QSize>
#include <QString>

class QPainter;
class QPrinter;
class QWidget;
class TagWindow;

// What the pop-up menu's entries do to one tag window, called by the window's owner.
namespace TagActions {

void copyToClipboard(const QString &text);

// Draws the tag on a page: its text in the tag's font and colours, wrapped to the page
// width, on a box of its background colour with its frame. A text taller than the page
// is set smaller until it fits.
void renderTag(QPainter &painter, const QRect &page, const TagRecord &tag);
// Prints the tag on one page of a printer that is set up already; false when the
// printer cannot be started.
bool printOn(QPrinter &printer, const TagRecord &tag);
// Asks for the printer, then prints; false when cancelled or failed.
bool print(const TagRecord &tag, QWidget *parent);

// The first http:// or https:// address in text, without trailing punctuation;
// empty when there is none.
QString firstUrl(const QString &text);
// Opens firstUrl(text) in the browser; false when there is none or it cannot be opened.
bool openUrl(const QString &text);

// サイズを最適化する: the window takes the size of its text; returns the new size.
QSize fitToText(TagWindow &window);

// The tag after its text or font changed: its stored size grown where the text no longer
// fits, up to the work area.
TagRecord grownToText(const TagRecord &tag, const EnvRecord &env);

// 配色等を現在の規定値にする: the tag with font, colours, borders, top-most, blink and
// transparency taken from the current defaults.
TagRecord withDefaults(const TagRecord &tag, const EnvRecord &env);
// A new tag: the current defaults' look and size.
TagRecord newTag(const EnvRecord &env);

} // namespace TagActions
