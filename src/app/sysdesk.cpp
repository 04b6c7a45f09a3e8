#include "sysdesk.h"

#include "clipmail.h"
#include "datamove.h"
#include "desktopdisplay.h"
#include "editorhost.h"
#include "hotkey.h"
#include "hotkeyactions.h"
#include "hotkeyplan.h"
#include "hotkeys.h"
#include "maildesk.h"
#include "mainmenu.h"
#include "prompt.h"
#include "scheduler.h"
#include "settings.h"
#include "singleinstance.h"
#include "version.h"

#include <QClipboard>
#include <QDebug>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QGuiApplication>

SysDesk::SysDesk(MainMenu &menu, Settings &settings, Prompt &prompt, QString dataDir,
                 std::unique_ptr<Hotkeys> hotkeys, Shortcuts shortcuts, QObject *parent)
    : QObject(parent), m_menu(menu), m_settings(settings), m_prompt(prompt),
      m_dataDir(std::move(dataDir)), m_hotkeys(std::move(hotkeys)),
      m_shortcuts(std::move(shortcuts))
{
    connect(m_hotkeys.get(), &Hotkeys::triggered, this, &SysDesk::runAction);
    auto on = [this](const QString &name, auto handler) {
        if (QAction *a = m_menu.action(name)) {
            a->setEnabled(true);
            connect(a, &QAction::triggered, this, handler);
        }
    };
    on(QStringLiteral("mnu_HotKey"), [this] { openHotKey(); });
    on(QStringLiteral("mnu_Version"), [this] { showVersion(); });
    on(QStringLiteral("mnu_UnInstall"), [this] { prepareUninstall(); });
    for (int p = 0; p < Shortcuts::Places; ++p) {
        const auto place = Shortcuts::Place(p);
        on(Shortcuts::menuName(place), [this, place] {
            m_shortcuts.toggle(place, m_prompt);
            updateCaptions();
        });
    }
    updateCaptions();
}

SysDesk::~SysDesk() = default;

void SysDesk::updateCaptions()
{
    for (int p = 0; p < Shortcuts::Places; ++p)
        if (QAction *a = m_menu.action(Shortcuts::menuName(Shortcuts::Place(p))))
            a->setText(m_shortcuts.caption(Shortcuts::Place(p)));
}

void SysDesk::registerHotkeys()
{
    HotkeyPlan::registerAtStartUp(*m_hotkeys, m_settings.env(), m_prompt);
}

void SysDesk::releaseHotkeys()
{
    m_hotkeys->unregisterAll();
}

void SysDesk::setAction(int n, std::function<void()> action)
{
    if (n >= 1 && n <= int(m_actions.size()))
        m_actions[n - 1] = std::move(action);
}

void SysDesk::runAction(int n)
{
    if (n >= 1 && n <= int(m_actions.size()) && m_actions[n - 1])
        m_actions[n - 1]();
}

void SysDesk::wireActions(const TagStore &store, EditorHost &editors, DesktopDisplay &display,
                          Scheduler &scheduler, MailDesk &mail,
                          std::function<void(const QString &)> sendTag)
{
    auto clipText = [] { return QGuiApplication::clipboard()->text(); };
    setAction(HotkeyPlan::NewTag, [&editors] { editors.openNew(); });
    setAction(HotkeyPlan::TagList, [&editors] { editors.showTagList(); });
    setAction(HotkeyPlan::RaiseTags, [&display] { display.raiseAll(); });
    setAction(HotkeyPlan::ClipTag, [this, &store, &editors, &scheduler, clipText] {
        QString error;
        const auto k = HotkeyActions::storeClipTag(store, clipText(), &error);
        if (k) {
            scheduler.tagChanged(*k);
            editors.refreshLists();
        } else if (!error.isEmpty()) {
            m_prompt.warn(error);
        }
    });
    if (sendTag)
        setAction(HotkeyPlan::ClipSend, [sendTag, clipText] { sendTag(clipText()); });
    setAction(HotkeyPlan::WindowCopy, [] {
        const QImage image = HotkeyActions::grabActiveWindow();
        if (!image.isNull())
            QGuiApplication::clipboard()->setImage(image);
    });
    setAction(HotkeyPlan::ClipByMail, [this, &mail, clipText] {
        ClipMail dialog(mail.book(), clipText(), m_prompt);
        if (dialog.exec() == QDialog::Accepted)
            mail.sendText(dialog.recipients(), dialog.text());
    });
}

