#include "tagmain.h"

#include "tagoperations.h"

#include "clock.h"
#include "clockchangewatcher.h"
#include "desktopdisplay.h"
#include "dialoglift.h"
#include "editorhost.h"
#include "hotkeys.h"
#include "maildesk.h"
#include "mainmenu.h"
#include "netdesk.h"
#include "prompt.h"
#include "runlocation.h"
#include "scheduler.h"
#include "singleinstance.h"
#include "sleepwatcher.h"
#include "soundselect.h"
#include "sysdesk.h"
#include "tagactions.h"
#include "tagpopupmenu.h"
#include "tagstore.h"
#include "tagwindow.h"
#include "trayattach.h"
#include "zonewatcher.h"

#include <QApplication>
#include <QEvent>
#include <QMenu>
#include <QPainter>
#include <QPixmap>

namespace {
QIcon pinboardIcon()
{
    QPixmap pm(32, 32);
    pm.fill(Qt::transparent);
    QPainter p(&pm);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(QColor(0x80, 0x70, 0x20), 1.5));
    p.setBrush(QColor(0xFF, 0xF0, 0x80));
    p.drawRect(QRectF(4.5, 6.5, 23, 23));
    p.setPen(QPen(QColor(0x90, 0x80, 0x40), 1.2));
    for (int y = 14; y <= 24; y += 5)
        p.drawLine(QPointF(8, y), QPointF(24, y));
    p.setPen(Qt::NoPen);
    p.setBrush(QColor(0xD0, 0x20, 0x20));
    p.drawEllipse(QPointF(16, 7), 4.5, 4.5);
    return QIcon(pm);
}
} // namespace

TagMain::TagMain(const QString &dataDir, Prompt &prompt, Clock &clock, QObject *parent)
    : QObject(parent), m_prompt(prompt), m_clock(clock), m_files(FileSet::forDirectory(dataDir))
{
}

TagMain::~TagMain()
{
    shutdown();
}

QString TagMain::trayTip()
{
    return QStringLiteral("DeskTop Pin Board\r\nﾀﾞﾌﾞﾙｸﾘｯｸで付箋作成");
}

QString TagMain::corruptEnvText()
{
    return QStringLiteral(
        "環境定義ファイルの内容が壊れています。\r\n"
        "Pinboard.exeがあるﾃﾞｨﾚｸﾄﾘ のPinboard.dt1,Pinboard.dt2を削除して再実行して下さい。");
}

bool TagMain::end(const QString &message)
{
    m_prompt.inform(message);
    // Ending here runs no shutdown sequence; only what is already up comes down.
    if (m_trayAttach)
        m_trayAttach->stop();
    if (m_tray)
        m_tray->hide();
    m_schedulerTimer.stop();
    m_instance.reset();
    return false;
}

// One Pinboard per data directory.
bool TagMain::acquireInstance()
{
    m_instance = std::make_unique<SingleInstance>(m_files.dir);
    const SingleInstance::Result lock = m_instance->acquire();
    if (lock != SingleInstance::Result::Acquired) {
        m_instance.reset();
        m_prompt.inform(lock == SingleInstance::Result::HeldByAnother
                            ? QStringLiteral("既に起動されています。")
                            : runLocationMessage(RunLocation::NotWritable));
        return false;
    }
    return true;
}

// The data files, checked to be where this program may write.
bool TagMain::openDataFiles()
{
    const RunLocation where = checkRunLocation(m_files.dir);
    if (where != RunLocation::Ok)
        return end(runLocationMessage(where));

    const PrepareResult prepared = prepareFileSet(m_files);
    if (prepared.damaged) {
        qWarning().noquote() << "Pinboard:" << prepared.error;
        return end(corruptEnvText());
    }
    if (!prepared.ok) {
        qWarning().noquote() << "Pinboard:" << prepared.error;
        return end(runLocationMessage(RunLocation::NotWritable));
    }
    m_firstRun = prepared.firstRun;
    m_store = std::make_unique<TagStore>(m_files.dt1);
    m_settings = std::make_unique<Settings>(*m_store);
    m_operations = std::make_unique<TagOperations>(*m_store, m_prompt);
    return true;
}

// A first run writes a fresh environment record; later runs read the stored one.
bool TagMain::loadEnvironment()
{
    QString error;
    if (m_firstRun) {
        const EnvRecord fresh;
        if (!createDataFile(m_files.dt1, fresh.bytes(), &error)) {
            qWarning().noquote() << "Pinboard:" << error;
            return end(runLocationMessage(RunLocation::NotWritable));
        }
        m_settings->reset(fresh);
    } else if (!m_settings->load(&error)) {
        qWarning().noquote() << "Pinboard:" << error;
        return end(corruptEnvText());
    }
    return true;
}

