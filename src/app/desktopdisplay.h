#pragma once

#include "scheduler.h"
#include "soundplayer.h"
#include "tagplacement.h"

#include <QIcon>
#include <QObject>
#include <QTimer>
#include <functional>
#include <map>
#include <memory>

class Prompt;
class QSystemTrayIcon;
class TagStore;
class TagWindow;

// The desktop side of the scheduler: tag windows by tag index, the alarm sounds,
// files opened at their time, and the tray icon's blinking.
class DesktopDisplay : public QObject, public TagDisplay
{
    Q_OBJECT
public:
    static constexpr int BlinkMs = 500;

    DesktopDisplay(const TagStore &store, const EnvRecord &env, Prompt &prompt,
                   QObject *parent = nullptr);
    ~DesktopDisplay() override;

    void showTag(int k, const TagRecord &tag) override;
    void takeDown(int k) override;
    bool isShown(int k) const override;
    void openFile(int k, const QString &path) override;
    void playSound(const QString &path) override;
    void beep() override;
    void startBlink() override;
    void sendMail(int k, const TagRecord &tag) override;

    void setTray(QSystemTrayIcon *tray, const QIcon &icon);
    // Who sends a mail tag that came due.
    void setMailer(std::function<void(int k)> mailer) { m_mailer = std::move(mailer); }
    bool isBlinking() const { return m_blink.isActive(); }
    void stopBlink();
    // Every tag window comes to the front (a left click on the tray icon).
    void raiseAll();
    // A tag arrived from another computer: the tags come to the front, the tray
    // blinks, and unless switched off the arrival sound rings (a beep when none is chosen).
    void PlayArrivalSound();
    // The arrangement commands: shown tags laid out from a corner of the work
    // area; their new places are stored.
    void arrange(Corner corner);
    // All windows down, as at shutdown.
    void closeAll();

    SoundPlayer &sound() { return m_sound; }
    TagWindow *window(int k) const;
    QList<int> shownTags() const;

Q_SIGNALS:
    void tagPressed(int k);
    void tagDoubleClicked(int k);
    void tagPopupRequested(int k, const QPoint &globalPos, bool urlEnabled);
    // Tag k's window came up or went down.
    void shownChanged(int k);

private:
    void storePosition(int k, const QPoint &topLeft);

    const TagStore &m_store;
    const EnvRecord &m_env;
    Prompt &m_prompt;
    SoundPlayer m_sound;
    std::map<int, std::unique_ptr<TagWindow>> m_windows;
    QSystemTrayIcon *m_tray = nullptr;
    QIcon m_icon;
    std::function<void(int)> m_mailer;
    QTimer m_blink;
    bool m_blinkOn = false;
};
