#include "mainmenu.h"

#include <QActionGroup>

namespace {
QMenu *submenu(QMenu *parent, const char *name, const QString &caption)
{
    QMenu *menu = parent->addMenu(caption);
    menu->setObjectName(QString::fromLatin1(name));
    menu->menuAction()->setObjectName(QString::fromLatin1(name));
    return menu;
}

QAction *entry(QMenu *menu, const char *name, const QString &caption, bool enabled = true,
               bool checkable = false)
{
    QAction *a = menu->addAction(caption);
    a->setObjectName(QString::fromLatin1(name));
    a->setEnabled(enabled);
    a->setCheckable(checkable);
    return a;
}
} // namespace

MainMenu::MainMenu() : m_popup(std::make_unique<QMenu>()), m_popup2(std::make_unique<QMenu>())
{
    QMenu *top = m_popup.get();
    top->setObjectName(QStringLiteral("M_POPUP"));

    // Entries of features that come later stay disabled until then. The desktop
    // calendar, Outlook, screen copy, image editor and the information text
    // are not part of this program.
    QMenu *config = submenu(top, "mnu_Config", QStringLiteral("環境設定"));
    entry(config, "mnu_HotKey", QStringLiteral("ｼｮｰﾄｶｯﾄｷｰ登録"), false);
    QMenu *shortcuts = submenu(config, "mnu_StartUpEnvironment", QStringLiteral("ｼｮｰﾄｶｯﾄの設定"));
    entry(shortcuts, "mnu_StartUp", QStringLiteral("ｽﾀｰﾄｱｯﾌﾟに登録"), false);
    entry(shortcuts, "mnu_DiskTop", QStringLiteral("ﾃﾞｨｽｸﾄｯﾌﾟに登録"), false);
    entry(shortcuts, "mnu_Program", QStringLiteral("ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰに登録"), false);
    QMenu *autoPos = submenu(config, "mnu_AutoPos", QStringLiteral("表示位置自動補正"));
    entry(autoPos, "mnu_AutoPosYes", QStringLiteral("補正する"), true, true);
    entry(autoPos, "mnu_AutoPosNo", QStringLiteral("補正しない"), true, true);
    entry(config, "mnu_NetSet", QStringLiteral("ﾈｯﾄﾜｰｸの設定"), false);
    entry(config, "mnu_SMTPSet", QStringLiteral("ﾒｰﾙ(SMTP)の設定"));
    entry(config, "mnu_AddressEdit", QStringLiteral("ﾒｰﾙｱﾄﾞﾚｽ帳編集"));
    entry(config, "mnu_LogStart", QStringLiteral("通信ﾛｸﾞ記録開始"));
    QMenu *other = submenu(config, "mnu_Other", QStringLiteral("その他の基本設定"));
    entry(other, "mnu_ScmTop", QStringLiteral("ｽｹｼﾞｭｰﾙで表示される付箋を最上位に表示"), true, true);
    entry(other, "mnu_NetTop", QStringLiteral("他のｺﾝﾋﾟｭｰﾀから送られた付箋を最上位に表示"), true,
          true);
    entry(other, "mnu_NetSound", QStringLiteral("他から送られた付箋の表示時に音を鳴らす"), true,
          true);
    entry(other, "mnu_SoundSel", QStringLiteral("鳴らす音源ﾌｧｲﾙを指定する"));
    entry(config, "mnu_UnInstall", QStringLiteral("ｱﾝｲｽﾄｰﾙの準備"), false);

    QMenu *display = submenu(top, "mnu_Display", QStringLiteral("表示関係"));
    entry(display, "mnuList", QStringLiteral("一覧表示"));
    entry(display, "mnu_TrashDisp", QStringLiteral("ごみ箱の表示"));
    entry(display, "mnu_Group", QStringLiteral("参加者一覧"), false);
    entry(display, "mnu_Retry_Net", QStringLiteral("参加者再検索"), false);
    entry(display, "mnu_ShowNetWork", QStringLiteral("ﾈｯﾄﾜｰｸ情報表示"), false);

    entry(top, "mnu_Redisp", QStringLiteral("再表示"));
    entry(top, "mnuStop", QStringLiteral("一時停止"));
    QMenu *arrange = submenu(top, "mnu_haiti", QStringLiteral("再配置"));
    entry(arrange, "mnu_LeftTop", QStringLiteral("左上から配置"));
    entry(arrange, "mnu_LeftUnder", QStringLiteral("左下から配置"));
    entry(arrange, "mnu_RightTop", QStringLiteral("右上から配置"));
    entry(arrange, "mnu_RightUnder", QStringLiteral("右下から配置"));
    entry(top, "mnu_Version", QStringLiteral("ﾊﾞｰｼﾞｮﾝ情報"), false);
    entry(top, "mnu_Chat", QStringLiteral("ｸﾞﾛｰﾊﾞﾙﾁｬｯﾄ表示"), false);
    entry(top, "mnu_PrvChat", QStringLiteral("１：１ﾁｬｯﾄの開始"), false);
    entry(top, "mnu_NewTag", QStringLiteral("付箋の新規作成"));
    entry(top, "mnu_PopCancel", QStringLiteral("ｷｬﾝｾﾙ (ﾒﾆｭｰを閉じる)"));
    entry(top, "mnuExit", QStringLiteral("終了"));

    QMenu *small = m_popup2.get();
    small->setObjectName(QStringLiteral("mnu_PopUp2"));
    entry(small, "mnu_CopyEnv", QStringLiteral("コピー環境設定"), false);
    QMenu *colors = submenu(small, "mnu_Color", QStringLiteral("背景色の変更"));
    static const char16_t *const Names[BackColors] = {
        u"黒",       u"青",           u"緑",       u"シアン",         u"赤",
        u"マゼンタ", u"黄",           u"白\t",     u"灰色",           u"明るい青",
        u"明るい緑", u"明るいシアン", u"明るい赤", u"明るいマゼンタ", u"明るい黄",
        u"明るい白"};
    auto *group = new QActionGroup(colors);
    for (int i = 0; i < BackColors; ++i) {
        QAction *a = entry(colors, "", QString::fromUtf16(Names[i]), true, true);
        a->setObjectName(QStringLiteral("mnu_BackColor_%1").arg(i));
        a->setData(i);
        group->addAction(a);
    }
    entry(small, "mnu_CopyExit", QStringLiteral("キャンセル(閉じる)"));
}

QAction *MainMenu::action(const QString &name) const
{
    for (QMenu *root : {m_popup.get(), m_popup2.get()}) {
        if (root->objectName() == name)
            return root->menuAction();
        for (QMenu *menu : root->findChildren<QMenu *>())
            if (menu->objectName() == name)
                return menu->menuAction();
        QList<QMenu *> menus = root->findChildren<QMenu *>();
        menus.prepend(root);
        for (QMenu *menu : menus)
            for (QAction *a : menu->actions())
                if (a->objectName() == name)
                    return a;
    }
    return nullptr;
}
