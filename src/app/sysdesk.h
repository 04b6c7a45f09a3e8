#pragma once

#include "shortcuts.h"

#include <QObject>
#include <array>
#include <functional>
#include <memory>

class DesktopDisplay;
class EditorHost;
class Hotkeys;
class MailDesk;
class MainMenu;
class Scheduler;
class TagStore;
class Prompt;
class Settings;

// System integration in the running program: the hotkeys and what each runs,
// the shortcut entries, the version window and the uninstall preparation.
class SysDesk : public QObject
{
    Q_OBJECT
public:
    SysDesk(MainMenu &menu, Settings &settings, Prompt &prompt, QString dataDir,
            std::unique_ptr<Hotkeys> hotkeys, Shortcuts shortcuts, QObject *parent = nullptr);
    ~SysDesk() override;

    Hotkeys &hotkeys() { return *m_hotkeys; }
    const Shortcuts &shortcuts() const { return m_shortcuts; }

    // Each shortcut entry's caption says whether its shortcut is there.
    void updateCaptions();
    // The stored hotkeys, at start-up.
    void registerHotkeys();
    void releaseHotkeys();
    // What hotkey n (1-7) runs; one left unset does nothing.
    void setAction(int n, std::function<void()> action);
    void runAction(int n);
    // The seven actions on the running program's parts. sendTag sends a text as
    // a tag to participants the user picks; without it hotkey 5 does nothing.
    void wireActions(const TagStore &store, EditorHost &editors, DesktopDisplay &display,
                     Scheduler &scheduler, MailDesk &mail,
                     std::function<void(const QString &)> sendTag);

    void openHotKey();  // mnu_HotKey
    void showVersion(); // mnu_Version

    // The questions of a first run; each opens its settings window on Yes.
    void firstRunSetUp(const std::function<void()> &network, const std::function<void()> &mail);
    static QString firstRunNetworkText();
    static QString firstRunMailText();
    static QString firstRunHotkeyText();

    // mnu_UnInstall: removes the shortcuts and the hotkeys, says where the data
    // is and asks whether it goes too; Yes ends the program.
    void prepareUninstall();
    bool dataDeletionChosen() const { return m_deleteData; }
    // The last step of the shutdown, once the data folder is free: deletes the
    // data files and tells the user.
    void finishUninstall();
    static QString uninstallQuestion();
    static QString dataQuestion(const QString &dataDir);
    static QString dataDeletedText(const QString &dataDir);
    static QString dataNotDeletedText(const QStringList &files);

Q_SIGNALS:
    void quitRequested();

private:
    MainMenu &m_menu;
    Settings &m_settings;
    Prompt &m_prompt;
    QString m_dataDir;
    std::unique_ptr<Hotkeys> m_hotkeys;
    Shortcuts m_shortcuts;
    std::array<std::function<void()>, 7> m_actions;
    bool m_deleteData = false;
};