void TagMain::startNetAndMail()
{
    // The LAN starts only when its settings still belong to this host.
    m_net = std::make_unique<NetDesk>(m_files.log, *m_store, *m_settings, m_prompt, m_clock,
                                      m_netIdentity);
    m_net->setBindAddress(m_netBind);
    // Ready for tags before announcing ourselves: one arriving during the rest of
    // start-up is stored and answered, and the stored tags are shown after.
    m_net->attach();
    m_net->startUp(m_settings->env());

    m_mail = std::make_unique<MailDesk>(m_files, *m_store, *m_settings, m_prompt, m_clock);
    m_mail->log().setEnabled(m_settings->env().byte(Env::LogEnabled) != 0);
    m_mail->loadAddressBook();
    connect(m_mail.get(), &MailDesk::notice, this, [this](const QString &text) {
        if (m_tray)
            m_tray->showMessage(QStringLiteral("Pinboard"), text);
    });
}

bool TagMain::start()
{
    if (!acquireInstance() || !openDataFiles())
        return false;

    // Clock changes reach the scheduler, as the tray's comings and goings reach the tray.
    m_clockWatcher = std::make_unique<ClockChangeWatcher>();
    connect(m_clockWatcher.get(), &ClockChangeWatcher::clockChanged, this, [this] {
        if (m_scheduler && m_schedulerTimer.isActive())
            m_scheduler->reevaluateSoon();
    });
    // The timer stands still while the machine sleeps; a new zone moves every moment.
    m_sleepWatcher = std::make_unique<SleepWatcher>();
    connect(m_sleepWatcher.get(), &SleepWatcher::resumed, this, [this] {
        if (m_scheduler)
            m_scheduler->reevaluateAll();
    });
    m_zoneWatcher = std::make_unique<ZoneWatcher>();
    connect(m_zoneWatcher.get(), &ZoneWatcher::zoneChanged, this, [this] {
        if (m_scheduler)
            m_scheduler->zoneChanged();
    });

    // The tray icon's retries run on their own while start-up goes on.
    setUpTray();

    // The shortcut entries' captions, and the hotkeys' registry.
    m_sys = std::make_unique<SysDesk>(
        *m_mainMenu, *m_settings, m_prompt, m_files.dir,
        m_givenHotkeys ? std::move(m_givenHotkeys) : Hotkeys::create(),
        Shortcuts(Shortcuts::userFolders(),
                  QStringList{QCoreApplication::applicationFilePath()} + m_launchArgs));
    connect(m_sys.get(), &SysDesk::quitRequested, this, &TagMain::quitRequested);

    if (!loadEnvironment())
        return false;
    applySettingsToMenu();
    m_sys->registerHotkeys();
    startNetAndMail();

    // The stored tags: due ones go up, files due are opened, mail due is sent,
    // and the timer waits for the nearest change.
    m_dialogLift = std::make_unique<DialogLift>();
    m_display = std::make_unique<DesktopDisplay>(*m_store, m_settings->env(), m_prompt);
    m_display->setTray(m_tray.get(), m_icon);
    connect(m_display.get(), &DesktopDisplay::tagPressed, this, &TagMain::onTagPressed);
    connect(m_display.get(), &DesktopDisplay::tagDoubleClicked, this, &TagMain::onTagDoubleClicked);
    connect(m_display.get(), &DesktopDisplay::tagPopupRequested, m_tagMenu.get(),
            &TagPopupMenu::popupFor);
    m_display->setMailer([this](int k) { m_mail->SendTagMail(k); });
    m_scheduler =
        std::make_unique<Scheduler>(*m_store, m_clock, m_prompt, *m_display, m_schedulerTimer);
    m_scheduler->useSettings(m_settings->env());
    m_editors = std::make_unique<EditorHost>(*m_store, *m_settings, m_prompt, m_clock, *m_scheduler,
                                             *m_display, *m_mail);
    m_editors->setTrayRestorer([this] {
        if (m_tray)
            m_tray->show();
    });
    m_scheduler->loadAll();
    connectNet();
    m_sys->wireActions(*m_store, *m_editors, *m_display, *m_scheduler, *m_mail, m_tagSender);
    m_running = true;
    return true;
}

