#include "addresslist.h"
#include "prompt.h"
#include "scriptedprompt.h"
#include "sendmail.h"
#include "settings.h"
#include "tagstore.h"
#include "tempstore.h"
#include "testfiles.h"

#include <QAction>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPushButton>
#include <QSignalSpy>
#include <QStackedWidget>
#include <QTest>
#include <QTreeWidget>

#include <memory>

namespace {

const QString NewGuide =
    QStringLiteral("新しいメールアドレスを登録します。（名前とﾒｰﾙｱﾄﾞﾚｽを入力して下さい。）");
const QString UpdateGuide = QStringLiteral(
    "選択行のアドレス情報を更新します。（名前、ﾒｰﾙｱﾄﾞﾚｽ、ｸﾞﾙｰﾌﾟ1～3を置き換えます。）");

template <class T> T *child(const QWidget *w, const char *name)
{
    auto *c = w->findChild<T *>(QLatin1String(name));
    if (!c)
        qFatal("no child %s", name);
    return c;
}

// Groups 営業, ｻﾎﾟｰﾄ, 総務, 経理; 山田 in 営業, ｽｽﾞｷ in the first three.
AddressBook startBook()
{
    AddressBookData d;
    d.groups = {QStringLiteral("営業"), QStringLiteral("ｻﾎﾟｰﾄ"), QStringLiteral("総務"),
                QStringLiteral("経理")};
    d.names = {QStringLiteral("山田太郎"), QStringLiteral("ｽｽﾞｷ")};
    d.addresses = {QStringLiteral("yamada@example.jp"), QStringLiteral("suzuki@example.jp")};
    d.group1 = {QStringLiteral("営業"), QStringLiteral("営業")};
    d.group2 = {QString(), QStringLiteral("ｻﾎﾟｰﾄ")};
    d.group3 = {QString(), QStringLiteral("総務")};
    return AddressBook(d);
}

} // namespace

class TestAddressList : public QObject
{
    Q_OBJECT
private Q_SLOTS:
    void init();
    void cleanup();
    void registers_data();
    void registers();
    void selectingLoadsAndUpdates();
    void deletesPerson_data();
    void deletesPerson();
    void deletesGroupFromGroupView();
    void addsSelectedToGroup();
    void saveAndClose_data();
    void saveAndClose();
    void sendMail();

private:
    void type(const QString &name, const QString &address, int group1 = 0, int group2 = 0);
    QTreeWidget *people() const { return child<QTreeWidget>(m_window.get(), "lst_AddrList"); }

    std::unique_ptr<TempStore> m_data;
    TagStore *m_store = nullptr;
    Settings &settings() { return m_data->settings(); }
    QString m_dt3;
    AddressBook m_book;
    ScriptedPrompt m_prompt;
    std::unique_ptr<AddressList> m_window;
};

void TestAddressList::init()
{
    m_data = std::make_unique<TempStore>();
    m_store = &m_data->store;
    m_dt3 = m_data->path(QStringLiteral("Pinboard.dt3"));
    m_book = startBook();
    m_prompt.shown.clear();
    m_prompt.titles.clear();
    m_prompt.answers.clear();
    m_window = std::make_unique<AddressList>(m_book, m_dt3, settings(), m_prompt);
}

void TestAddressList::cleanup()
{
    m_window.reset();
}

void TestAddressList::type(const QString &name, const QString &address, int group1, int group2)
{
    child<QLineEdit>(m_window.get(), "txt_Name")->setText(name);
    child<QLineEdit>(m_window.get(), "txt_Address")->setText(address);
    child<QComboBox>(m_window.get(), "cmb_Group1")->setCurrentIndex(group1);
    child<QComboBox>(m_window.get(), "cmb_Group2")->setCurrentIndex(group2);
}

void TestAddressList::registers_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::addColumn<int>("group2");
    QTest::addColumn<QString>("message");
    QTest::newRow("blank address") << QStringLiteral("田中") << QStringLiteral("  ") << 0
                                   << QStringLiteral("メールアドレスを入力して下さい。");
    QTest::newRow("same address") << QStringLiteral("田中") << QStringLiteral("yamada@example.jp")
                                  << 0
                                  << QStringLiteral("既に同じメールアドレスが登録されています。");
    QTest::newRow("registered, trimmed")
        << QStringLiteral(" 田中 ") << QStringLiteral(" t@example.jp") << 3 << QString();
}

