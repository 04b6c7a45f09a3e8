#include "tagentrylook.h"

#include "tagwindow.h"

#include <QColorDialog>
#include <QFontDialog>
#include <QPlainTextEdit>

using namespace Qt::StringLiterals;

std::optional<TagLook> askColor(QWidget *parent, const TagLook &look, bool fore)
{
    const qint32 current = fore ? look.foreColor : look.backColor;
    const QColor chosen = QColorDialog::getColor(ColorRef::toColor(current), parent,
                                                 fore ? u"文字色"_s : u"背景色"_s);
    if (!chosen.isValid())
        return std::nullopt;
    TagLook changed = look;
    (fore ? changed.foreColor : changed.backColor) = ColorRef::fromColor(chosen);
    return changed;
}

std::optional<TagLook> askFont(QWidget *parent, const TagLook &look, const QFont &current)
{
    bool ok = false;
    const QFont chosen = QFontDialog::getFont(&ok, current, parent, u"ﾌｫﾝﾄ"_s);
    if (!ok)
        return std::nullopt;
    TagLook changed = look;
    changed.fontName = chosen.family();
    changed.fontSize = chosen.pointSize() > 0 ? chosen.pointSize() : look.fontSize;
    changed.bold = chosen.bold();
    changed.italic = chosen.italic();
    changed.underline = chosen.underline();
    changed.strikeout = chosen.strikeOut();
    return changed;
}

void showLookIn(QPlainTextEdit *message, const TagLook &look)
{
    TagRecord sample;
    look.applyTo(sample);
    message->setFont(TagWindow::fontOf(sample));
    QPalette palette = message->palette();
    palette.setColor(QPalette::Text, ColorRef::toColor(look.foreColor));
    palette.setColor(QPalette::Base, ColorRef::toColor(look.backColor));
    message->setPalette(palette);
}