// Tags from other computers, sealed ones and the send entries of the editor and hotkey 5.
void TagMain::connectNet()
{
    // Shown through the scheduler like any other tag.
    connect(m_net.get(), &NetDesk::tagArrived, this, [this](int k) {
        m_scheduler->tagChanged(k);
        // One not due yet still rings when it arrives; a due one rang as it was shown.
        if (!m_display->isShown(k))
            m_display->PlayArrivalSound();
        m_editors->refreshLists();
    });
    connect(m_net.get(), &NetDesk::sealedOpened, this, [this](int k) {
        m_scheduler->tagChanged(k);
        m_editors->refreshLists();
    });
    connect(m_net.get(), &NetDesk::sealedDiscarded, m_editors.get(), &EditorHost::refreshLists);
    m_editors->setNetSend(
        [this](const TagRecord &record, QWidget *editor) { m_net->openUserSelect(record, editor); },
        [this] { return m_net->isUsable(); });
    m_net->raiseStoredSealed(m_scheduler->heldSealed());
    // Hotkey 5: the clipboard text as a tag, to the participants chosen in UserSelect.
    if (!m_tagSender)
        m_tagSender = [this](const QString &text) { m_net->chooseAndSendText(text); };
}

void TagMain::setHotkeys(std::unique_ptr<Hotkeys> hotkeys)
{
    m_givenHotkeys = std::move(hotkeys);
}

void TagMain::firstRunSetUp()
{
    if (m_running && m_firstRun)
        m_sys->firstRunSetUp([this] { m_net->openNetSetup(); },
                             [this] { m_mail->openSmtpSetup(); });
}

void TagMain::setUpTray()
{
    setUpMenus();
    m_icon = pinboardIcon();
    m_tray = std::make_unique<QSystemTrayIcon>(m_icon);
    m_tray->setToolTip(trayTip());
    m_tray->setContextMenu(m_mainMenu->popup());
    connect(m_tray.get(), &QSystemTrayIcon::activated, this,
            [this](QSystemTrayIcon::ActivationReason reason) {
                const bool shift = QGuiApplication::queryKeyboardModifiers() & Qt::ShiftModifier;
                if (reason == QSystemTrayIcon::Trigger)
                    trayMessage(TrayMessages::LeftUp, shift);
                else if (reason == QSystemTrayIcon::DoubleClick)
                    trayMessage(TrayMessages::LeftDoubleClick, shift);
            });
    // Hovering shows the next tip; the tray widget asks for its tip just then.
    qApp->installEventFilter(this);

    m_trayAttach = std::make_unique<TrayAttach>(
        [this] {
            if (!QSystemTrayIcon::isSystemTrayAvailable())
                return false;
            m_tray->show();
            return m_tray->isVisible();
        },
        m_prompt);
    connect(m_trayAttach.get(), &TrayAttach::givenUp, this, &TagMain::quitRequested);
    m_trayAttach->start();
}

QMenu *TagMain::trayMenu() const
{
    return m_mainMenu ? m_mainMenu->popup() : nullptr;
}

bool TagMain::eventFilter(QObject *watched, QEvent *event)
{
    if (event->type() == QEvent::ToolTip && m_tray &&
        QLatin1String(watched->metaObject()->className()) == QLatin1String("QSystemTrayIconSys"))
        trayMessage(TrayMessages::MouseMove, false);
    return QObject::eventFilter(watched, event);
}

void TagMain::trayMessage(int message, bool shift)
{
    switch (m_trayMessages.decode(message, shift)) {
    case TrayMessages::Action::ShowTip:
        if (m_tray && !m_paused)
            m_tray->setToolTip(m_trayMessages.currentTip());
        break;
    case TrayMessages::Action::RaiseTags:
    case TrayMessages::Action::ScreenCopy: // no screen copy in this program: raise the tags
        onTagPressed();
        if (m_display)
            m_display->raiseAll();
        break;
    case TrayMessages::Action::NewTag:
        if (m_editors)
            m_editors->openNew();
        break;
    case TrayMessages::Action::OpenMenu:
        if (m_mainMenu)
            m_mainMenu->popup()->popup(QCursor::pos());
        break;
    case TrayMessages::Action::None:
        break;
    }
}