void TestAddressList::registers()
{
    QFETCH(QString, name);
    QFETCH(QString, address);
    QFETCH(int, group2);
    QFETCH(QString, message);
    type(name, address, 2, group2); // group 1 is ｻﾎﾟｰﾄ
    auto *entry = child<QPushButton>(m_window.get(), "cmd_Entry");
    QCOMPARE(entry->text(), QStringLiteral("登録"));
    entry->click();
    if (!message.isEmpty()) {
        QCOMPARE(m_prompt.shown, QStringList{message});
        QCOMPARE(m_window->edited(), startBook());
        QVERIFY(!m_window->isModified());
        return;
    }
    QVERIFY(m_prompt.shown.isEmpty());
    QCOMPARE(m_window->edited().people().size(), 3);
    const AddressPerson added{QStringLiteral("田中"),
                              QStringLiteral("t@example.jp"),
                              {QStringLiteral("ｻﾎﾟｰﾄ"), QStringLiteral("総務"), QString()}};
    QCOMPARE(m_window->edited().people().last(), added);
    QCOMPARE(people()->topLevelItem(2)->text(2), QStringLiteral("ｻﾎﾟｰﾄ、総務"));
    QVERIFY(m_window->isModified());
    QCOMPARE(m_book, startBook()); // nothing reaches the book before it is saved
    QCOMPARE(child<QLineEdit>(m_window.get(), "txt_Name")->text(), QString());
    QCOMPARE(child<QLabel>(m_window.get(), "lbl_Guide")->text(), NewGuide);
}

void TestAddressList::selectingLoadsAndUpdates()
{
    people()->setCurrentItem(people()->topLevelItem(1));
    QCOMPARE(child<QLineEdit>(m_window.get(), "txt_Name")->text(), QStringLiteral("ｽｽﾞｷ"));
    QCOMPARE(child<QComboBox>(m_window.get(), "cmb_Group3")->currentText(), QStringLiteral("総務"));
    QCOMPARE(child<QLabel>(m_window.get(), "lbl_Guide")->text(), UpdateGuide);
    auto *entry = child<QPushButton>(m_window.get(), "cmd_Entry");
    QCOMPARE(entry->text(), QStringLiteral("更新"));

    child<QLineEdit>(m_window.get(), "txt_Address")->setText(QStringLiteral("ichiro@example.jp"));
    child<QComboBox>(m_window.get(), "cmb_Group3")->setCurrentIndex(0);
    entry->click();
    QVERIFY(m_prompt.shown.isEmpty());
    QCOMPARE(m_window->edited().people().size(), 2);
    const AddressPerson updated{QStringLiteral("ｽｽﾞｷ"),
                                QStringLiteral("ichiro@example.jp"),
                                {QStringLiteral("営業"), QStringLiteral("ｻﾎﾟｰﾄ"), QString()}};
    QCOMPARE(m_window->edited().people().at(1), updated);
    QCOMPARE(entry->text(), QStringLiteral("更新"));

    child<QPushButton>(m_window.get(), "cmd_Clear")->click();
    QCOMPARE(child<QLabel>(m_window.get(), "lbl_Guide")->text(), NewGuide);
    QCOMPARE(entry->text(), QStringLiteral("登録"));
    QCOMPARE(child<QLineEdit>(m_window.get(), "txt_Address")->text(), QString());
}

void TestAddressList::deletesPerson_data()
{
    QTest::addColumn<int>("row");
    QTest::addColumn<bool>("answer");
    QTest::addColumn<QStringList>("shown");
    QTest::addColumn<QStringList>("namesAfter");
    const QString yamada = QStringLiteral("山田太郎"), suzuki = QStringLiteral("ｽｽﾞｷ");
    const QString question =
        QStringLiteral("選択された行のｱﾄﾞﾚｽ情報（ｽｽﾞｷ）を削除します。よろしいですか？");
    QTest::newRow("nothing selected")
        << -1 << true
        << QStringList{QStringLiteral("削除するメールアドレスの行が選択されていません。")}
        << QStringList{yamada, suzuki};
    QTest::newRow("yes") << 1 << true << QStringList{question} << QStringList{yamada};
    QTest::newRow("no") << 1 << false << QStringList{question} << QStringList{yamada, suzuki};
}

