#include "hotkeyactions.h"

#include "activewindow.h"
#include "cp932.h"
#include "tagactions.h"
#include "tagstore.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

namespace HotkeyActions {

TagRecord clipTag(const QString &text, const EnvRecord &env)
{
    TagRecord tag = TagActions::newTag(env);
    tag.setLong(Tag::PosX, env.integer(Env::DefaultX));
    tag.setLong(Tag::PosY, env.integer(Env::DefaultY));
    tag.setByte(Tag::ScheduleKind, 0); // show now
    tag.setMessageBytes(Cp932::cut(Cp932::encode(text), MessageLimit));
    return TagActions::grownToText(tag, env);
}

std::optional<int> storeClipTag(const TagStore &store, const QString &text, QString *error)
{
    if (text.trimmed().isEmpty())
        return std::nullopt;
    const auto env = store.readEnv(error);
    if (!env)
        return std::nullopt;
    TagRecord tag = clipTag(text, *env);
    return store.addTag(tag, error);
}

QImage grabActiveWindow()
{
    // Taken from the screen at the window's place: a window of another
    // program cannot always be read directly, the screen can.
    const QRect rect = activeWindowGeometry();
    QScreen *screen = rect.isEmpty() ? nullptr : QGuiApplication::screenAt(rect.center());
    if (!screen)
        screen = QGuiApplication::primaryScreen();
    if (rect.isEmpty() || !screen)
        return {};
    const QPoint at = rect.topLeft() - screen->geometry().topLeft();
    return screen->grabWindow(0, at.x(), at.y(), rect.width(), rect.height()).toImage();
}

} // namespace HotkeyActions
