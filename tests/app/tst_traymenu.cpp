#include "mainmenu.h"
#include "messageboxprompt.h"
#include "traymessages.h"

#include <QMessageBox>
#include <QPushButton>
#include <QTest>
#include <QTimer>

using Action = TrayMessages::Action;
Q_DECLARE_METATYPE(TrayMessages::Action)

class TestTrayMenu : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void decode_data();
    void decode();
    void tipsRotate();
    void menuTree_data();
    void menuTree();
    void backColors();
    void questionDefaults_data();
    void questionDefaults();
};

void TestTrayMenu::decode_data()
{
    QTest::addColumn<int>("message");
    QTest::addColumn<bool>("shift");
    QTest::addColumn<Action>("action");
    QTest::newRow("move") << 0x200 << false << Action::ShowTip;
    QTest::newRow("left down") << 0x201 << false << Action::None;
    QTest::newRow("left up") << 0x202 << false << Action::RaiseTags;
    QTest::newRow("shift left up") << 0x202 << true << Action::ScreenCopy;
    QTest::newRow("double-click") << 0x203 << false << Action::NewTag;
    QTest::newRow("right down") << 0x204 << false << Action::OpenMenu;
    QTest::newRow("right up is ignored") << 0x205 << false << Action::None;
    QTest::newRow("below the range") << 0x1FF << false << Action::None;
}

void TestTrayMenu::decode()
{
    QFETCH(int, message);
    QFETCH(bool, shift);
    QFETCH(Action, action);
    TrayMessages tray;
    QCOMPARE(tray.decode(message, shift), action);
    if (action != Action::ShowTip)
        QCOMPARE(tray.tooltipIndex(), 0);
}

void TestTrayMenu::tipsRotate()
{
    const QStringList lines{
        QStringLiteral("ﾀﾞﾌﾞﾙｸﾘｯｸで付箋作成"), QStringLiteral("右ｸﾘｯｸで設定ﾒﾆｭｰ表示"),
        QStringLiteral("左ｸﾘｯｸで付箋を前面に表示")}; // no screen copy to advertise
    TrayMessages tray;
    for (int i = 0; i < 6; ++i) {
        tray.decode(TrayMessages::MouseMove, false);
        QCOMPARE(tray.currentTip(), QStringLiteral("DeskTop Pin Board\r\n") + lines[i % 3]);
        tray.decode(TrayMessages::LeftUp, false); // clicks do not move the rotation
    }
}

