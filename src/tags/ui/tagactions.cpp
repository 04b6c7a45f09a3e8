#include "tagactions.h"

#include "tagplacement.h"
#include "tagwindow.h"

#include <QClipboard>
#include <QDesktopServices>
#include <QGuiApplication>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QUrl>

namespace TagActions {

void copyToClipboard(const QString &text)
{
    QGuiApplication::clipboard()->setText(text);
}

void renderTag(QPainter &painter, const QRect &page, const TagRecord &tag)
{
    painter.save();
    // Borders are given in screen pixels; scale them to the device.
    const qreal scale = painter.device() ? painter.device()->logicalDpiX() / 96.0 : 1.0;
    const int frameM = tag.frameWidth();
    const int frame = qRound(frameM * scale);
    const int pad = qRound((4 + frameM) * scale);
    const QColor fore = ColorRef::toColor(tag.longValue(Tag::ForeColor));
    const QColor back = ColorRef::toColor(tag.longValue(Tag::BackColor));
    QString text = tag.message();
    text.replace(QLatin1String("\r\n"), QLatin1String("\n"));

    const int flags = Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap | Qt::TextExpandTabs;
    const QRect room = page.adjusted(pad, pad, -pad, -pad);
    QFont font = TagWindow::fontOf(tag);
    painter.setFont(font);
    QRect textBox = painter.boundingRect(room, flags, text);
    while (textBox.height() > room.height() && font.pointSizeF() > 4) {
        font.setPointSizeF(std::max(4.0, font.pointSizeF() * 0.9));
        painter.setFont(font);
        textBox = painter.boundingRect(room, flags, text);
    }
    const QRect box = textBox.adjusted(-pad, -pad, pad, pad).intersected(page);
    painter.fillRect(box, back);
    if (frame > 0) {
        QPen pen(fore, frame);
        pen.setJoinStyle(Qt::MiterJoin);
        painter.setPen(pen);
        painter.setBrush(Qt::NoBrush);
        painter.drawRect(
            QRectF(box).adjusted(frame / 2.0, frame / 2.0, -frame / 2.0, -frame / 2.0));
    }
    painter.setPen(fore);
    painter.setClipRect(box);
    painter.drawText(room, flags, text);
    painter.restore();
}

bool printOn(QPrinter &printer, const TagRecord &tag)
{
    QPainter painter;
    if (!painter.begin(&printer)) {
        qWarning("The printer could not be started.");
        return false;
    }
    renderTag(painter, painter.viewport(), tag);
    return painter.end();
}

bool print(const TagRecord &tag, QWidget *parent)
{
    QPrinter printer;
    QPrintDialog dialog(&printer, parent);
    if (dialog.exec() != QDialog::Accepted)
        return false;
    return printOn(printer, tag);
}

QString firstUrl(const QString &text)
{
    const qsizetype plain = text.indexOf(QLatin1String("http://"));
    const qsizetype secure = text.indexOf(QLatin1String("https://"));
    qsizetype start = plain < 0 ? secure : secure < 0 ? plain : std::min(plain, secure);
    if (start < 0)
        return {};
    // An address ends at the first space, non-ASCII character or character URLs never hold.
    static const QString notInUrl = QStringLiteral("\"<>\\^`{|}");
    qsizetype end = start;
    while (end < text.size()) {
        const QChar c = text.at(end);
        if (c.unicode() <= 0x20 || c.unicode() >= 0x7F || notInUrl.contains(c))
            break;
        ++end;
    }
    QString url = text.mid(start, end - start);
    // Punctuation closing a sentence is not part of the address, nor a bracket opened before it.
    while (!url.isEmpty()) {
        const QChar last = url.back();
        if (QStringLiteral(".,;:!?'").contains(last) ||
            (last == u')' && url.count(u')') > url.count(u'(')))
            url.chop(1);
        else
            break;
    }
    const qsizetype scheme = url.indexOf(QLatin1String("://")) + 3;
    return url.size() > scheme ? url : QString();
}

bool openUrl(const QString &text)
{
    const QString url = firstUrl(text);
    return !url.isEmpty() && QDesktopServices::openUrl(QUrl(url, QUrl::TolerantMode));
}

QSize fitToText(TagWindow &window)
{
    const QSize size = window.fittedSize();
    window.resize(size);
    return size;
}

TagRecord grownToText(const TagRecord &tag, const EnvRecord &env)
{
    TagRecord unsized = tag;
    unsized.setLong(Tag::Width, 0);
    unsized.setLong(Tag::Height, 0);
    const QSize fitted = TagWindow(0, unsized, env).fittedSize();
    const QSize area = TagWindow::workAreas().value(0, QRect(0, 0, 1024, 768)).size();
    const QSize size = grownToFit(
        QSize(int(tag.longValue(Tag::Width)), int(tag.longValue(Tag::Height))), fitted, area);
    TagRecord out = tag;
    out.setLong(Tag::Width, size.width());
    out.setLong(Tag::Height, size.height());
    return out;
}

TagRecord newTag(const EnvRecord &env)
{
    TagRecord tag = withDefaults(TagRecord(), env);
    tag.setLong(Tag::Width, env.integer(Env::DefaultWidth));
    tag.setLong(Tag::Height, env.integer(Env::DefaultHeight));
    return tag;
}

TagRecord withDefaults(const TagRecord &tag, const EnvRecord &env)
{
    TagRecord out = tag;
    out.setText(Tag::FontName, env.text(Env::DefaultFontName));
    const std::pair<int, int> bytes[] = {
        {Tag::FontBold, Env::DefaultFontBold},
        {Tag::FontItalic, Env::DefaultFontItalic},
        {Tag::FontUnderline, Env::DefaultFontUnderline},
        {Tag::FontStrikeout, Env::DefaultFontStrikeout},
        {Tag::FontSize, Env::DefaultFontSize},
        {Tag::Look3D, Env::Default3D},
        {Tag::Frame, Env::DefaultFrame},
        {Tag::FrameM, Env::DefaultFrameM},
        {Tag::TopMost, Env::DefaultTopMost},
        {Tag::Blink, Env::DefaultBlink},
    };
    for (const auto &[tagField, envField] : bytes)
        out.setByte(tagField, env.byte(envField));
    out.setLong(Tag::ForeColor, env.longValue(Env::DefaultForeColor));
    out.setLong(Tag::BackColor, env.longValue(Env::DefaultBackColor));
    out.setByte(Tag::Transparent, env.integer(Env::DefaultTransparent) != 0 ? 1 : 0);
    return out;
}

} // namespace TagActions