void TestAddressList::deletesPerson()
{
    QFETCH(int, row);
    QFETCH(bool, answer);
    QFETCH(QStringList, shown);
    QFETCH(QStringList, namesAfter);
    if (row >= 0)
        people()->setCurrentItem(people()->topLevelItem(row));
    m_prompt.answers = {answer};
    child<QAction>(m_window.get(), "mnu_DelAddress")->trigger();
    QCOMPARE(m_prompt.shown, shown);
    if (row >= 0)
        QCOMPARE(m_prompt.titles, QStringList{QStringLiteral("削除の確認")});
    QStringList names;
    for (const AddressPerson &p : m_window->edited().people())
        names << p.name;
    QCOMPARE(names, namesAfter);
    QCOMPARE(people()->topLevelItemCount(), namesAfter.size());
    QCOMPARE(m_window->isModified(), namesAfter.size() == 1);
}

void TestAddressList::deletesGroupFromGroupView()
{
    auto *groups = child<QTreeWidget>(m_window.get(), "lst_GroupList");
    auto *del = child<QAction>(m_window.get(), "mnu_DelGroup");
    del->trigger();
    QCOMPARE(m_prompt.shown, QStringList{QStringLiteral("削除するｸﾞﾙｰﾌﾟが選択されていません。")});

    child<QAction>(m_window.get(), "mnu_GroupList")->trigger();
    QCOMPARE(child<QStackedWidget>(m_window.get(), "stk_Lists")->currentWidget(), groups);
    QCOMPARE(groups->topLevelItem(0)->text(1), QStringLiteral("山田太郎、ｽｽﾞｷ"));
    groups->setCurrentItem(groups->topLevelItem(0));
    m_prompt.shown.clear();
    m_prompt.answers = {true};
    del->trigger();
    QCOMPARE(m_prompt.shown,
             QStringList{QStringLiteral("選択されたｸﾞﾙｰﾌﾟ（営業）を削除します。よろしいですか？")});
    QCOMPARE(m_prompt.titles.last(), QStringLiteral("削除の確認"));
    QCOMPARE(m_window->edited().groups().size(), 3);
    QCOMPARE(m_window->edited().people().at(1).groupList(),
             (QStringList{QStringLiteral("ｻﾎﾟｰﾄ"), QStringLiteral("総務")}));
    QCOMPARE(groups->topLevelItemCount(), 3);
    QCOMPARE(child<QComboBox>(m_window.get(), "cmb_Group1")->findText(QStringLiteral("営業")), -1);

    child<QAction>(m_window.get(), "mnu_AddrList")->trigger();
    QCOMPARE(child<QStackedWidget>(m_window.get(), "stk_Lists")->currentWidget(), people());
}

void TestAddressList::addsSelectedToGroup()
{
    people()->topLevelItem(0)->setSelected(true);
    people()->topLevelItem(1)->setSelected(true);
    auto *target = child<QComboBox>(m_window.get(), "cmb_AddGroup");
    target->setCurrentIndex(target->findText(QStringLiteral("経理")));
    child<QPushButton>(m_window.get(), "cmd_Add")->click();
    QCOMPARE(m_prompt.shown, QStringList{QStringLiteral(
                                 "ｸﾞﾙｰﾌﾟに追加するﾒﾝﾊﾞｰ（ｽｽﾞｷ）は、既に三つのｸﾞﾙｰﾌﾟに属しています。"
                                 "これ以上追加することは出来ません。")});
    QCOMPARE(people()->topLevelItem(0)->text(2), QStringLiteral("営業、経理"));
    QCOMPARE(m_window->edited().people().at(1), startBook().people().at(1));
    QVERIFY(m_window->isModified());
}

