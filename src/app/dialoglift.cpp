#include "dialoglift.h"

#include <QApplication>
#include <QEvent>
#include <QWidget>
#include <QWindow>

DialogLift::DialogLift(QObject *parent) : QObject(parent)
{
    qApp->installEventFilter(this);
}

DialogLift::~DialogLift()
{
    qApp->removeEventFilter(this);
}

bool DialogLift::isLifted(const QWidget &w)
{
    if (!w.isWindow() || w.windowFlags().testFlag(Qt::X11BypassWindowManagerHint))
        return false;
    const Qt::WindowType type = w.windowType();
    return type == Qt::Window || type == Qt::Dialog;
}

void DialogLift::raiseAboveTags()
{
    const QWidgetList windows = QApplication::topLevelWidgets();
    for (QWidget *w : windows) {
        if (w->isVisible() && isLifted(*w))
            w->raise();
    }
}

bool DialogLift::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::Show && watched->isWidgetType()) {
        auto *w = static_cast<QWidget *>(watched);
        // The show event comes before the window is mapped, so the flag set on the
        // native window now goes with the map, without the hide and show that
        // QWidget::setWindowFlags would cause (and that would end a running exec()).
        if (isLifted(*w) && !w->windowFlags().testFlag(Qt::WindowStaysOnTopHint)) {
            w->overrideWindowFlags(w->windowFlags() | Qt::WindowStaysOnTopHint);
            if (QWindow *native = w->windowHandle())
                native->setFlags(native->flags() | Qt::WindowStaysOnTopHint);
        }
    }
    return QObject::eventFilter(watched, event);
}
