#pragma once

#include "envrecord.h"
#include "fileset.h"
#include "localaddress.h"
#include "schedulertimer.h"
#include "settings.h"
#include "tagplacement.h"
#include "traymessages.h"

#include <QHostAddress>
#include <QObject>
#include <QSystemTrayIcon>
#include <functional>
#include <memory>

class Clock;
class ClockChangeWatcher;
class DesktopDisplay;
class DialogLift;
class EditorHost;
class Hotkeys;
class MailDesk;
class MainMenu;
class NetDesk;
class Prompt;
class QMenu;
class Scheduler;
class SingleInstance;
class SleepWatcher;
class SysDesk;
class TagOperations;
class ZoneWatcher;
class TagPopupMenu;
class TagStore;
class TrayAttach;

// The hidden main object: runs start-up, owns the long-lived parts (store,
// tray icon, scheduler timer) and takes everything down again in order.
class TagMain : public QObject
{
    Q_OBJECT
public:
    TagMain(const QString &dataDir, Prompt &prompt, Clock &clock, QObject *parent = nullptr);
    ~TagMain() override;

    // The start-up steps in order. False when one of them ended the program;
    // the user has then been told why and nothing is left running.
    bool start();
    // Takes down what start() set up, in order; safe to call twice.
    void shutdown();

    static QString trayTip();
    static QString corruptEnvText();

    const FileSet &files() const { return m_files; }
    bool firstRun() const { return m_firstRun; }
    const EnvRecord &env() const { return m_settings->env(); }
    Settings &settings() { return *m_settings; }
    const TagStore &store() const { return *m_store; }
    SchedulerTimer &schedulerTimer() { return m_schedulerTimer; }
    TrayAttach *trayAttach() const { return m_trayAttach.get(); }
    QSystemTrayIcon *trayIcon() const { return m_tray.get(); }
    QMenu *trayMenu() const;
    MainMenu *mainMenu() const { return m_mainMenu.get(); }
    TagPopupMenu *tagMenu() const { return m_tagMenu.get(); }
    DesktopDisplay *display() const { return m_display.get(); }
    Scheduler *scheduler() const { return m_scheduler.get(); }
    bool isRunning() const { return m_running; }
    // A mouse message of the tray icon (0x200 moved over it ... 0x204 right button).
    void trayMessage(int message, bool shift);
    bool isEditorOpen() const;
    EditorHost *editors() const { return m_editors.get(); }
    MailDesk *mail() const { return m_mail.get(); }
    NetDesk *net() const { return m_net.get(); }
    SysDesk *sys() const { return m_sys.get(); }
    // Before start(): the hotkey registry (tests give their own; else the
    // platform's), the arguments a shortcut starts the program with, and who
    // sends the clipboard text as a tag to chosen participants.
    void setHotkeys(std::unique_ptr<Hotkeys> hotkeys);
    void setLaunchArguments(const QStringList &args) { m_launchArgs = args; }
    void setTagSender(std::function<void(const QString &)> send) { m_tagSender = std::move(send); }
    // The first run's questions; main calls it once the event loop runs.
    void firstRunSetUp();
    // Where this host's name and address come from; tests give a loopback one
    // and bind the socket to it.
    void setNetIdentity(std::function<LocalIdentity()> source, const QHostAddress &bind)
    {
        m_netIdentity = std::move(source);
        m_netBind = bind;
    }

protected:
    bool eventFilter(QObject *watched, QEvent *event) override;

Q_SIGNALS:
    // The user asked to quit, or gave up waiting for the tray.
    void quitRequested();

private:
    bool end(const QString &message);
    bool acquireInstance();
    bool openDataFiles();
    bool loadEnvironment();
    void startNetAndMail();
    void setUpTray();
    void connectNet();
    void setUpMenus();
    void applySettingsToMenu();
    // Reads record 1, lets change alter it, writes it back and keeps the copy.
    bool changeSetting(const std::function<void(EnvRecord &)> &change);
    void togglePause();
    void onTagPressed();
    void onTagDoubleClicked(int k);
    void toggleLog();
    void onTagMenu(int k, int entry);

    Prompt &m_prompt;
    Clock &m_clock;
    FileSet m_files;
    bool m_firstRun = false;
    bool m_running = false;
    std::unique_ptr<SingleInstance> m_instance;
    std::unique_ptr<TagStore> m_store;
    std::unique_ptr<Settings> m_settings;
    std::unique_ptr<TagOperations> m_operations;
    SchedulerTimer m_schedulerTimer;
    std::unique_ptr<ClockChangeWatcher> m_clockWatcher;
    std::unique_ptr<SleepWatcher> m_sleepWatcher;
    std::unique_ptr<ZoneWatcher> m_zoneWatcher;
    std::unique_ptr<MainMenu> m_mainMenu;
    std::unique_ptr<TagPopupMenu> m_tagMenu;
    std::unique_ptr<QSystemTrayIcon> m_tray;
    std::unique_ptr<TrayAttach> m_trayAttach;
    std::unique_ptr<DialogLift> m_dialogLift;
    std::unique_ptr<DesktopDisplay> m_display;
    std::unique_ptr<Scheduler> m_scheduler;
    std::unique_ptr<MailDesk> m_mail;
    std::unique_ptr<EditorHost> m_editors;
    std::unique_ptr<NetDesk> m_net;
    std::unique_ptr<Hotkeys> m_givenHotkeys;
    std::unique_ptr<SysDesk> m_sys;
    QStringList m_launchArgs;
    std::function<void(const QString &)> m_tagSender;
    std::function<LocalIdentity()> m_netIdentity = GetLocalAddress;
    QHostAddress m_netBind{QHostAddress::AnyIPv4};
    TrayMessages m_trayMessages;
    QIcon m_icon;
    bool m_paused = false;
};
