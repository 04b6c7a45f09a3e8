#pragma once

#include "envrecord.h"
#include "fileset.h"
#include "schedulertimer.h"

#include <QObject>
#include <QSystemTrayIcon>
#include <memory>

class Clock;
class ClockChangeWatcher;
class Prompt;
class QMenu;
class SingleInstance;
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
    const EnvRecord &env() const { return m_env; }
    const TagStore &store() const { return *m_store; }
    SchedulerTimer &scheduler() { return m_scheduler; }
    TrayAttach *trayAttach() const { return m_trayAttach.get(); }
    QSystemTrayIcon *trayIcon() const { return m_tray.get(); }
    QMenu *trayMenu() const { return m_menu.get(); }
    bool isRunning() const { return m_running; }

    // The scheduler's tick: looks at the tags and re-arms the timer.
    void SchedulerTick();

Q_SIGNALS:
    // The user asked to quit, or gave up waiting for the tray.
    void quitRequested();

private:
    bool end(const QString &message);
    void setUpTray();

    Prompt &m_prompt;
    Clock &m_clock;
    FileSet m_files;
    bool m_firstRun = false;
    bool m_running = false;
    EnvRecord m_env;
    std::unique_ptr<SingleInstance> m_instance;
    std::unique_ptr<TagStore> m_store;
    SchedulerTimer m_scheduler;
    std::unique_ptr<ClockChangeWatcher> m_clockWatcher;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<QSystemTrayIcon> m_tray;
    std::unique_ptr<TrayAttach> m_trayAttach;
};
