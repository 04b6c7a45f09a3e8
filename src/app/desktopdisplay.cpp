#include "desktopdisplay.h"

#include "dialoglift.h"
#include "fileopener.h"
#include "prompt.h"
#include "tagstore.h"
#include "tagwindow.h"

#include <QApplication>
#include <QScreen>
#include <QSystemTrayIcon>

DesktopDisplay::DesktopDisplay(const TagStore &store, const EnvRecord &env, Prompt &prompt,
                               QObject *parent)
    : QObject(parent), m_store(store), m_env(env), m_prompt(prompt)
{
    m_sound.setBeeper([] { QApplication::beep(); });
    m_blink.setInterval(BlinkMs);
    connect(&m_blink, &QTimer::timeout, this, [this] {
        m_blinkOn = !m_blinkOn;
        if (m_tray)
            m_tray->setIcon(m_blinkOn ? QIcon() : m_icon);
    });
}

DesktopDisplay::~DesktopDisplay() = default;

void DesktopDisplay::setTray(QSystemTrayIcon *tray, const QIcon &icon)
{
    m_tray = tray;
    m_icon = icon;
    if (!tray)
        m_blink.stop();
}

TagWindow *DesktopDisplay::window(int k) const
{
    const auto it = m_windows.find(k);
    return it == m_windows.end() ? nullptr : it->second.get();
}

QList<int> DesktopDisplay::shownTags() const
{
    QList<int> shown;
    for (const auto &[k, w] : m_windows)
        if (w->isVisible())
            shown << k;
    return shown;
}

void DesktopDisplay::showTag(int k, const TagRecord &tag)
{
    TagWindow *w = window(k);
    if (w) {
        w->refresh(tag, m_env);
    } else {
        auto owned = std::make_unique<TagWindow>(k, tag, m_env);
        w = owned.get();
        connect(w, &TagWindow::pressed, this, &DesktopDisplay::tagPressed);
        connect(w, &TagWindow::doubleClicked, this, &DesktopDisplay::tagDoubleClicked);
        connect(w, &TagWindow::popupRequested, this, &DesktopDisplay::tagPopupRequested);
        connect(w, &TagWindow::moved, this, &DesktopDisplay::storePosition);
        m_windows.emplace(k, std::move(owned));
    }
    w->show();
    w->raise();
    DialogLift::raiseAboveTags();
    Q_EMIT shownChanged(k);
}

void DesktopDisplay::takeDown(int k)
{
    const auto it = m_windows.find(k);
    if (it == m_windows.end())
        return;
    it->second->hide();
    m_sound.stopMidi(); // an alarm ends with its tag
    // Deleted later: the window may be taking down itself from its own menu.
    it->second.release()->deleteLater();
    m_windows.erase(it);
    Q_EMIT shownChanged(k);
}

bool DesktopDisplay::isShown(int k) const
{
    const TagWindow *w = window(k);
    return w && w->isVisible();
}

void DesktopDisplay::openFile(int, const QString &path)
{
    OpenFileWithAssociation(path, m_prompt);
}

void DesktopDisplay::playSound(const QString &path)
{
    m_sound.play(path, nullptr);
}

void DesktopDisplay::beep()
{
    m_sound.beep();
}

void DesktopDisplay::startBlink()
{
    if (!m_blink.isActive())
        m_blink.start();
}

void DesktopDisplay::stopBlink()
{
    m_blink.stop();
    m_blinkOn = false;
    if (m_tray)
        m_tray->setIcon(m_icon);
}

void DesktopDisplay::sendMail(int k, const TagRecord &)
{
    if (m_mailer)
        m_mailer(k);
}

void DesktopDisplay::raiseAll()
{
    for (const auto &[k, w] : m_windows) {
        if (!w->isVisible())
            continue;
        w->raise();
    }
    DialogLift::raiseAboveTags();
}

void DesktopDisplay::PlayArrivalSound()
{
    raiseAll();
    startBlink();
    const Alarm alarm = arrivalAlarm(m_env);
    if (alarm.kind == Alarm::Beep)
        beep();
    else if (alarm.kind == Alarm::Sound)
        m_sound.play(alarm.path, nullptr);
}

void DesktopDisplay::arrange(Corner corner)
{
    const QList<int> shown = shownTags();
    QList<QSize> sizes;
    for (int k : shown)
        sizes << window(k)->size();
    const QScreen *screen = QGuiApplication::primaryScreen();
    const QRect area = screen ? screen->availableGeometry() : QRect(0, 0, 1024, 768);
    const QList<QPoint> places = arrangeTags(corner, sizes, area, m_env.integer(Env::ArrangeGap));
    for (qsizetype i = 0; i < shown.size() && i < places.size(); ++i) {
        window(shown[i])->move(places[i]);
        storePosition(shown[i], places[i]);
    }
}

void DesktopDisplay::closeAll()
{
    m_blink.stop();
    m_windows.clear();
}

void DesktopDisplay::storePosition(int k, const QPoint &topLeft)
{
    auto tag = m_store.readTag(k);
    if (!tag)
        return;
    tag->setLong(Tag::PosX, topLeft.x());
    tag->setLong(Tag::PosY, topLeft.y());
    QString error;
    if (!m_store.writeTag(k, *tag, &error))
        qWarning().noquote() << "Pinboard:" << error;
}