void TestAddressList::saveAndClose_data()
{
    QTest::addColumn<bool>("saveFirst");
    QTest::addColumn<bool>("answer");
    QTest::newRow("mnu_Save, then nothing to ask") << true << false;
    QTest::newRow("close asks, yes saves") << false << true;
    QTest::newRow("close asks, no drops") << false << false;
}

void TestAddressList::saveAndClose()
{
    QFETCH(bool, saveFirst);
    QFETCH(bool, answer);
    QSignalSpy saved(m_window.get(), &AddressList::saved);
    m_window->show();
    child<QLineEdit>(m_window.get(), "txt_GroupName")->setText(QStringLiteral("開発"));
    child<QPushButton>(m_window.get(), "cmd_GroupEntry")->click();
    QVERIFY(m_window->isModified());
    if (saveFirst)
        child<QAction>(m_window.get(), "mnu_Save")->trigger();
    QCOMPARE(saved.count(), saveFirst ? 1 : 0);
    m_prompt.answers = {answer};
    m_window->close();
    QVERIFY(!m_window->isVisible());
    if (saveFirst) {
        QVERIFY(m_prompt.shown.isEmpty());
    } else {
        QCOMPARE(m_prompt.shown, QStringList{QStringLiteral(
                                     "ｱﾄﾞﾚｽﾘｽﾄの内容が変更されています。変更を保存しますか？")});
        QCOMPARE(m_prompt.titles, QStringList{QStringLiteral("保存の確認")});
    }
    const bool written = saveFirst || answer;
    QCOMPARE(m_book.groups().contains(QStringLiteral("開発")), written);
    QCOMPARE(fileBytes(m_dt3),
             written ? addressBookBytes(m_window->edited().data()) : QByteArray());
}

void TestAddressList::sendMail()
{
    const TagMailSettings current{
        QStringLiteral("会議"),
        {QStringLiteral("yamada@example.jp"), QStringLiteral("other@example.jp")},
        {},
        {}};
    SendMail dialog(m_book, current);
    QCOMPARE(dialog.settings(), current);
    QCOMPARE(child<QListWidget>(&dialog, "lst_To")->item(0)->text(),
             QStringLiteral("山田太郎 <yamada@example.jp>"));

    // A group lists its members already chosen; ｽｽﾞｷ is in both and added once, and
    // yamada, in To already, is not added to Cc.
    auto *group = child<QComboBox>(&dialog, "cmb_Group");
    auto *addCc = child<QPushButton>(&dialog, "cmd_AddCc");
    group->setCurrentIndex(group->findText(QStringLiteral("ｻﾎﾟｰﾄ")));
    QCOMPARE(child<QListWidget>(&dialog, "lst_Book")->selectedItems().size(), 1);
    addCc->click();
    group->setCurrentIndex(group->findText(QStringLiteral("営業")));
    addCc->click();
    QCOMPARE(dialog.settings().cc, QStringList{QStringLiteral("suzuki@example.jp")});
    // With the group still chosen, a typed address goes alone.
    child<QLineEdit>(&dialog, "txt_Address")->setText(QStringLiteral(" new@x.jp "));
    child<QPushButton>(&dialog, "cmd_AddTo")->click();
    QCOMPARE(dialog.settings().to.mid(2), QStringList{QStringLiteral("new@x.jp")});
    QCOMPARE(dialog.settings().cc.size(), 1);

    group->setCurrentIndex(0); // everyone, nobody chosen: only the typed addresses go
    child<QLineEdit>(&dialog, "txt_Address")->setText(QStringLiteral(" a@x.jp, b@x.jp;A@X.JP "));
    child<QPushButton>(&dialog, "cmd_AddBcc")->click();
    QCOMPARE(dialog.settings().bcc,
             (QStringList{QStringLiteral("a@x.jp"), QStringLiteral("b@x.jp")}));
    child<QListWidget>(&dialog, "lst_Bcc")->item(0)->setSelected(true);
    child<QPushButton>(&dialog, "cmd_Remove")->click();
    QCOMPARE(dialog.settings().bcc, QStringList{QStringLiteral("b@x.jp")});
    QCOMPARE(dialog.settings().cc.size(), 1);
}

QTEST_MAIN(TestAddressList)
#include "tst_addresslist.moc"
