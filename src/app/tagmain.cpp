#include "tagmain.h"

#include "clock.h"
#include "clockchangewatcher.h"
#include "prompt.h"
#include "runlocation.h"
#include "singleinstance.h"
#include "tagstore.h"
#include "trayattach.h"

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
    connect(&m_scheduler, &SchedulerTimer::tick, this, &TagMain::SchedulerTick);
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
    return QStringLiteral("環境定義ファイルの内容が壊れています。\r\n"
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
    m_scheduler.stop();
    m_instance.reset();
    return false;
}

bool TagMain::start()
{
    // 1. One Pinboard per data directory.
    m_instance = std::make_unique<SingleInstance>(m_files.dir);
    const SingleInstance::Result lock = m_instance->acquire();
    if (lock != SingleInstance::Result::Acquired) {
        m_instance.reset();
        m_prompt.inform(lock == SingleInstance::Result::HeldByAnother
                            ? QStringLiteral("既に起動されています。")
                            : runLocationMessage(RunLocation::NotWritable));
        return false;
    }

    // 2-3. Where we run from.
    const RunLocation where = checkRunLocation(m_files.dir);
    if (where != RunLocation::Ok)
        return end(runLocationMessage(where));

    // 4. The data files.
    const PrepareResult prepared = prepareFileSet(m_files);
    if (!prepared.ok) {
        qWarning().noquote() << "Pinboard:" << prepared.error;
        return end(runLocationMessage(RunLocation::NotWritable));
    }
    m_firstRun = prepared.firstRun;
    m_store = std::make_unique<TagStore>(m_files.dt1);

    // 7. Clock changes reach the scheduler, as the tray's comings and goings reach the tray.
    m_clockWatcher = std::make_unique<ClockChangeWatcher>();
    connect(m_clockWatcher.get(), &ClockChangeWatcher::clockChanged, &m_scheduler, [this] {
        if (m_scheduler.isActive())
            m_scheduler.clockChanged();
    });

    // 8. Tray icon; its retries run on their own while start-up goes on.
    setUpTray();

    // 10. The environment record.
    QString error;
    if (m_firstRun) {
        m_env = EnvRecord();
        if (!m_store->writeEnv(m_env, &error)) {
            qWarning().noquote() << "Pinboard:" << error;
            return end(runLocationMessage(RunLocation::NotWritable));
        }
    } else {
        const auto env = m_store->readEnv(&error);
        if (!env) {
            qWarning().noquote() << "Pinboard:" << error;
            return end(corruptEnvText());
        }
        m_env = *env;
    }

    // 16. Nothing is waiting yet: the scheduler looks again within the hour.
    m_scheduler.arm(SchedulerTimer::MaxWaitSeconds);
    m_running = true;
    return true;
}

void TagMain::setUpTray()
{
    m_menu = std::make_unique<QMenu>();
    m_menu->setObjectName(QStringLiteral("M_POPUP"));
    QAction *cancel = m_menu->addAction(QStringLiteral("ｷｬﾝｾﾙ (ﾒﾆｭｰを閉じる)"));
    cancel->setObjectName(QStringLiteral("mnu_PopCancel"));
    QAction *exit = m_menu->addAction(QStringLiteral("終了"));
    exit->setObjectName(QStringLiteral("mnuExit"));
    connect(exit, &QAction::triggered, this, &TagMain::quitRequested);

    m_tray = std::make_unique<QSystemTrayIcon>(pinboardIcon());
    m_tray->setToolTip(trayTip());
    m_tray->setContextMenu(m_menu.get());

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

void TagMain::SchedulerTick()
{
    m_scheduler.arm(SchedulerTimer::MaxWaitSeconds);
}

void TagMain::shutdown()
{
    if (!m_instance)
        return;
    // 1. The tray icon goes first, so nothing can be chosen from it any more.
    if (m_trayAttach)
        m_trayAttach->stop();
    if (m_tray)
        m_tray->hide();
    m_tray.reset();
    m_menu.reset();
    // 3. Timers.
    m_scheduler.stop();
    m_clockWatcher.reset();
    m_running = false;
    // Last: the data directory is free for the next Pinboard or pinboard-cli.
    m_instance.reset();
}