void TagMain::setUpMenus()
{
    m_mainMenu = std::make_unique<MainMenu>();
    m_tagMenu = std::make_unique<TagPopupMenu>();
    connect(m_tagMenu.get(), &TagPopupMenu::chosen, this,
            [this](int k, TagPopupMenu::Entry entry) { onTagMenu(k, int(entry)); });
    auto on = [this](const char *name, auto handler) {
        connect(m_mainMenu->action(QString::fromLatin1(name)), &QAction::triggered, this, handler);
    };
    on("mnuExit", [this] { Q_EMIT quitRequested(); });
    on("mnu_AutoPosYes",
       [this] { changeSetting([](EnvRecord &e) { e.setByte(Env::AutoPosition, 1); }); });
    on("mnu_AutoPosNo",
       [this] { changeSetting([](EnvRecord &e) { e.setByte(Env::AutoPosition, 0); }); });
    // Each switch stores the opposite of what its check mark showed.
    for (const auto &[name, field] :
         {std::pair{"mnu_ScmTop", int(Env::ScmTop)}, std::pair{"mnu_NetTop", int(Env::NetTop)},
          std::pair{"mnu_NetSound", int(Env::NetSound)}}) {
        // Qt has flipped the check already: checked is the negation of what it showed.
        connect(m_mainMenu->action(QString::fromLatin1(name)), &QAction::triggered, this,
                [this, f = field](bool checked) {
                    changeSetting([f, checked](EnvRecord &e) { e.setByte(f, checked ? 1 : 0); });
                });
    }
    for (int i = 0; i < MainMenu::BackColors; ++i)
        on(qPrintable(QStringLiteral("mnu_BackColor_%1").arg(i)),
           [this, i] { changeSetting([i](EnvRecord &e) { e.setByte(Env::BackColor, i); }); });
    on("mnu_SoundSel", [this] {
        SoundSelect dialog(*m_settings, m_display->sound(), m_prompt);
        dialog.exec();
    });
    on("mnu_NewTag", [this] { m_editors->openNew(); });
    on("mnuList", [this] { m_editors->showTagList(); });
    on("mnu_TrashDisp", [this] { m_editors->showTrashList(); });
    on("mnu_SMTPSet", [this] { m_mail->openSmtpSetup(); });
    on("mnu_AddressEdit", [this] { m_mail->openAddressList(); });
    on("mnu_LogStart", [this] { toggleLog(); });
    for (const char *name :
         {"mnu_Group", "mnu_Retry_Net", "mnu_ShowNetWork", "mnu_NetSet", "mnu_Chat", "mnu_PrvChat"})
        m_mainMenu->action(QString::fromLatin1(name))->setEnabled(true);
    m_tagMenu->entryAction(TagPopupMenu::SendTo)->setEnabled(true);
    on("mnu_Chat", [this] { m_net->openChat(); });
    on("mnu_PrvChat", [this] { m_net->startPrivateChat(); });
    on("mnu_Group", [this] { m_net->openGroupList(); });
    on("mnu_Retry_Net", [this] { m_net->retry(); });
    on("mnu_ShowNetWork", [this] { m_net->showNetwork(); });
    on("mnu_NetSet", [this] { m_net->openNetSetup(); });
    on("mnu_Redisp", [this] { m_scheduler->redisplay(); });
    on("mnuStop", [this] { togglePause(); });
    on("mnu_LeftTop", [this] { m_display->arrange(Corner::TopLeft); });
    on("mnu_LeftUnder", [this] { m_display->arrange(Corner::BottomLeft); });
    on("mnu_RightTop", [this] { m_display->arrange(Corner::TopRight); });
    on("mnu_RightUnder", [this] { m_display->arrange(Corner::BottomRight); });
}

void TagMain::applySettingsToMenu()
{
    auto check = [this](const char *name, bool on) {
        m_mainMenu->action(QString::fromLatin1(name))->setChecked(on);
    };
    check("mnu_AutoPosYes", m_settings->env().byte(Env::AutoPosition) == 1);
    check("mnu_AutoPosNo", m_settings->env().byte(Env::AutoPosition) != 1);
    check("mnu_ScmTop", m_settings->env().byte(Env::ScmTop) == 1);
    check("mnu_NetTop", m_settings->env().byte(Env::NetTop) == 1);
    check("mnu_NetSound", m_settings->env().byte(Env::NetSound) == 1);
    m_mainMenu->action(QStringLiteral("mnu_LogStart"))
        ->setText(m_settings->env().byte(Env::LogEnabled) != 0 ? QStringLiteral("通信ﾛｸﾞ記録終了")
                                                               : QStringLiteral("通信ﾛｸﾞ記録開始"));
    const int back = m_settings->env().byte(Env::BackColor);
    if (back < MainMenu::BackColors)
        check(qPrintable(QStringLiteral("mnu_BackColor_%1").arg(back)), true);
}

