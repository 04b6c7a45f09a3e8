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