void TestTrayMenu::menuTree_data()
{
    QTest::addColumn<QString>("menu");
    QTest::addColumn<QStringList>("entries"); // objectName=caption, "!" before a disabled one
    QTest::newRow("M_POPUP") << QStringLiteral("M_POPUP")
                             << QStringList{QStringLiteral("mnu_Config=環境設定"),
                                            QStringLiteral("mnu_Display=表示関係"),
                                            QStringLiteral("mnu_Redisp=再表示"),
                                            QStringLiteral("mnuStop=一時停止"),
                                            QStringLiteral("mnu_haiti=再配置"),
                                            QStringLiteral("!mnu_Version=ﾊﾞｰｼﾞｮﾝ情報"),
                                            QStringLiteral("!mnu_Chat=ｸﾞﾛｰﾊﾞﾙﾁｬｯﾄ表示"),
                                            QStringLiteral("!mnu_PrvChat=１：１ﾁｬｯﾄの開始"),
                                            QStringLiteral("mnu_NewTag=付箋の新規作成"),
                                            QStringLiteral("mnu_PopCancel=ｷｬﾝｾﾙ (ﾒﾆｭｰを閉じる)"),
                                            QStringLiteral("mnuExit=終了")};
    QTest::newRow("mnu_Config") << QStringLiteral("mnu_Config")
                                << QStringList{QStringLiteral("!mnu_HotKey=ｼｮｰﾄｶｯﾄｷｰ登録"),
                                               QStringLiteral("mnu_StartUpEnvironment=ｼｮｰﾄｶｯﾄの設定"),
                                               QStringLiteral("mnu_AutoPos=表示位置自動補正"),
                                               QStringLiteral("!mnu_NetSet=ﾈｯﾄﾜｰｸの設定"),
                                               QStringLiteral("mnu_SMTPSet=ﾒｰﾙ(SMTP)の設定"),
                                               QStringLiteral("mnu_AddressEdit=ﾒｰﾙｱﾄﾞﾚｽ帳編集"),
                                               QStringLiteral("mnu_LogStart=通信ﾛｸﾞ記録開始"),
                                               QStringLiteral("mnu_Other=その他の基本設定"),
                                               QStringLiteral("!mnu_UnInstall=ｱﾝｲｽﾄｰﾙの準備")};
    QTest::newRow("mnu_StartUpEnvironment")
        << QStringLiteral("mnu_StartUpEnvironment")
        << QStringList{QStringLiteral("!mnu_StartUp=ｽﾀｰﾄｱｯﾌﾟに登録"), QStringLiteral("!mnu_DiskTop=ﾃﾞｨｽｸﾄｯﾌﾟに登録"),
                       QStringLiteral("!mnu_Program=ﾌﾟﾛｸﾞﾗﾑﾒﾆｭｰに登録")};
    QTest::newRow("mnu_Other")
        << QStringLiteral("mnu_Other")
        << QStringList{QStringLiteral("mnu_ScmTop=ｽｹｼﾞｭｰﾙで表示される付箋を最上位に表示"),
                       QStringLiteral("mnu_NetTop=他のｺﾝﾋﾟｭｰﾀから送られた付箋を最上位に表示"),
                       QStringLiteral("mnu_NetSound=他から送られた付箋の表示時に音を鳴らす"),
                       QStringLiteral("mnu_SoundSel=鳴らす音源ﾌｧｲﾙを指定する")};
    QTest::newRow("mnu_haiti") << QStringLiteral("mnu_haiti")
                               << QStringList{QStringLiteral("mnu_LeftTop=左上から配置"),
                                              QStringLiteral("mnu_LeftUnder=左下から配置"),
                                              QStringLiteral("mnu_RightTop=右上から配置"),
                                              QStringLiteral("mnu_RightUnder=右下から配置")};
    QTest::newRow("mnu_Display") << QStringLiteral("mnu_Display")
                                 << QStringList{QStringLiteral("mnuList=一覧表示"),
                                                QStringLiteral("mnu_TrashDisp=ごみ箱の表示"),
                                                QStringLiteral("!mnu_Group=参加者一覧"),
                                                QStringLiteral("!mnu_Retry_Net=参加者再検索"),
                                                QStringLiteral("!mnu_ShowNetWork=ﾈｯﾄﾜｰｸ情報表示")};
}

void TestTrayMenu::menuTree()
{
    QFETCH(QString, menu);
    QFETCH(QStringList, entries);
    MainMenu m;
    QAction *root = m.action(menu);
    QVERIFY(root);
    const QList<QAction *> actions = root->menu()->actions();
    QStringList actual;
    for (const QAction *a : actions)
        actual << (a->isEnabled() ? QString() : QStringLiteral("!")) + a->objectName() + u'=' +
                      a->text();
    QCOMPARE(actual, entries);
}

void TestTrayMenu::backColors()
{
    MainMenu m;
    const QList<QAction *> colors = m.action(QStringLiteral("mnu_Color"))->menu()->actions();
    QCOMPARE(colors.size(), 16);
    QCOMPARE(colors[7]->text(), QStringLiteral("白\t"));
    QCOMPARE(colors[15]->text(), QStringLiteral("明るい白"));
    colors[3]->trigger();
    colors[9]->trigger();
    QVERIFY(!colors[3]->isChecked() && colors[9]->isChecked()); // one choice at a time
    QCOMPARE(colors[9]->data().toInt(), 9);
}

void TestTrayMenu::questionDefaults_data()
{
    QTest::addColumn<bool>("destructive");
    QTest::newRow("question") << false;
    QTest::newRow("destructive") << true;
}

// Enter on a message box takes its default button: No when Yes would lose something.
void TestTrayMenu::questionDefaults()
{
    QFETCH(bool, destructive);
    MessageBoxPrompt prompt;
    bool answered = false;
    QTimer::singleShot(0, this, [&] {
        auto *box = qobject_cast<QMessageBox *>(QApplication::activeModalWidget());
        QVERIFY(box);
        QTest::keyClick(box, Qt::Key_Return);
        answered = true;
    });
    const QString text = QStringLiteral("削除します。よろしいですか？");
    const bool yes = destructive ? prompt.askDestructive(text) : prompt.ask(text);
    QVERIFY(answered);
    QCOMPARE(yes, !destructive);
}

QTEST_MAIN(TestTrayMenu)
#include "tst_traymenu.moc"