void SysDesk::openHotKey()
{
    HotKey form(*m_hotkeys, m_settings, m_prompt);
    form.exec();
}

void SysDesk::showVersion()
{
    Version window(m_dataDir);
    window.exec();
}

QString SysDesk::firstRunNetworkText()
{
    return QStringLiteral("ネットワークの設定を行いますか？\r\n"
                          "（後から、環境設定のﾈｯﾄﾜｰｸの設定で行うこともできます。）");
}

QString SysDesk::firstRunMailText()
{
    return QStringLiteral("メール(SMTP)の設定を行いますか？\r\n"
                          "（後から、環境設定のﾒｰﾙ(SMTP)の設定で行うこともできます。）");
}

QString SysDesk::firstRunHotkeyText()
{
    return QStringLiteral("ショートカットキーの設定を行いますか？\r\n"
                          "（後から、環境設定のｼｮｰﾄｶｯﾄｷｰ登録で行うこともできます。）");
}

void SysDesk::firstRunSetUp(const std::function<void()> &network, const std::function<void()> &mail)
{
    const QString title = QStringLiteral("初期設定");
    if (m_prompt.ask(firstRunNetworkText(), title) && network)
        network();
    if (m_prompt.ask(firstRunMailText(), title) && mail)
        mail();
    if (m_prompt.ask(firstRunHotkeyText(), title))
        openHotKey();
}

QString SysDesk::uninstallQuestion()
{
    return QStringLiteral("アンインストールの準備を行います。\r\n"
                          "ｽﾀｰﾄｱｯﾌﾟ、ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰ、ﾃﾞｨｽｸﾄｯﾌﾟのｼｮｰﾄｶｯﾄと"
                          "ｼｮｰﾄｶｯﾄｷｰを削除します。よろしいですか？");
}

QString SysDesk::dataQuestion(const QString &dataDir)
{
    return QStringLiteral("ｼｮｰﾄｶｯﾄとｼｮｰﾄｶｯﾄｷｰを削除しました。\r\n"
                          "付箋のデータは、次のフォルダにあります。\r\n%1\r\n"
                          "付箋のデータも削除して、Pinboardを終了しますか？")
        .arg(QDir::toNativeSeparators(dataDir));
}

QString SysDesk::dataDeletedText(const QString &dataDir)
{
    return QStringLiteral("付箋のデータを削除しました。\r\n%1\r\n"
                          "アンインストールの準備が終了しました。")
        .arg(QDir::toNativeSeparators(dataDir));
}

QString SysDesk::dataNotDeletedText(const QStringList &files)
{
    return QStringLiteral("次のファイルを削除できませんでした。\r\n%1")
        .arg(files.join(QStringLiteral("\r\n")));
}

void SysDesk::prepareUninstall()
{
    const QString title = QStringLiteral("ｱﾝｲｽﾄｰﾙの準備");
    if (!m_prompt.ask(uninstallQuestion(), title))
        return;
    for (int p = 0; p < Shortcuts::Places; ++p)
        m_shortcuts.remove(Shortcuts::Place(p));
    updateCaptions();
    m_hotkeys->unregisterAll();
    const QString error = m_settings.change([](EnvRecord &e) { HotkeyPlan::switchOff(e); });
    if (!error.isEmpty())
        qWarning().noquote() << "Pinboard:" << error;
    if (!m_prompt.askDestructive(dataQuestion(m_dataDir), title))
        return;
    m_deleteData = true;
    Q_EMIT quitRequested();
}

void SysDesk::finishUninstall()
{
    if (!m_deleteData)
        return;
    m_deleteData = false;
    const QDir dir(m_dataDir);
    QStringList names = DataMove::fileNames();
    names << QString::fromLatin1(SingleInstance::LockName);
    QStringList stuck;
    for (const QString &name : std::as_const(names)) {
        const QString path = dir.filePath(name);
        if (QFileInfo::exists(path) && !QFile::remove(path))
            stuck << QDir::toNativeSeparators(path);
    }
    // The folder goes too when nothing else was kept in it.
    QDir().rmdir(m_dataDir);
    if (stuck.isEmpty())
        m_prompt.inform(dataDeletedText(m_dataDir));
    else
        m_prompt.warn(dataNotDeletedText(stuck));
}