bool TagMain::changeSetting(const std::function<void(EnvRecord &)> &change)
{
    const QString error = m_settings->change(change);
    if (!error.isEmpty())
        qWarning().noquote() << "Pinboard:" << error;
    applySettingsToMenu();
    return error.isEmpty();
}

void TagMain::togglePause()
{
    m_paused = !m_paused;
    m_scheduler->setPaused(m_paused);
    m_mainMenu->action(QStringLiteral("mnuStop"))
        ->setText(m_paused ? QStringLiteral("再開") : QStringLiteral("一時停止"));
    if (m_tray)
        m_tray->setToolTip(m_paused ? TrayMessages::pausedTip() : trayTip());
}

void TagMain::onTagPressed()
{
    if (!m_display)
        return;
    m_display->stopBlink();
    m_display->sound().stopMidi();
}

bool TagMain::isEditorOpen() const
{
    return m_editors && m_editors->isEditorOpen();
}

void TagMain::onTagDoubleClicked(int k)
{
    // While the editor is open only its message is shown.
    if (m_editors)
        m_editors->openEditor(k);
}

void TagMain::toggleLog()
{
    const bool on = m_settings->env().byte(Env::LogEnabled) == 0;
    if (changeSetting([on](EnvRecord &e) { e.setByte(Env::LogEnabled, on ? 1 : 0); })) {
        m_mail->log().setEnabled(on);
        m_net->log().setEnabled(on);
    }
}

void TagMain::onTagMenu(int k, int entry)
{
    auto tag = m_operations->read(k);
    if (!tag)
        return;
    TagWindow *w = m_display->window(k);
    switch (TagPopupMenu::Entry(entry)) {
    case TagPopupMenu::ClipCopy:
        TagActions::copyToClipboard(tag->message());
        break;
    case TagPopupMenu::Print:
        TagActions::print(*tag, w);
        break;
    case TagPopupMenu::URLOpen:
        TagActions::openUrl(tag->message());
        break;
    case TagPopupMenu::EMail:
        m_mail->sendContent(k, w);
        break;
    case TagPopupMenu::Update:
        m_editors->openEditor(k);
        break;
    case TagPopupMenu::SendTo:
        m_net->sendTag(k, w);
        break;
    case TagPopupMenu::Close:
        m_scheduler->hideTag(k);
        break;
    case TagPopupMenu::Delete:
        if (m_operations->trash(k))
            m_editors->tagTrashed(k);
        break;
    case TagPopupMenu::Create:
        m_editors->openEditorCopy(k);
        break;
    case TagPopupMenu::ReSize:
        if (w) {
            const QSize size = TagActions::fitToText(*w);
            tag->setLong(Tag::Width, size.width());
            tag->setLong(Tag::Height, size.height());
            (void)m_operations->store(k, *tag); // a failure has been told
        }
        break;
    case TagPopupMenu::Default: {
        const TagRecord styled = TagActions::withDefaults(*tag, m_settings->env());
        if (m_operations->store(k, styled) && w)
            w->refresh(styled, m_settings->env());
        break;
    }
    default:
        break;
    }
}

void TagMain::shutdown()
{
    if (!m_instance)
        return;
    // The tray icon goes first, so nothing can be chosen from it any more.
    if (m_trayAttach)
        m_trayAttach->stop();
    if (m_tray)
        m_tray->hide();
    qApp->removeEventFilter(this);
    if (m_display)
        m_display->setTray(nullptr, {});
    m_tray.reset();
    // Then the tag windows and the timers that would bring them back.
    if (m_display)
        m_display->closeAll();
    m_schedulerTimer.stop();
    m_clockWatcher.reset();
    m_sleepWatcher.reset();
    m_zoneWatcher.reset();
    // The others on the LAN hear that we leave.
    if (m_net)
        m_net->logoutAndStop();
    m_net.reset();
    if (m_sys)
        m_sys->releaseHotkeys();
    // The alarm may still be playing.
    if (m_display)
        m_display->sound().stopMidi();
    m_editors.reset();
    m_scheduler.reset();
    m_display.reset();
    m_dialogLift.reset();
    m_mail.reset();
    m_mainMenu.reset();
    m_tagMenu.reset();
    m_running = false;
    // Last: the data directory is free for the next Pinboard or pinboard-cli.
    m_instance.reset();
    // An uninstall preparation deletes the data once nothing holds it.
    if (m_sys)
        m_sys->finishUninstall();
    m_sys.reset();
}
